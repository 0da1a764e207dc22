#include "explorer/bom_graph.h"

#include "data/common.h"
#include "platform/database.h"

#include <algorithm>
#include <cmath>

namespace qx::explorer {

namespace {

// A wide graph in one recursive query: "union" reads each code once, which ends the recursion
// on a stored loop. The seed comes from the lines themselves, so that its type is the column's
// on both backends and a code longer than the column is never cut to fit.
const QString kDownQuery = QStringLiteral(
    "with recursive reach(code) as ("
    "select distinct cPSPCode from ProductStructures where cPSPCode=? "
    "union select s.cPSCode from ProductStructures s inner join reach on s.cPSPCode=reach.code) "
    "select s.cPSPCode,s.cPSCode,s.iPSQuantity,s.iWasteRate,"
    "i.cInvName,i.cInvStd,i.cInvM_Unit,i.iInvRCost,i.cInvCode "
    "from reach inner join ProductStructures s on s.cPSPCode=reach.code "
    "left join Inventory i on i.cInvCode=s.cPSCode");
const QString kUpQuery = QStringLiteral(
    "with recursive reach(code) as ("
    "select distinct cPSCode from ProductStructures where cPSCode=? "
    "union select s.cPSPCode from ProductStructures s inner join reach on s.cPSCode=reach.code) "
    "select s.cPSPCode,s.cPSCode,s.iPSQuantity,s.iWasteRate,"
    "i.cInvName,i.cInvStd,i.cInvM_Unit,i.iInvRCost,i.cInvCode "
    "from reach inner join ProductStructures s on s.cPSCode=reach.code "
    "left join Inventory i on i.cInvCode=s.cPSPCode");

// A narrow graph generation by generation: the lines of a generation's codes, then the item
// master's rows of the codes met first (each statement ends in its "in" list).
const QString kGenerationDown = QStringLiteral(
    "select cPSPCode,cPSCode,iPSQuantity,iWasteRate from ProductStructures where cPSPCode in (");
const QString kGenerationUp = QStringLiteral(
    "select cPSPCode,cPSCode,iPSQuantity,iWasteRate from ProductStructures where cPSCode in (");
const QString kItems = QStringLiteral(
    "select cInvCode,cInvName,cInvStd,cInvM_Unit,iInvRCost from Inventory where cInvCode in (");
// Longer generations are asked in pieces, within the backends' limits on bound values.
constexpr qsizetype kCodesPerStatement = 500;
// A graph whose generations stay this narrow is read generation by generation; a wider one is
// read again with one recursive query. The backends answer a wide graph faster with the
// recursion, and a narrow deep one (where PostgreSQL plans each step of a recursion as a scan of
// all lines) faster by generations.
constexpr qsizetype kNarrowGeneration = 64;

const QString kDownSteps = QStringLiteral(
    "select s.cPSCode,s.iPSQuantity,s.iWasteRate,i.cInvName,i.cInvStd,i.cInvM_Unit,i.iInvRCost,i.cInvCode,"
    "case when exists(select 1 from ProductStructures x where x.cPSPCode=s.cPSCode) then 1 else 0 end "
    "from ProductStructures s left join Inventory i on i.cInvCode=s.cPSCode where s.cPSPCode=?");

const QString kUpSteps = QStringLiteral(
    "select s.cPSPCode,s.iPSQuantity,s.iWasteRate,i.cInvName,i.cInvStd,i.cInvM_Unit,i.iInvRCost,i.cInvCode,"
    "case when exists(select 1 from ProductStructures x where x.cPSCode=s.cPSPCode) then 1 else 0 end "
    "from ProductStructures s left join Inventory i on i.cInvCode=s.cPSPCode where s.cPSCode=?");

std::optional<double> number(const QVariant& v)
{
    if (v.isNull() || !v.isValid()) return std::nullopt;
    bool ok = false;
    const double d = v.toDouble(&ok);
    if (!ok || !std::isfinite(d)) return std::nullopt;
    return d;
}

}  // namespace

double lineFactor(double quantity, const std::optional<double>& wasteRate)
{
    return quantity * (1.0 + wasteRate.value_or(0.0) / 100.0);
}

int readQuantityDecimals(Database& db)
{
    constexpr int kDefault = 2;
    constexpr int kMost = 8;
    try {
        auto rs = db.openRecordset(
            QStringLiteral("select cValue from accinformation where cSysID=? and cID=? and cName=?"),
            RecordsetType::Snapshot, 0,
            {QStringLiteral("AA"), QStringLiteral("19"), QStringLiteral("iStrsQuanDecDgt")});
        if (rs->eof() || rs->field(0).isNull()) return kDefault;
        return int(std::clamp(std::trunc(LeadingNumber(rs->field(0).toString())), 0.0, double(kMost)));
    } catch (const DbError&) {
        return kDefault;
    }
}

ItemInfo readItem(Database& db, const QString& code)
{
    ItemInfo info;
    info.code = code;
    auto rs = db.openRecordset(
        QStringLiteral("select cInvName,cInvStd,cInvM_Unit,iInvRCost from Inventory where cInvCode=?"),
        RecordsetType::Snapshot, 0, {code});
    if (rs->eof()) return info;
    info.known = true;
    info.name = rs->value(0, 0).toString();
    info.spec = rs->value(0, 1).toString();
    info.unit = rs->value(0, 2).toString();
    info.price = number(rs->value(0, 3));
    return info;
}

std::vector<Step> readSteps(Database& db, const QString& code, Direction direction)
{
    auto rs = db.openRecordset(direction == Direction::Down ? kDownSteps : kUpSteps,
                               RecordsetType::Snapshot, 0, {code});
    std::vector<Step> out;
    const int rows = rs->recordCount();
    out.reserve(size_t(rows));
    for (int r = 0; r < rows; ++r) {
        Step s;
        s.item.code = rs->value(r, 0).toString();
        s.item.known = !rs->value(r, 7).isNull();
        s.item.name = rs->value(r, 3).toString();
        s.item.spec = rs->value(r, 4).toString();
        s.item.unit = rs->value(r, 5).toString();
        s.item.price = number(rs->value(r, 6));
        s.line.quantity = number(rs->value(r, 1)).value_or(0.0);
        s.line.wasteRate = number(rs->value(r, 2));
        s.hasSteps = rs->value(r, 8).toInt() != 0;
        out.push_back(std::move(s));
    }
    std::sort(out.begin(), out.end(), [](const Step& a, const Step& b) { return a.item.code < b.item.code; });
    return out;
}

BomGraph::BomGraph(Direction direction, const ItemInfo& root) : direction_(direction)
{
    node(root);
}

int BomGraph::node(const ItemInfo& info)
{
    const auto it = ids_.constFind(info.code);
    if (it != ids_.constEnd()) {
        if (info.known && !items_[*it].known) items_[*it] = info;
        return *it;
    }
    const int id = int(items_.size());
    items_.push_back(info);
    steps_.emplace_back();
    ids_.insert(info.code, id);
    return id;
}

void BomGraph::addLine(const Line& l)
{
    const int index = int(lines_.size());
    lines_.push_back(l);
    const int from = direction_ == Direction::Down ? l.parent : l.child;
    steps_[from].push_back(index);
    if (target(index) == 0) seenAsTarget_ = true;
}

void BomGraph::sortSteps()
{
    for (auto& s : steps_)
        std::sort(s.begin(), s.end(), [this](int a, int b) {
            return items_[target(a)].code < items_[target(b)].code;
        });
}

void BomGraph::addRows(const Recordset& rs)
{
    const int rows = rs.recordCount();
    const int farColumn = direction_ == Direction::Down ? 1 : 0;
    const int nearColumn = 1 - farColumn;
    for (int r = 0; r < rows; ++r) {
        // The far end of the line carries the item master's row, read once per code; the near
        // end was met before (the seed or an earlier line's far end), or is met as a far end later.
        const QString farCode = rs.value(r, farColumn).toString();
        int farId = find(farCode);
        if (farId < 0 || !items_[size_t(farId)].known) {
            ItemInfo far;
            far.code = farCode;
            far.known = !rs.value(r, 8).isNull();
            far.name = rs.value(r, 4).toString();
            far.spec = rs.value(r, 5).toString();
            far.unit = rs.value(r, 6).toString();
            far.price = number(rs.value(r, 7));
            farId = node(far);
        }
        const QString nearCode = rs.value(r, nearColumn).toString();
        int nearId = find(nearCode);
        if (nearId < 0) nearId = node(ItemInfo{nearCode, {}, {}, {}, std::nullopt, false});
        Line l;
        l.parent = direction_ == Direction::Down ? nearId : farId;
        l.child = direction_ == Direction::Down ? farId : nearId;
        l.quantity = number(rs.value(r, 2)).value_or(0.0);
        l.wasteRate = number(rs.value(r, 3));
        addLine(l);
    }
}

BomGraph BomGraph::loadWide(Database& db, const QString& code, Direction direction)
{
    BomGraph g(direction, readItem(db, code));
    auto rs = db.openRecordset(direction == Direction::Down ? kDownQuery : kUpQuery,
                               RecordsetType::Snapshot, 0, {code});
    g.addRows(*rs);
    g.sortSteps();
    return g;
}

namespace {

QString inList(const QString& select, qsizetype count)
{
    return select + QStringLiteral("?") + QStringLiteral(",?").repeated(count - 1) + QLatin1Char(')');
}

// Runs `select` once per piece of `codes`, handing each recordset to `take`.
template <typename Take>
void inPieces(Database& db, const QString& select, const QStringList& codes, Take take)
{
    for (qsizetype from = 0; from < codes.size(); from += kCodesPerStatement) {
        const qsizetype n = std::min<qsizetype>(kCodesPerStatement, codes.size() - from);
        QVariantList values;
        values.reserve(n);
        for (qsizetype i = from; i < from + n; ++i) values << codes[i];
        auto rs = db.openRecordset(inList(select, n), RecordsetType::Snapshot, 0, values);
        take(*rs);
    }
}

}  // namespace

BomGraph BomGraph::load(Database& db, const QString& code, Direction direction)
{
    BomGraph g(direction, readItem(db, code));
    const bool down = direction == Direction::Down;
    // Generation by generation, each code's lines read once (which ends the walk on a stored
    // loop). The codes of a generation are bound into "in" lists that the indexes answer, and
    // the item master is asked once for the codes the generation met first.
    QStringList generation{code};
    while (!generation.isEmpty()) {
        if (generation.size() > kNarrowGeneration) return loadWide(db, code, direction);
        QStringList fresh;
        inPieces(db, down ? kGenerationDown : kGenerationUp, generation, [&](const Recordset& rs) {
            for (int r = 0; r < rs.recordCount(); ++r) {
                const QString parent = rs.value(r, 0).toString();
                const QString child = rs.value(r, 1).toString();
                const QString& far = down ? child : parent;
                int farId = g.find(far);
                if (farId < 0) {
                    farId = g.node(ItemInfo{far, {}, {}, {}, std::nullopt, false});
                    fresh << far;
                }
                const int nearId = g.find(down ? parent : child);
                Line l;
                l.parent = down ? nearId : farId;
                l.child = down ? farId : nearId;
                l.quantity = number(rs.value(r, 2)).value_or(0.0);
                l.wasteRate = number(rs.value(r, 3));
                g.addLine(l);
            }
        });
        inPieces(db, kItems, fresh, [&](const Recordset& rs) {
            for (int r = 0; r < rs.recordCount(); ++r) {
                ItemInfo& info = g.items_[size_t(g.find(rs.value(r, 0).toString()))];
                info.known = true;
                info.name = rs.value(r, 1).toString();
                info.spec = rs.value(r, 2).toString();
                info.unit = rs.value(r, 3).toString();
                info.price = number(rs.value(r, 4));
            }
        });
        generation = std::move(fresh);
    }
    g.sortSteps();
    return g;
}

}  // namespace qx::explorer
