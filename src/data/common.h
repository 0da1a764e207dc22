#pragma once

// The common routines that the list and the card share.

#include <QSet>
#include <QString>
#include <QStringList>

namespace qx {

class Database;
class Recordset;

// True when a row with `field` equal to `value` exists in rs; rs is then on the first such row.
// An empty recordset gives false without searching.
bool FindRecord(const QString& value, Recordset& rs, const QString& field);

// May `child` be placed under `parent` without a cycle? True = allowed. Walks the stored
// ancestors of the parent upwards one generation at a time (each generation de-duplicated), in
// one statement; false when an ancestor equals the parent or the child (binary comparison), or
// when the stored data hold a loop among the ancestors (the walk would never end).
bool CheckCycle(const QString& parent, const QString& child, Database& db);

// The stored ancestors of a parent, walked once, so that the save can test all its lines against
// one walk. `loop` is true when the parent is its own ancestor or the ancestors hold a stored
// loop: every placement under it is then refused.
struct Ancestors {
    QSet<QString> codes;
    bool loop = false;
    // The same answer CheckCycle(parent, child) gives, for a child among those asked for.
    bool allows(const QString& child) const { return !loop && !codes.contains(child); }
};
// With `among`, `codes` holds only those of them that are ancestors (the database picks them
// out, so that thousands of ancestors need not travel); without, every ancestor.
Ancestors CollectAncestors(const QString& parent, Database& db, const QStringList* among = nullptr);

// Quantity format: decimals > 0 → "0.00…" (that many decimals, half away from zero);
// decimals <= 0 → an integer without group separators.
QString FormatNum(double value, int decimals);

// Cuts text to at most `limit` bytes, a character below U+0080 counting 1 and any other 2;
// a character that would straddle the limit is dropped whole.
QString CutByBytes(const QString& text, int limit);

// The leading-number value of a text (blanks skipped, sign, digits, one point, exponent): 0 when
// the text does not begin with a number. "12abc" gives 12.
double LeadingNumber(const QString& text);

// Formats a waste rate with "#####0.########": up to eight decimals, the point kept on a whole
// number ("3." for 3, "0.125" for 0.125). An empty/null value gives an empty text.
QString FormatWasteRate(double value);

}  // namespace qx
