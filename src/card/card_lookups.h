#pragma once

// What the card's rules look things up in: the card's own recordsets, the list window's caches
// (through ListContext), and the company database.

#include <QHash>
#include <QString>

namespace qx {

class Database;
class Recordset;
struct ListContext;

struct CardLookups {
    Database* db = nullptr;
    const ListContext* list = nullptr;
    Recordset* inventory = nullptr;   // the card's non-service items (Com1 may narrow it)
    Recordset* department = nullptr;  // the card's end-level departments
    Recordset* warehouse = nullptr;   // the card's warehouses
    // Row of each code in `inventory` (its first row of that code), when the card has built it:
    // an item is then found without a search through the whole list.
    const QHash<QString, int>* inventoryRows = nullptr;
};

// Code -> first row of that code, over the rows of an item list as it stands.
QHash<QString, int> indexItemRows(Recordset& inventory);

// Finds `code` in the card's item list (the index when there is one); the list then stands on
// the item's row. The same answer FindRecord on cInvcode gives.
bool findItem(const CardLookups& lk, const QString& code);

// The outcome of one check: accepted, or refused with the message the user is shown.
struct Verdict {
    bool accepted = true;
    QString message;

    static Verdict ok() { return {}; }
    static Verdict refuse(const QString& message) { return {false, message}; }
    explicit operator bool() const { return accepted; }
};

// The card's inventory statement (it ends with a blank, so that a filter can follow).
inline const QString kCardInventorySql = QStringLiteral(
    "select inventory.cInvCode,inventory.cInvName,inventory.cInvStd,inventory.cInvM_Unit,"
    "inventory.iInvRCost from inventory where inventory.bService=0 ");
// The prefix filter that Com1 and the child-code reference append (their leading blank
// doubles the statement's trailing one).
inline const QString kInventoryPrefixFilter = QStringLiteral(" and inventory.cInvcode like ?");

}  // namespace qx
