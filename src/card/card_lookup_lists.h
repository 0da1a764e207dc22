#pragma once

// The card's own lookup lists (items that are not services, end-level departments,
// warehouses), opened with the card's statements: the card's, and those of the rules that run
// without a card (an import).

#include "card/card_lookups.h"
#include "platform/database.h"

#include <QHash>

#include <memory>

namespace qx {

struct ListContext;

struct CardLookupLists {
    std::unique_ptr<Recordset> inventory;
    std::unique_ptr<Recordset> department;
    std::unique_ptr<Recordset> warehouse;
    QHash<QString, int> inventoryRows;  // rows of inventory by code

    // Opens the three lists; a list that cannot be opened stays empty and its lookups then find
    // nothing (no message).
    void open(Database& db, RecordsetType type = RecordsetType::Snapshot);
    // Gives the lists back, the items first.
    void close();
    CardLookups lookups(const ListContext& ctx) const;
};

}  // namespace qx
