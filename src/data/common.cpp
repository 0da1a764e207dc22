#include "data/common.h"

#include "platform/criteria.h"
#include "platform/database.h"
#include "platform/native_lookup.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

namespace qx {

bool FindRecord(const QString& value, Recordset& rs, const QString& field)
{
    if (rs.bof() && rs.eof()) return false;
    rs.moveFirst();
    rs.findFirst(Criteria::eq(field, value));
    return !rs.noMatch();
}

namespace {

// Exact but costlier: the lines above a code, as (parent, child) pairs, by the database's own
// recursive query. Each pair is visited once however many routes lead to it, so a stored loop
// ends the query as well. Asked only when the generation walk below could not tell a loop from
// a very deep structure.
const QString kAncestorLines = QStringLiteral(
    "with recursive up(cpspcode,cpscode) as (select cpspcode,cpscode from productstructures where cpscode=? "
    "union select p.cpspcode,p.cpscode from productstructures p inner join up on p.cpscode=up.cpspcode) "
    "select cpspcode,cpscode from up");

// The parents of many codes (a JSON array of them), found in the upward index alone: the place
// of the code among them, and one of its parents, per row.
const QString kParentsOfCodes = QStringLiteral(
    "select k.key,p.cpspcode from json_each(?) k cross join productstructures p on "
    "p.cpscode=k.value");

// The upward graph of one code: its ancestors and who holds whom among them. Codes are numbered
// as they are met.
template <class Key>
class AncestorGraph {
public:
    explicit AncestorGraph(const Key& start) { start_ = id(start); }

    // The lines above the start by the database's own recursive query.
    static AncestorGraph read(Database& db, const QString& start)
    {
        AncestorGraph graph(start);
        const std::vector<QString> cells = db.selectTexts(kAncestorLines, {start});
        for (size_t i = 0; i + 1 < cells.size(); i += 2) graph.addLine(cells[i], cells[i + 1]);
        return graph;
    }

    // Walks up from the start in-process, one question per generation of the codes met (the
    // codes first met in the one before): each code's parents are asked once, however many
    // routes lead to it, so a stored loop ends the walk as well. False when the lookup failed
    // on the way (the graph is then incomplete).
    bool walk(NativeLookup& parentsOf)
    {
        for (size_t from = 0; from < codes_.size();) {
            const size_t to = codes_.size();
            bool placed = true;
            const bool answered =
                parentsOf.visit(jsonKeyArray(codes_, from, to), [&](const NativeLookup::Row& row) {
                    const qint64 place = row.integer(0);
                    placed = placed && place >= 0 && size_t(place) < to - from;
                    if (placed) addLine(int(from + size_t(place)), id(row.text(1)));
                });
            if (!answered || !placed) return false;
            from = to;
        }
        return true;
    }

    void addLine(const Key& up, const Key& code) { addLine(id(code), id(up)); }

    // A loop among the ancestors (or through the code itself): peeling from the bottom, a code
    // whose children among them are all peeled goes next; codes left over sit on a loop or above
    // one.
    bool hasLoop() const
    {
        if (ancestor_[size_t(start_)]) return true;
        const size_t n = codes_.size();
        // Each code's parents side by side in one array: parents[first[c] .. first[c + 1]).
        std::vector<int> first(n + 1, 0);
        std::vector<int> pendingChildren(n, 0);
        for (const auto& [code, up] : lines_) {
            ++first[size_t(code) + 1];
            ++pendingChildren[size_t(up)];
        }
        for (size_t code = 0; code < n; ++code) first[code + 1] += first[code];
        std::vector<int> parents(lines_.size());
        std::vector<int> next(first.begin(), first.end() - 1);
        for (const auto& [code, up] : lines_) parents[size_t(next[size_t(code)]++)] = up;
        std::vector<int> ready;
        for (size_t code = 0; code < n; ++code)
            if (pendingChildren[code] == 0) ready.push_back(int(code));
        size_t peeled = 0;
        while (!ready.empty()) {
            const int code = ready.back();
            ready.pop_back();
            ++peeled;
            for (int k = first[size_t(code)]; k < first[size_t(code) + 1]; ++k)
                if (const int up = parents[size_t(k)]; --pendingChildren[size_t(up)] == 0) ready.push_back(up);
        }
        return peeled < n;
    }

    // The ancestors' codes; with `among`, only those of them that are ancestors.
    QSet<QString> ancestors(const QStringList* among = nullptr) const
    {
        QSet<QString> out;
        if (among) {
            for (const QString& code : *among) {
                const int n = find(code);
                if (n >= 0 && ancestor_[size_t(n)]) out.insert(code);
            }
            return out;
        }
        out.reserve(qsizetype(codes_.size()));
        for (size_t i = 0; i < codes_.size(); ++i)
            if (ancestor_[i]) out.insert(text(codes_[i]));
        return out;
    }

private:
    static QString text(const QString& code) { return code; }
    static QString text(const QByteArray& code) { return QString::fromUtf8(code); }
    int find(const QString& code) const
    {
        if constexpr (std::is_same_v<Key, QString>)
            return ids_.value(code, -1);
        else
            return ids_.value(code.toUtf8(), -1);
    }

    void addLine(int code, int up)
    {
        lines_.emplace_back(code, up);
        ancestor_[size_t(up)] = 1;
    }

    int id(const Key& code)
    {
        auto it = ids_.constFind(code);
        if (it != ids_.constEnd()) return it.value();
        return add(code);
    }
    // A code as the library holds it: copied only when it is met for the first time.
    int id(QByteArrayView code)
    {
        auto it = ids_.constFind(QByteArray::fromRawData(code.data(), code.size()));
        if (it != ids_.constEnd()) return it.value();
        return add(code.toByteArray());
    }
    int add(const Key& code)
    {
        const int n = int(codes_.size());
        ids_.insert(code, n);
        codes_.push_back(code);
        ancestor_.push_back(0);
        return n;
    }

    int start_ = 0;
    QHash<Key, int> ids_;
    std::vector<Key> codes_;
    std::vector<std::pair<int, int>> lines_;  // (code, one of its parents) per line read
    std::vector<char> ancestor_;
};

// The generation walk goes no further than this: no structure is that deep, so reaching it means
// a stored loop (or, should a structure ever be that deep, the exact walk above decides).
constexpr int kGenerationLimit = 64;

// Above this many codes the walk returns every ancestor and the caller picks its own out.
constexpr int kBoundCodesLimit = 900;

// One statement: the generations of a code's ancestors, each de-duplicated, walked by the
// database itself. It answers the deepest generation reached (0: no ancestors) and which of
// the `among` codes bound after the code and the limit are ancestors (every ancestor when
// `among` is negative). Only those few codes travel.
// PostgreSQL: one row per generation holding the generation's codes as one de-duplicated array,
// so that each generation's parents are found by one scan of the upward index for all its codes,
// not one scan per code.
const QString kGenerationArrays = QStringLiteral(
    "with recursive g(codes,generation) as (select array[?]::text[],0 "
    "union all select array(select distinct p.cpspcode::text from productstructures p "
    "where p.cpscode=any(g.codes)),g.generation+1 from g where g.generation<? and cardinality(g.codes)>0), "
    "up(code,generation) as (select c,generation from g, unnest(g.codes) c where generation>0) ");

QString generationWalk(qsizetype among, bool arrays)
{
    const QString tail = QStringLiteral(
        "select null,coalesce(max(generation),0) from up union all select distinct code,-1 from up");
    QString sql = arrays ? kGenerationArrays + tail
                         : QStringLiteral(
                               "with recursive up(code,generation) as (select cpspcode,1 from productstructures "
                               "where cpscode=? union select p.cpspcode,up.generation+1 from productstructures p "
                               "inner join up on p.cpscode=up.code where up.generation<?) ") +
                               tail;
    if (among < 0) return sql;
    QStringList marks;
    marks.reserve(among);
    for (qsizetype i = 0; i < among; ++i) marks << QStringLiteral("?");
    return sql + QStringLiteral(" where code in (") + marks.join(QLatin1Char(',')) + QLatin1Char(')');
}
}  // namespace

bool CheckCycle(const QString& parent, const QString& child, Database& db)
{
    const QStringList codes{child};
    return CollectAncestors(parent, db, &codes).allows(child);
}

Ancestors CollectAncestors(const QString& parent, Database& db, const QStringList* among)
{
    {
        // In-process statements (SQLite): the exact walk, each code's parents asked once, costs
        // less than the one statement below and needs no generation limit.
        NativeLookup parentsOf(db, kParentsOfCodes);
        if (parentsOf.available()) {
            AncestorGraph<QByteArray> graph(parent.toUtf8());
            if (graph.walk(parentsOf)) return Ancestors{graph.ancestors(among), graph.hasLoop()};
        }
    }
    const bool all = !among || among->size() > kBoundCodesLimit;
    QVariantList params{parent, kGenerationLimit};
    if (!all)
        for (const QString& code : *among) params << code;
    const std::vector<QString> cells =
        db.selectTexts(generationWalk(all ? -1 : among->size(), db.backend() == Backend::PostgreSql), params);

    Ancestors result;
    int deepest = 0;
    for (size_t i = 0; i + 1 < cells.size(); i += 2) {
        // An ancestor's row has -1 for a generation; the one other row has no code and the
        // deepest generation (0: no ancestors).
        if (cells[i + 1] == QLatin1String("-1"))
            result.codes.insert(cells[i]);
        else
            deepest = cells[i + 1].toInt();
    }
    // A walk that ended by itself met no loop: a loop, through the parent or above it, would
    // have led it on for ever.
    if (deepest < kGenerationLimit) return result;
    // A loop, or a structure deeper than any seen: the exact walk decides.
    const auto graph = AncestorGraph<QString>::read(db, parent);
    result.loop = graph.hasLoop();
    result.codes = graph.ancestors();
    return result;
}

namespace {

// Rounds the decimal text of a value half away from zero at `decimals` places. The text is the
// shortest one that reads back as the same double, so 2.675 rounds as the user typed it
// ("2.68"), not as its binary neighbour 2.67499999...
QString roundDecimalText(double value, int decimals, bool keepPointOnWhole, bool trimZeros)
{
    if (!std::isfinite(value)) return QString::number(value);
    char buf[512];
    auto res = std::to_chars(buf, buf + sizeof buf, std::fabs(value), std::chars_format::fixed);
    std::string text(buf, res.ptr);
    std::string intPart = text;
    std::string frac;
    if (auto dot = text.find('.'); dot != std::string::npos) {
        intPart = text.substr(0, dot);
        frac = text.substr(dot + 1);
    }
    const int keep = std::max(decimals, 0);
    bool roundUp = static_cast<int>(frac.size()) > keep && frac[keep] >= '5';
    frac.resize(keep, '0');
    std::string digits = intPart + frac;
    if (roundUp) {
        int i = static_cast<int>(digits.size()) - 1;
        while (i >= 0 && digits[i] == '9') digits[i--] = '0';
        if (i >= 0)
            ++digits[i];
        else
            digits.insert(digits.begin(), '1');
    }
    intPart = digits.substr(0, digits.size() - keep);
    frac = digits.substr(digits.size() - keep);
    if (trimZeros)
        while (!frac.empty() && frac.back() == '0') frac.pop_back();
    std::string out = intPart;
    if (!frac.empty() || keepPointOnWhole) out += '.' + frac;
    // A value that rounds to nothing shows without a sign.
    const bool zero = digits.find_first_not_of('0') == std::string::npos;
    if (value < 0 && !zero) out.insert(out.begin(), '-');
    return QString::fromStdString(out);
}

}  // namespace

QString FormatNum(double value, int decimals)
{
    if (decimals > 0) return roundDecimalText(value, decimals, true, false);
    return roundDecimalText(value, 0, false, false);
}

QString FormatWasteRate(double value)
{
    return roundDecimalText(value, 8, true, true);
}

QString CutByBytes(const QString& text, int limit)
{
    QString result;
    int bytes = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar ch = text.at(i);
        // A pair of surrogates is one character of the code page: two bytes, kept whole.
        const bool pair = ch.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        bytes += ch.unicode() < 0x80 ? 1 : 2;
        if (bytes > limit) break;
        result += ch;
        if (pair) result += text.at(++i);
    }
    return result;
}

double LeadingNumber(const QString& text)
{
    // Blanks anywhere are passed over, as the host's conversion of a typed number does.
    std::string s;
    for (QChar ch : text) {
        if (ch == QLatin1Char(' ') || ch == QLatin1Char('\t') || ch == QLatin1Char('\n') ||
            ch == QLatin1Char('\r'))
            continue;
        if (ch.unicode() >= 0x80) break;
        s += static_cast<char>(ch.unicode());
    }
    size_t i = 0;
    std::string num;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) num += s[i++];
    bool digits = false;
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
        num += s[i++];
        digits = true;
    }
    if (i < s.size() && s[i] == '.') {
        num += s[i++];
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
            num += s[i++];
            digits = true;
        }
    }
    if (!digits) return 0;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
        size_t j = i + 1;
        std::string exp = "e";
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) exp += s[j++];
        bool expDigits = false;
        while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) {
            exp += s[j++];
            expDigits = true;
        }
        if (expDigits) num += exp;
    }
    if (num[0] == '+') num.erase(0, 1);
    double value = 0;
    const char* first = num.data();
    std::from_chars(first, num.data() + num.size(), value);
    return value;
}

}  // namespace qx
