#include "data/common.h"

#include "platform/criteria.h"
#include "platform/database.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
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

// Longer generations are asked in pieces, so that no statement exceeds the backends' limits on
// bound values.
constexpr int kTermsPerStatement = 500;

// The codes of a generation are bound into one "in" list: the same rows as the terms
// "cpscode=?" joined by " or ", which the backends answer markedly slower at hundreds of terms.
const QString kAncestorSelect = QStringLiteral(
    "select productstructures.cpspcode,productstructures.cpscode from productstructures where cpscode in (");

// The upward walk over the stored lines. Generation k+1 holds the distinct parents of the codes
// of generation k, in the order the database returns them. The parents of a code are asked of
// the database once per walk and remembered, so that a shared sub-assembly reached by several
// routes costs one lookup, not one per route. Codes are numbered as they are met, so that the
// generations are walked over small integers.
class AncestorWalk {
public:
    AncestorWalk(Database& db, const QString& parent) : db_(db) { parent_ = id(parent); }

    enum class Outcome {
        Ended,  // a generation came back empty
        Hit,    // a generation held one of the codes looked for
        Loop,   // the stored lines hold a loop among the ancestors: the walk would never end
    };

    // Walks until a generation is empty or holds one of `stopAt`. Every distinct ancestor met is
    // in ancestors() afterwards (all of them when the walk ended).
    Outcome run(const QStringList& stopAt)
    {
        std::vector<int> stops;
        for (const QString& code : stopAt) stops.push_back(id(code));
        std::vector<int> generation{parent_};
        qsizetype generations = 0;
        for (;;) {
            fetchParents(generation);
            ++generations;
            std::vector<int> next;
            bool grew = false;
            for (int code : generation) {
                for (int up : parents_[code]) {
                    if (mark_[up] == generations) continue;  // already in this generation
                    mark_[up] = generations;
                    next.push_back(up);
                    if (std::find(stops.begin(), stops.end(), up) != stops.end()) {
                        markSeen(up);
                        return Outcome::Hit;
                    }
                    grew = markSeen(up) || grew;
                }
            }
            if (next.empty()) return Outcome::Ended;
            // More generations than distinct codes: some route repeats a code, so the stored
            // lines hold a loop and the walk would go on for ever.
            if (generations > seenCount_) return Outcome::Loop;
            // Nothing new: every code of the generation was met, and asked about, before, so the
            // rest of the walk is fixed by what is known; decide now whether it would end rather
            // than stepping it through.
            if (!grew) return hasLoop() ? Outcome::Loop : Outcome::Ended;
            generation = std::move(next);
        }
    }

    QSet<QString> ancestors() const
    {
        QSet<QString> out;
        out.reserve(seenCount_);
        for (size_t i = 0; i < codes_.size(); ++i)
            if (seen_[i]) out.insert(codes_[i]);
        return out;
    }

private:
    int id(const QString& code)
    {
        auto it = ids_.constFind(code);
        if (it != ids_.constEnd()) return it.value();
        const int n = static_cast<int>(codes_.size());
        ids_.insert(code, n);
        codes_.push_back(code);
        parents_.emplace_back();
        fetched_.push_back(0);
        seen_.push_back(0);
        mark_.push_back(0);
        return n;
    }

    bool markSeen(int code)
    {
        if (seen_[code]) return false;
        seen_[code] = 1;
        ++seenCount_;
        return true;
    }

    void fetchParents(const std::vector<int>& generation)
    {
        QVariantList missing;
        for (int code : generation) {
            if (fetched_[code]) continue;
            fetched_[code] = 1;
            missing << codes_[code];
        }
        for (qsizetype start = 0; start < missing.size(); start += kTermsPerStatement) {
            const qsizetype count = std::min<qsizetype>(kTermsPerStatement, missing.size() - start);
            QString sql = kAncestorSelect;
            sql.reserve(sql.size() + 2 * count + 1);
            for (qsizetype i = 0; i < count; ++i) sql += i ? QStringLiteral(",?") : QStringLiteral("?");
            sql += QLatin1Char(')');
            auto rs = db_.openRecordset(sql, RecordsetType::Snapshot, 0, missing.mid(start, count));
            const int rows = rs->recordCount();
            for (int r = 0; r < rows; ++r) {
                // A row for a code not asked (a case-blind match of the database) is not counted.
                auto asked = ids_.constFind(rs->value(r, 1).toString());
                if (asked == ids_.constEnd() || !fetched_[asked.value()]) continue;
                const int code = asked.value();
                const int up = id(rs->value(r, 0).toString());
                parents_[code].push_back(up);
            }
        }
    }

    // Is there a loop among the codes reachable upwards from the parent? Every one of them has
    // had its parents fetched when this is called. Peeling from the bottom: a code whose children
    // among the reachable are all peeled goes next; codes left over sit on a loop or above one.
    bool hasLoop() const
    {
        const size_t n = codes_.size();
        auto reachable = [&](int code) { return code == parent_ || seen_[code]; };
        std::vector<int> pendingChildren(n, 0);
        qsizetype total = 0;
        for (size_t code = 0; code < n; ++code) {
            if (!reachable(static_cast<int>(code))) continue;
            ++total;
            for (int up : parents_[code])
                if (reachable(up)) ++pendingChildren[up];
        }
        std::vector<int> ready;
        for (size_t code = 0; code < n; ++code)
            if (reachable(static_cast<int>(code)) && pendingChildren[code] == 0) ready.push_back(static_cast<int>(code));
        qsizetype peeled = 0;
        while (!ready.empty()) {
            const int code = ready.back();
            ready.pop_back();
            ++peeled;
            for (int up : parents_[code])
                if (reachable(up) && --pendingChildren[up] == 0) ready.push_back(up);
        }
        return peeled < total;
    }

    Database& db_;
    int parent_ = 0;
    QHash<QString, int> ids_;
    std::vector<QString> codes_;
    std::vector<std::vector<int>> parents_;  // per code: its parents in stored order
    std::vector<char> fetched_;              // parents asked of the database
    std::vector<char> seen_;                 // met as an ancestor
    std::vector<qsizetype> mark_;            // the last generation that listed the code
    qsizetype seenCount_ = 0;
};

}  // namespace

bool CheckCycle(const QString& parent, const QString& child, Database& db)
{
    AncestorWalk walk(db, parent);
    return walk.run({parent, child}) == AncestorWalk::Outcome::Ended;
}

Ancestors CollectAncestors(const QString& parent, Database& db)
{
    AncestorWalk walk(db, parent);
    Ancestors result;
    result.loop = walk.run({parent}) != AncestorWalk::Outcome::Ended;
    result.codes = walk.ancestors();
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
