#pragma once

// The checks of a structure's lines: one cell as the user leaves it (first pass) and a whole line
// before another line is entered (second pass). Plain code over a LineGrid, so that the card's
// grid and lines in memory are judged alike.

#include "card/card_lookups.h"
#include "shared/line_grid.h"

#include <QHash>
#include <QString>

namespace qx {

struct Ancestors;

// What a save knows once for all its lines: the parent's stored ancestors, and how often each
// child code (letter case folded) stands on the lines.
struct WholeCard {
    const Ancestors* ancestors = nullptr;
    const QHash<QString, int>* codeCounts = nullptr;
};
QHash<QString, int> countChildCodes(const LineGrid& lines);

// True when the text holds "'" or "|", which no cell may hold.
bool hasIllegalChars(const QString& text);

// First pass. `text` is what the user typed in (row, col); on acceptance it may be replaced
// (a code by its name, a number reformatted) and dependent cells of the row are written; on
// refusal nothing in the grid changes and `text` is left as typed. With `whole.ancestors` (lines
// judged in bulk against one pass over all structures) the child code's cycle test asks them.
Verdict validateCell(const CardLookups& lk, LineGrid& lines, const QString& parentCode, int row,
                     int col, QString& text, const WholeCard& whole = {});

// Second pass over the whole line `row`, in the fixed order; the first failure refuses.
// With `whole` (from the save) the cycle and repeat tests ask what was read once instead of
// walking the stored structures and comparing every row again; the answers are the same.
Verdict validateLine(const CardLookups& lk, LineGrid& lines, const QString& parentCode, int row,
                     const WholeCard& whole = {});

// The child-code rules shared by both passes and the save: empty, repeated (the parent or
// another row, letter case ignored), a cycle against the stored structures, unknown item. On
// acceptance the card's inventory list stands on the item's row.
Verdict checkChildCode(const CardLookups& lk, const LineGrid& lines, const QString& parentCode,
                       int row, const QString& code, const WholeCard& whole = {});

// A free-item cell (col 3 or 4): empty, a value of that free item's list, or an alias, which is
// replaced by its value. Lines store the value.
Verdict checkFreeItem(const CardLookups& lk, int col, QString& text);

// A warehouse valued at planned price never holds an item without one: `warehouse` stands on
// the line's warehouse (the card's warehouse list), `item` on its item (a row with iInvRCost).
Verdict checkPlannedPriceWarehouse(Recordset& warehouse, Recordset& item);

// Is the line missing its child code, standard quantity or warehouse?
bool lineUnfinished(const LineGrid& lines, int row);

// Is every cell of the line empty? The card's last line, while untouched, is a place to type
// the next line in, not a line of the structure.
bool lineUntouched(const LineGrid& lines, int row);

// The lines of a card without an untouched empty last line: what a save writes.
class EnteredLines : public LineGrid {
public:
    explicit EnteredLines(LineGrid& lines) : lines_(lines) {}
    int rows() const override;
    QString cell(int row, int col) const override { return lines_.cell(row, col); }
    void setCell(int row, int col, const QString& text) override { lines_.setCell(row, col, text); }
    int currentRow() const override { return lines_.currentRow(); }

private:
    LineGrid& lines_;
};

}  // namespace qx
