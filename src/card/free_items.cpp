#include "card/free_items.h"

#include "card/card_columns.h"
#include "texts/texts.h"
#include "platform/database.h"
#include "platform/native_lookup.h"
#include "platform/prompter.h"
#include "shared/code_to_name.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"

#include <QHash>
#include <QSet>

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

// A flag as the library hands it over: the stored 0 and 1 read at once, anything else as
// `truthy` reads it.
bool truthyCell(const QByteArray& cell)
{
    if (cell == "0") return false;
    if (cell == "1") return true;
    return truthy(QString::fromUtf8(cell));
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

// The flags of every item on the lines, read in one statement per slice of codes rather than one
// search of the whole item list per line; an item that is not found uses no free item.
QHash<QString, ItemFlags> readItemFlags(const LineGrid& lines, Database& db)
{
    QStringList codes;
    QSet<QString> seen;
    for (int i = 1; i < lines.rows(); ++i) {
        const QString c = lines.cell(i, ColChildCode);
        if (!seen.contains(c)) {
            seen.insert(c);
            codes << c;
        }
    }
    QHash<QString, ItemFlags> flags;
    flags.reserve(codes.size());
    {
        // In-process statements: one question per item, the statement prepared once.
        NativeLookup item(db, QStringLiteral("select bFree1,bFree2,bService from inventory where cInvCode=?"));
        std::vector<QByteArray> cells;
        bool answered = item.available();
        for (qsizetype i = 0; i < codes.size() && answered; ++i) {
            cells.clear();
            answered = item.rows(codes[i].toUtf8(), cells);
            if (answered && cells.size() >= 3)
                flags.insert(codes[i], {truthyCell(cells[0]), truthyCell(cells[1]), truthyCell(cells[2])});
        }
        if (answered) return flags;
        flags.clear();
    }
    constexpr int kSlice = 100;  // few values per statement: the driver binds each by a name search
    for (int from = 0; from < codes.size(); from += kSlice) {
        const QStringList slice = codes.mid(from, kSlice);
        QVariantList params;
        QStringList marks;
        for (const QString& c : slice) {
            params << c;
            marks << QStringLiteral("?");
        }
        auto rs = db.openRecordset(
            QStringLiteral(
                "select cInvCode,bFree1,bFree2,bService from inventory where cInvCode in (") +
                marks.join(QLatin1Char(',')) + QLatin1Char(')'),
            RecordsetType::Snapshot, 0, params);
        for (int r = 0; r < rs->recordCount(); ++r)
            flags.insert(
                rs->value(r, 0).toString(),
                {truthy(rs->value(r, 1)), truthy(rs->value(r, 2)), truthy(rs->value(r, 3))});
    }
    return flags;
}

QString freeItemRefusal(const LineGrid& lines, const ListContext& ctx)
{
    if (!ctx.dbase) return {};
    return freeItemRefusal(lines, ctx, readItemFlags(lines, *ctx.dbase));
}

QString freeItemRefusal(const LineGrid& lines, const ListContext& ctx,
                        const QHash<QString, ItemFlags>& flags)
{
    for (int i = 1; i < lines.rows(); ++i) {
        const QString message =
            freeItemRefusalAt(i, lines.cell(i, ColFree1), lines.cell(i, ColFree2),
                              flags.value(lines.cell(i, ColChildCode)), ctx);
        if (!message.isEmpty()) return message;
    }
    return {};
}

QString freeItemRefusalAt(int i, const QString& free1, const QString& free2, const ItemFlags& item,
                          const ListContext& ctx)
{
    if (!item.free1 && !free1.isEmpty()) return text::freeItemNotDefined(i, ctx.FreeName1);
    if (!item.free2 && !free2.isEmpty()) return text::freeItemNotDefined(i, ctx.FreeName2);
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
