#pragma once

// The card's own lookup lists (items that are not services, end-level departments,
// warehouses), opened with the card's statements: the card's, and those of the rules that run
// without a card (an import).

#include "card/card_lookups.h"
#include "platform/database.h"

#include <QHash>
#include <QStringList>

#include <memory>

namespace qx {

struct ListContext;

struct CardLookupLists {
    std::unique_ptr<Recordset> inventory;
    std::unique_ptr<Recordset> department;
    std::unique_ptr<Recordset> warehouse;
    QHash<QString, int> inventoryRows;  // rows of inventory by code

    // Opens the three lists; a department or warehouse list that cannot be opened stays empty
    // and its lookups then find nothing (no message). The items are the card's list, or, for a
    // caller that knows every code it will look up and reads the lists at the moment it judges
    // (an import, inside its transaction), only the items of `onlyCodes`, each row also carrying
    // what the rules read of an item afresh (see freshItems); a failure to read those is thrown.
    void open(Database& db, RecordsetType type = RecordsetType::Snapshot,
              const QStringList* onlyCodes = nullptr);
    // The listed items' fresh details, when the list was opened for some codes only: the list is then as
    // fresh as a second read would be, and an item not in it (unknown, or a service) is refused
    // either way.
    QHash<QString, FreshItem> freshItems() const;
    // Gives the lists back, the items first.
    void close();
    CardLookups lookups(const ListContext& ctx) const;
};

}  // namespace qx
