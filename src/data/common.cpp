#include "data/common.h"

#include "platform/criteria.h"
#include "platform/database.h"

#include <QHash>
#include <QStringList>

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

const QString kAncestorSelect = QStringLiteral(
    "select productstructures.cpspcode,productstructures.cpscode from productstructures where ");

// The upward walk over the stored lines. Generation k+1 holds the distinct parents of the codes
// of generation k, in the order the database returns them. The parents of a code are asked of
// the database once per walk and remembered, so that a shared sub-assembly reached by several
// routes costs one lookup, not one per route.
class AncestorWalk {
public:
    AncestorWalk(Database& db, const QString& parent) : db_(db), parent_(parent) {}

    enum class Outcome {
        Ended,  // a generation came back empty
        Hit,    // a generation held one of the codes looked for
        Loop,   // the stored lines hold a loop among the ancestors: the walk would never end
    };

    // Walks until a generation is empty or holds one of `stopAt`. Every distinct ancestor met is
    // in seen() afterwards (all of them when the walk ended).
    Outcome run(const QSet<QString>& stopAt)
    {
        QStringList generation{parent_};
        qsizetype generations = 0;
        for (;;) {
            fetchParents(generation);
            QStringList next;
            QSet<QString> inNext;
            bool grew = false;
            for (const QString& code : generation) {
                for (const QString& up : parents_.value(code)) {
                    if (inNext.contains(up)) continue;
                    inNext.insert(up);
                    next << up;
                    if (stopAt.contains(up)) {
                        seen_.insert(up);
                        return Outcome::Hit;
                    }
                    if (!seen_.contains(up)) {
                        seen_.insert(up);
                        grew = true;
                    }
                }
            }
            if (next.isEmpty()) return Outcome::Ended;
            ++generations;
            // More generations than distinct codes: some route repeats a code, so the stored
            // lines hold a loop and the walk would go on for ever.
            if (generations > seen_.size()) return Outcome::Loop;
            // Nothing new and every code already asked: the rest of the walk is fixed by what is
            // known, so decide now whether it would end rather than stepping it through.
            if (!grew && allKnown(next)) return hasLoop() ? Outcome::Loop : Outcome::Ended;
            generation = std::move(next);
        }
    }

    const QSet<QString>& seen() const { return seen_; }

private:
    bool allKnown(const QStringList& codes) const
    {
        for (const QString& code : codes)
            if (!parents_.contains(code)) return false;
        return true;
    }

    void fetchParents(const QStringList& generation)
    {
        QStringList missing;
        for (const QString& code : generation) {
            if (parents_.contains(code)) continue;
            parents_.insert(code, {});
            missing << code;
        }
        for (qsizetype start = 0; start < missing.size(); start += kTermsPerStatement) {
            const qsizetype count = std::min<qsizetype>(kTermsPerStatement, missing.size() - start);
            QStringList terms;
            QVariantList values;
            terms.reserve(count);
            values.reserve(count);
            for (qsizetype i = start; i < start + count; ++i) {
                terms << QStringLiteral("cpscode=?");
                values << missing[i];
            }
            auto rs = db_.openRecordset(kAncestorSelect + terms.join(QStringLiteral(" or ")),
                                        RecordsetType::Snapshot, 0, values);
            const int rows = rs->recordCount();
            for (int r = 0; r < rows; ++r) {
                const QString up = rs->value(r, 0).toString();
                const QString code = rs->value(r, 1).toString();
                auto it = parents_.find(code);
                // A row for a code not asked (a case-blind match of the database) is not counted.
                if (it != parents_.end()) it->push_back(up);
            }
        }
    }

    // Is there a loop among the codes reachable upwards from the parent? Every one of them has
    // had its parents fetched when this is called. Kahn's peeling: codes left over sit on a loop
    // or above one.
    bool hasLoop() const
    {
        QHash<QString, int> pendingChildren;  // per code: edges to children among the reachable
        QSet<QString> reachable = seen_;
        reachable.insert(parent_);
        for (const QString& code : reachable) pendingChildren.insert(code, 0);
        for (const QString& code : reachable)
            for (const QString& up : parents_.value(code))
                if (reachable.contains(up)) ++pendingChildren[up];
        // Peel from the bottom: a code with no pending child among the reachable set.
        std::vector<QString> ready;
        for (auto it = pendingChildren.cbegin(); it != pendingChildren.cend(); ++it)
            if (it.value() == 0) ready.push_back(it.key());
        qsizetype peeled = 0;
        while (!ready.empty()) {
            const QString code = ready.back();
            ready.pop_back();
            ++peeled;
            for (const QString& up : parents_.value(code))
                if (reachable.contains(up) && --pendingChildren[up] == 0) ready.push_back(up);
        }
        return peeled < reachable.size();
    }

    Database& db_;
    QString parent_;
    QHash<QString, QStringList> parents_;  // code -> its parents in stored order
    QSet<QString> seen_;                   // distinct ancestors met so far
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
    result.codes = walk.seen();
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
