#pragma once

// The card's own lookup lists (items that are not services, end-level departments,
// warehouses), opened with the card's statements for the rules that run without a card.

#include "card/card_lookups.h"
#include "platform/database.h"

#include <QHash>

#include <memory>

namespace qx {

struct ListContext;

struct CardLists {
    std::unique_ptr<Recordset> inventory;
    std::unique_ptr<Recordset> department;
    std::unique_ptr<Recordset> warehouse;
    QHash<QString, int> inventoryRows;

    // Opens the three lists; a list that cannot be opened stays empty, as on the card.
    void open(Database& db);
    CardLookups lookups(const ListContext& ctx) const;
};

}  // namespace qx
