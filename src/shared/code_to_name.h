#pragma once

#include <QString>
#include <QVariant>

namespace qx {

class Database;

// A field read as the text the rules compare and show: a Null value is an empty text, never the
// word "Null".
QString NullToText(const QVariant& value);

// The warehouse's name, or an empty text when no warehouse has that code.
QString CodeToName_WareHouse(const QString& code, Database& db);
// The name of the end-level department of that code, or an empty text.
QString CodeToName_Dep(const QString& code, Database& db);

// The statements of the card's warehouse and department lookups (the doubled blanks are theirs).
inline const QString kWarehouseListSql =
    QStringLiteral(
        "select warehouse.cwhcode,warehouse.cwhname,warehouse.cWhValueStyle,warehouse.cdepcode ") +
    QStringLiteral(" from warehouse");
inline const QString kDepartmentListSql =
    QStringLiteral("select department.cDepCode,department.cDepName,department.cdepperson") +
    QStringLiteral("  from department where bDepEnd=1");

}  // namespace qx
