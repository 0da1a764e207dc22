#include "card/free_items.h"

#include "card/card_columns.h"
#include "data/texts.h"
#include "platform/database.h"
#include "platform/prompter.h"
#include "shared/cls_ref.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"

namespace qx {

namespace {
bool truthy(const QVariant& v)
{
    if (!v.isValid() || v.isNull()) return false;
    bool isNumber = false;
    const double d = v.toDouble(&isNumber);
    if (isNumber) return d != 0;
    const QString s = v.toString().trimmed().toLower();
    return s == QLatin1String("true") || s == QLatin1String("t");
}

QString nameToCode(const QString& name, Recordset* rs, const QString& nameField,
                   const QString& codeField)
{
    if (!rs || rs->recordCount() == 0) return {};
    rs->moveFirst();
    rs->findFirst(Criteria::eq(nameField, name));
    if (rs->noMatch()) return {};
    return NullToText(rs->field(codeField));
}
}  // namespace

bool HasFree(const QString& code, int col, Database& db)
{
    QString sql;
    if (col == ColFree1)
        sql = QStringLiteral("select bfree1 from inventory where cinvcode=?");
    else if (col == ColFree2)
        sql = QStringLiteral("select bfree2 from inventory where cinvcode=?");
    else
        return false;
    auto rs = db.openRecordset(sql, RecordsetType::Snapshot, 0, {code});
    if (rs->recordCount() == 0) return false;
    rs->moveFirst();
    const bool result = truthy(rs->field(0));
    rs->close();
    return result;
}

QString freeItemRefusal(const LineGrid& lines, const ListContext& ctx)
{
    Recordset* inv = ctx.inventory.get();
    for (int i = 1; i < lines.rows(); ++i) {
        bool free1 = false;
        bool free2 = false;
        if (inv && inv->recordCount() > 0) {
            inv->moveFirst();
            inv->findFirst(Criteria::eq(QStringLiteral("cInvCode"), lines.cell(i, ColChildCode)));
            if (!inv->noMatch()) {
                free1 = truthy(inv->field(QStringLiteral("bFree1")));
                free2 = truthy(inv->field(QStringLiteral("bFree2")));
            }
        }
        if (!free1 && !lines.cell(i, ColFree1).isEmpty()) return text::freeItemNotDefined(i, ctx.FreeName1);
        if (!free2 && !lines.cell(i, ColFree2).isEmpty()) return text::freeItemNotDefined(i, ctx.FreeName2);
    }
    return {};
}

bool FreeRight(const LineGrid& lines, const ListContext& ctx)
{
    const QString message = freeItemRefusal(lines, ctx);
    if (message.isEmpty()) return true;
    Prompter::current().inform(message, text::kTitle);
    return false;
}

QString NameToCode_WareHouse(const QString& name, Recordset* warehouses)
{
    return nameToCode(name, warehouses, QStringLiteral("cWhName"), QStringLiteral("cWhCode"));
}

QString NameToCode_Dep(const QString& name, Recordset* departments)
{
    return nameToCode(name, departments, QStringLiteral("cDepName"), QStringLiteral("cDepCode"));
}

}  // namespace qx
