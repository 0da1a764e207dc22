#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

namespace qx {

class Database;
class LineGrid;
class Recordset;
struct ListContext;

// Does the item use the free item of column 3 (bFree1) or 4 (bFree2)? False for any other column
// and for an unknown code.
bool HasFree(const QString& code, int col, Database& db);

// True when no line holds a free-item value that its item does not use; otherwise the first
// offending line is reported (with the free item's name) and the answer is false.
bool FreeRight(const LineGrid& lines, const ListContext& ctx);
// The message FreeRight shows, or an empty text when every line passes.
QString freeItemRefusal(const LineGrid& lines, const ListContext& ctx);

// What the save needs to know of the items on the lines, read in one statement per slice of
// codes (rather than one search of the whole item list per line). An item missing from the
// result is not (any longer) in the master data.
struct ItemFlags {
    bool free1 = false;
    bool free2 = false;
    bool service = false;
};
QHash<QString, ItemFlags> readItemFlags(const LineGrid& lines, Database& db);
// The same for these codes (each once).
QHash<QString, ItemFlags> readItemFlags(const QStringList& codes, Database& db);
// The lines' child codes, each once, in line order.
QStringList distinctChildCodes(const LineGrid& lines);
QString freeItemRefusal(const LineGrid& lines, const ListContext& ctx,
                        const QHash<QString, ItemFlags>& flags);
// The same rule for one line: line `i` (as the card numbers it) holding the free-item values
// free1 and free2 of an item with `item`'s flags. An empty text when it passes.
QString freeItemRefusalAt(int i, const QString& free1, const QString& free2, const ItemFlags& item,
                          const ListContext& ctx);

// A warehouse or department name back to its code (the first match in the recordset's order);
// an empty text when no row has that name.
QString NameToCode_WareHouse(const QString& name, Recordset* warehouses);
QString NameToCode_Dep(const QString& name, Recordset* departments);

}  // namespace qx
