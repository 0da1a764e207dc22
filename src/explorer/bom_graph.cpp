#include "explorer/bom_graph.h"

#include "data/common.h"
#include "platform/database.h"
#include "platform/row_stream.h"
#include "platform/sql_dialect.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace qx::explorer {

namespace {

// The codes reachable from the item in one recursive query: "union" reads each code once, which
// ends the recursion on a stored loop. The seed comes from the lines themselves, so that its type
// is the column's on both backends and a code longer than the column is never cut to fit.
QString linesQuery(const Database& db, Direction direction)
{
    const bool down = direction == Direction::Down;
    const QString from = down ? QStringLiteral("cPSPCode") : QStringLiteral("cPSCode");
    const QString to = down ? QStringLiteral("cPSCode") : QStringLiteral("cPSPCode");
    return QStringLiteral("with recursive reach(code) as (select distinct %1 from ProductStructures where %1=? "
                          "union select s.%2 from ProductStructures s inner join reach on s.%1=reach.code) "
                          "select t.cPSPCode,t.cPSCode,t.iPSQuantity,t.iWasteRate ")
               .arg(from, to) +
           db.dialect().fromRowsMatching(QStringLiteral("ProductStructures"), from, QStringLiteral("reach"));
}

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

BomGraph::BomGraph(Direction direction, const QString& root) : direction_(direction)
{
    const QByteArray bytes = root.toUtf8();
    node(std::string_view(bytes.constData(), size_t(bytes.size())));
    items_[0].code = root;
}

int BomGraph::find(const QString& code) const
{
    const QByteArray bytes = code.toUtf8();
    const auto it = ids_.find(std::string_view(bytes.constData(), size_t(bytes.size())));
    return it == ids_.end() ? -1 : it->second;
}

int BomGraph::node(std::string_view code)
{
    const auto it = ids_.find(code);
    if (it != ids_.end()) return it->second;
    const int id = int(items_.size());
    ItemInfo info;
    info.code = QString::fromUtf8(code.data(), qsizetype(code.size()));
    items_.push_back(std::move(info));
    read_.push_back(0);
    ids_.emplace(std::string(code), id);
    return id;
}

void BomGraph::index()
{
    const size_t n = items_.size();
    std::vector<int> order(n);
    for (size_t i = 0; i < n; ++i) order[i] = int(i);
    std::sort(order.begin(), order.end(), [this](int a, int b) { return items_[size_t(a)].code < items_[size_t(b)].code; });
    rank_.assign(n, 0);
    for (size_t i = 0; i < n; ++i) rank_[size_t(order[i])] = int(i);

    // Each node's steps side by side, in the order of the codes they lead to (the order the list
    // shows lines in, which also decides which line of a stored loop closes it).
    const bool down = direction_ == Direction::Down;
    stepStart_.assign(n + 1, 0);
    for (const Line& l : lines_) ++stepStart_[size_t(down ? l.parent : l.child) + 1];
    for (size_t i = 0; i < n; ++i) stepStart_[i + 1] += stepStart_[i];
    stepLines_.assign(lines_.size(), 0);
    std::vector<int> filled(stepStart_.begin(), stepStart_.end() - 1);
    for (size_t i = 0; i < lines_.size(); ++i)
        stepLines_[size_t(filled[size_t(down ? lines_[i].parent : lines_[i].child)]++)] = int(i);
    for (size_t i = 0; i < n; ++i)
        std::sort(stepLines_.begin() + stepStart_[i], stepLines_.begin() + stepStart_[i + 1],
                  [this](int a, int b) { return rank_[size_t(target(a))] < rank_[size_t(target(b))]; });
}

BomGraph BomGraph::load(Database& db, const QString& code, Direction direction, Detail detail)
{
    BomGraph g(direction, code);
    const bool down = direction == Direction::Down;
    const int nearColumn = down ? 0 : 1;
    std::string nearCode;
    int nearId = 0;
    readRows(
        db, linesQuery(db, direction), {code},
        [&] {
            g = BomGraph(direction, code);
            nearCode.clear();
        },
        [&](const RowView& row) {
            // The lines of one code mostly come together: its node is looked up once for them.
            const std::string_view near = row.text(nearColumn);
            if (near != nearCode || nearCode.empty()) {
                nearCode.assign(near);
                nearId = g.node(near);
            }
            const int farId = g.node(row.text(1 - nearColumn));
            Line l;
            l.parent = down ? nearId : farId;
            l.child = down ? farId : nearId;
            l.quantity = row.number(2).value_or(0.0);
            l.wasteRate = row.number(3);
            g.lines_.push_back(l);
        });
    g.index();
    g.readItems(db, detail);
    return g;
}

void BomGraph::readItems(Database& db, Detail detail)
{
    // Asked in the order of the codes, the order the item master's index holds them in.
    std::vector<int> wanted;
    for (int node = 0; node < size(); ++node) {
        if (read_[size_t(node)]) continue;
        if (detail == Detail::Tree || node == root() || steps(node).empty()) {
            wanted.push_back(node);
            read_[size_t(node)] = 1;
        }
    }
    if (wanted.empty()) return;
    std::sort(wanted.begin(), wanted.end(), [this](int a, int b) { return rank(a) < rank(b); });
    QStringList codes;
    codes.reserve(qsizetype(wanted.size()));
    for (int node : wanted) codes << items_[size_t(node)].code;
    readRows(
        db,
        QStringLiteral("select t.cInvCode,t.cInvName,t.cInvStd,t.cInvM_Unit,t.iInvRCost ") +
            db.dialect().fromRowsInBoundList(QStringLiteral("Inventory"), QStringLiteral("cInvCode")),
        {db.dialect().boundList(codes)}, [] {},
        [this](const RowView& row) {
            const auto it = ids_.find(row.text(0));
            if (it == ids_.end()) return;
            ItemInfo& info = items_[size_t(it->second)];
            info.known = true;
            const auto text = [&row](int c) {
                const std::string_view t = row.text(c);
                return QString::fromUtf8(t.data(), qsizetype(t.size()));
            };
            info.name = text(1);
            info.spec = text(2);
            info.unit = text(3);
            info.price = row.number(4);
        });
}

}  // namespace qx::explorer
