#include "card/card_lookup_lists.h"

#include "shared/code_to_name.h"
#include "shared/list_context.h"

namespace qx {

void CardLookupLists::open(Database& db, RecordsetType type)
{
    const auto tryOpen = [&db, type](const QString& sql) -> std::unique_ptr<Recordset> {
        try {
            return db.openRecordset(sql, type);
        } catch (const DbError&) {
            return nullptr;
        }
    };
    inventory = tryOpen(kCardInventorySql);
    inventoryRows = inventory ? indexItemRows(*inventory) : QHash<QString, int>();
    department = tryOpen(kDepartmentListSql);
    warehouse = tryOpen(kWarehouseListSql);
}

void CardLookupLists::close()
{
    inventory.reset();
    department.reset();
    warehouse.reset();
}

CardLookups CardLookupLists::lookups(const ListContext& ctx) const
{
    CardLookups lk;
    lk.db = ctx.dbase;
    lk.list = &ctx;
    lk.inventory = inventory.get();
    lk.department = department.get();
    lk.warehouse = warehouse.get();
    lk.inventoryRows = inventory ? &inventoryRows : nullptr;
    return lk;
}

}  // namespace qx
