#include "card/card_lookup_lists.h"

#include "platform/sql_dialect.h"
#include "shared/code_to_name.h"
#include "shared/list_context.h"

#include <algorithm>

namespace qx {

void CardLookupLists::open(Database& db, RecordsetType type, const QStringList* onlyCodes)
{
    const auto tryOpen = [&db, type](const QString& sql) -> std::unique_ptr<Recordset> {
        try {
            return db.openRecordset(sql, type);
        } catch (const DbError&) {
            return nullptr;
        }
    };
    if (onlyCodes) {
        // The card's columns and condition with the fresh details added, the rows narrowed to
        // the codes given as one bound list (ascending: looked up the fastest).
        QStringList sorted = *onlyCodes;
        if (!std::is_sorted(sorted.cbegin(), sorted.cend())) sorted.sort();
        inventory = db.openRecordset(
            QStringLiteral("select t.cInvCode,t.cInvName,t.cInvStd,t.cInvM_Unit,t.iInvRCost,t.cInvA_Unit,"
                           "t.iInvExchRate,t.bFree1,t.bFree2 ") +
                db.dialect().fromRowsInBoundList(QStringLiteral("inventory"), QStringLiteral("cInvCode")) +
                QStringLiteral(" and t.bService=0"),
            type, 0, {db.dialect().boundList(sorted)});
    } else {
        inventory = tryOpen(kCardInventorySql);
    }
    inventoryRows = inventory ? indexItemRows(*inventory) : QHash<QString, int>();
    department = tryOpen(kDepartmentListSql);
    warehouse = tryOpen(kWarehouseListSql);
}

QHash<QString, FreshItem> CardLookupLists::freshItems() const
{
    QHash<QString, FreshItem> items;
    if (!inventory) return items;
    const int auxUnit = inventory->fieldIndex(QStringLiteral("cInvA_Unit"));
    const int rate = inventory->fieldIndex(QStringLiteral("iInvExchRate"));
    const int free1 = inventory->fieldIndex(QStringLiteral("bFree1"));
    const int free2 = inventory->fieldIndex(QStringLiteral("bFree2"));
    if (auxUnit < 0 || rate < 0 || free1 < 0 || free2 < 0) return items;
    const auto flag = [](const QVariant& v) { return v.isValid() && !v.isNull() && v.toDouble() != 0; };
    items.reserve(inventoryRows.size());
    // Each code at the row a search finds it; the list holds no service.
    for (auto it = inventoryRows.cbegin(); it != inventoryRows.cend(); ++it)
        items.insert(it.key(), {NullToText(inventory->value(*it, auxUnit)), NullToText(inventory->value(*it, rate)),
                                flag(inventory->value(*it, free1)), flag(inventory->value(*it, free2)), false});
    return items;
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
