#pragma once

// What the card's rules look things up in: the card's own recordsets, the list window's caches
// (through ListContext), and the company database.

#include <QHash>
#include <QString>

namespace qx {

class Database;
class Recordset;
struct ListContext;

// What the rules read afresh of an item once it is accepted: its auxiliary unit and rate, and
// the flags of its free items and of a service.
struct FreshItem {
    QString auxUnit;
    QString rate;
    bool free1 = false;
    bool free2 = false;
    bool service = false;
};

struct CardLookups {
    Database* db = nullptr;
    const ListContext* list = nullptr;
    Recordset* inventory = nullptr;   // the card's non-service items (Com1 may narrow it)
    Recordset* department = nullptr;  // the card's end-level departments
    Recordset* warehouse = nullptr;   // the card's warehouses
    // Row of each code in `inventory` (its first row of that code), when the card has built it:
    // an item is then found without a search through the whole list.
    const QHash<QString, int>* inventoryRows = nullptr;
    // Every item as read afresh once, when the caller judges many lines at a time (an import):
    // then no line needs its own query. Null: each accepted item is read from the database.
    const QHash<QString, FreshItem>* freshItems = nullptr;
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
