#include "card/free_items.h"

#include "card/card_columns.h"
#include "platform/database.h"
#include "platform/native_lookup.h"
#include "platform/prompter.h"
#include "shared/code_to_name.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"
#include "texts/texts.h"

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

QStringList distinctChildCodes(const LineGrid& lines)
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
    return codes;
}

QHash<QString, ItemFlags> readItemFlags(const LineGrid& lines, Database& db)
{
    return readItemFlags(distinctChildCodes(lines), db);
}

// The flags of these items, read in one statement (or one per slice of codes) rather than one
// search of the whole item list per line; an item that is not found uses no free item.
QHash<QString, ItemFlags> readItemFlags(const QStringList& codes, Database& db)
{
    QHash<QString, ItemFlags> flags;
    flags.reserve(codes.size());
    {
        // In-process statements: one question for all the items, each found through the key.
        NativeLookup items(
            db, QStringLiteral("select k.key,i.bFree1,i.bFree2,i.bService from json_each(?) k "
                               "cross join inventory i on i.cInvCode=k.value"));
        if (items.available()) {
            QVariantList cells;
            bool answered = items.values(jsonKeyArray(codes), cells);
            for (qsizetype r = 0; answered && r + 3 < cells.size(); r += 4) {
                const qlonglong place = cells[r].toLongLong();
                answered = place >= 0 && place < codes.size();
                if (answered)
                    flags.insert(codes[place], {truthy(cells[r + 1]), truthy(cells[r + 2]),
                                                truthy(cells[r + 3])});
            }
            if (answered) return flags;
            flags.clear();
        }
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
