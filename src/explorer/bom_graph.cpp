#include "explorer/bom_graph.h"

#include "data/common.h"
#include "platform/database.h"
#include "platform/row_stream.h"
#include "platform/sql_dialect.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qx::explorer {

namespace {

// The lines of a list of codes (bound as one value) in the walking direction: with `deep`,
// those of every code reachable from them too, in one recursive query ("union" reads each code
// once, which ends the recursion on a stored loop). The seed comes from the lines themselves, so
// that its type is the column's on both backends.
QString levelQuery(const Database& db, Direction direction, bool deep)
{
    const bool down = direction == Direction::Down;
    const QString near = down ? QStringLiteral("cPSPCode") : QStringLiteral("cPSCode");
    const QString far = down ? QStringLiteral("cPSCode") : QStringLiteral("cPSPCode");
    const QString table = QStringLiteral("ProductStructures");
    const QString columns = QStringLiteral("select t.cPSPCode,t.cPSCode,t.iPSQuantity,t.iWasteRate ");
    if (!deep) return columns + db.dialect().fromRowsInBoundList(table, near);
    return QStringLiteral("with recursive reach(code) as (select distinct t.%1 ").arg(near) +
           db.dialect().fromRowsInBoundList(table, near) +
           QStringLiteral(" union select s.%2 from ProductStructures s inner join reach on s.%1=reach.code) ")
               .arg(near, far) +
           columns + db.dialect().fromRowsMatching(table, near, QStringLiteral("reach"));
}

// Levels read one statement each; a structure deeper than that has the rest read at once.
constexpr int kLevelsOneByOne = 16;

// Codes in the order of their UTF-16 text (the order QString compares in), read from UTF-8:
// byte order but for the characters above U+FFFF, which UTF-16 puts before U+E000..U+FFFF.
bool codeLess(std::string_view a, std::string_view b)
{
    const size_t n = std::min(a.size(), b.size());
    const int c = std::memcmp(a.data(), b.data(), n);
    if (c == 0) return a.size() < b.size();
    size_t i = 0;
    while (a[i] == b[i]) ++i;
    const auto weight = [](unsigned char x) { return x == 0xee || x == 0xef ? x + 0x10 : int(x); };
    return weight(static_cast<unsigned char>(a[i])) < weight(static_cast<unsigned char>(b[i]));
}

size_t hashCode(std::string_view s) { return std::hash<std::string_view>{}(s); }

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
    return lookUp(std::string_view(bytes.constData(), size_t(bytes.size())));
}

size_t BomGraph::probe(std::string_view code, size_t hash) const
{
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    while (slots_[i] >= 0 && (hashes_[size_t(slots_[i])] != hash || codeBytes(slots_[i]) != code)) i = (i + 1) & mask;
    return i;
}

int BomGraph::lookUp(std::string_view code) const
{
    return slots_.empty() ? -1 : slots_[probe(code, hashCode(code))];
}

void BomGraph::rehash(size_t capacity)
{
    slots_.assign(capacity, -1);
    const size_t mask = capacity - 1;
    for (size_t id = 0; id < hashes_.size(); ++id) {
        size_t i = hashes_[id] & mask;
        while (slots_[i] >= 0) i = (i + 1) & mask;
        slots_[i] = int(id);
    }
}

int BomGraph::node(std::string_view code)
{
    const size_t hash = hashCode(code);
    const size_t slot = slots_.empty() ? 0 : probe(code, hash);
    if (!slots_.empty() && slots_[slot] >= 0) return slots_[slot];
    const int id = int(items_.size());
    ItemInfo info;
    info.code = QString::fromUtf8(code.data(), qsizetype(code.size()));
    items_.push_back(std::move(info));
    read_.push_back(0);
    codes_.append(code);
    codeStart_.push_back(codes_.size());
    hashes_.push_back(hash);
    // At most half full, so that a probe ends soon on an empty slot.
    if (hashes_.size() * 2 > slots_.size())
        rehash(std::max<size_t>(64, slots_.size() * 2));
    else
        slots_[slot] = id;
    return id;
}

void BomGraph::truncate(int count)
{
    if (count == size()) return;
    items_.resize(size_t(count));
    read_.resize(size_t(count));
    codeStart_.resize(size_t(count) + 1);
    codes_.resize(codeStart_.back());
    hashes_.resize(size_t(count));
    rehash(slots_.size());
}

void BomGraph::index()
{
    const size_t n = items_.size();
    std::vector<int> order(n);
    for (size_t i = 0; i < n; ++i) order[i] = int(i);
    std::sort(order.begin(), order.end(), [this](int a, int b) { return codeLess(codeBytes(a), codeBytes(b)); });
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
    std::vector<int> level{g.root()};
    std::vector<int> next;
    std::vector<char> expanded;  // by node: its lines are read
    for (int depth = 0; !level.empty(); ++depth) {
        const bool deep = depth == kLevelsOneByOne;
        const int nodesBefore = g.size();
        const size_t linesBefore = g.lines_.size();
        QStringList codes;
        codes.reserve(qsizetype(level.size()));
        for (int node : level) codes << g.items_[size_t(node)].code;
        int nearId = -1;
        readRows(
            db, levelQuery(db, direction, deep), {db.dialect().boundList(codes)},
            [&] {
                // Afresh: what an interrupted reading of this level added is forgotten.
                g.truncate(nodesBefore);
                g.lines_.resize(linesBefore);
                next.clear();
                nearId = -1;
            },
            [&](const RowView& row) {
                // The lines of one code come together: its node is looked up once for them.
                const std::string_view near = row.text(nearColumn);
                if (nearId < 0 || near != g.codeBytes(nearId)) {
                    if (!deep) {
                        nearId = g.lookUp(near);
                        if (nearId < 0) return;
                    } else {
                        // The rest of the structure: a code may come before the line that
                        // leads to it, and a code read on an earlier level comes again.
                        nearId = g.node(near);
                        if (size_t(nearId) < expanded.size() && expanded[size_t(nearId)]) nearId = -2;
                    }
                }
                if (nearId == -2) return;
                const int known = g.size();
                const int farId = g.node(row.text(1 - nearColumn));
                if (farId == known && !deep) next.push_back(farId);
                Line l;
                l.parent = down ? nearId : farId;
                l.child = down ? farId : nearId;
                l.quantity = row.number(2).value_or(0.0);
                l.wasteRate = row.number(3);
                g.lines_.push_back(l);
            });
        expanded.resize(size_t(g.size()), 0);
        for (int node : level) expanded[size_t(node)] = 1;
        // In the order of their codes, the next level's lookups walk the indexes forwards.
        std::sort(next.begin(), next.end(), [&g](int a, int b) { return codeLess(g.codeBytes(a), g.codeBytes(b)); });
        level.swap(next);
        next.clear();
        if (deep) break;
    }
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
            const int node = lookUp(row.text(0));
            if (node < 0) return;
            ItemInfo& info = items_[size_t(node)];
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
