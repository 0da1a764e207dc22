#include "shared/code_to_name.h"

#include "platform/database.h"

namespace qx {

QString NullToText(const QVariant& value)
{
    if (!value.isValid() || value.isNull()) return {};
    return value.toString();
}

namespace {
QString lookUp(Database& db, const QString& sql, const QString& codeField, const QString& code,
               const QString& nameField)
{
    auto rs = db.openRecordset(sql, RecordsetType::Snapshot);
    if (rs->recordCount() == 0) return {};
    rs->findFirst(Criteria::eq(codeField, code));
    if (rs->noMatch()) return {};
    return NullToText(rs->field(nameField));
}
}  // namespace

QString CodeToName_WareHouse(const QString& code, Database& db)
{
    return lookUp(db, kWarehouseListSql, QStringLiteral("cWhcode"), code,
                  QStringLiteral("cWhName"));
}

QString CodeToName_Dep(const QString& code, Database& db)
{
    return lookUp(db, kDepartmentListSql, QStringLiteral("cDepCode"), code,
                  QStringLiteral("cDepName"));
}

}  // namespace qx
