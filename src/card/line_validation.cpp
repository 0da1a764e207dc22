#include "card/line_validation.h"

#include "card/card_columns.h"
#include "card/free_items.h"
#include "data/common.h"
#include "platform/database.h"
#include "platform/row_stream.h"
#include "shared/code_to_name.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"
#include "texts/texts.h"

namespace qx {

namespace {

bool found(const QString& value, Recordset* rs, const QString& field)
{
    return rs && FindRecord(value, *rs, field);
}

int decimals(const CardLookups& lk)
{
    return lk.list ? lk.list->quantityDecimals : 2;
}

Recordset* freeList(const CardLookups& lk, int col)
{
    if (!lk.list) return nullptr;
    return col == ColFree1 ? lk.list->RecFree1.get() : lk.list->RecFree2.get();
}

// A reference cell that may be typed as its name or its code and always ends up holding the name.
struct NameOrCode {
    Recordset* rs;
    QString nameField;
    QString codeField;
    QString notFound;
};

Verdict nameOrCode(const NameOrCode& ref, QString& text)
{
    if (found(text, ref.rs, ref.nameField)) return Verdict::ok();
    if (found(text, ref.rs, ref.codeField)) {
        ref.rs->moveFirst();
        ref.rs->findFirst(Criteria::eq(ref.codeField, text));
        if (!ref.rs->noMatch()) text = NullToText(ref.rs->field(ref.nameField));
        return Verdict::ok();
    }
    return Verdict::refuse(ref.notFound);
}

}  // namespace

Verdict checkFreeItem(const CardLookups& lk, int col, QString& text)
{
    if (text.isEmpty()) return Verdict::ok();
    Recordset* values = freeList(lk, col);
    if (found(text, values, QStringLiteral("cValue"))) return Verdict::ok();
    if (found(text, values, QStringLiteral("cAlias"))) {
        values->findFirst(Criteria::eq(QStringLiteral("cAlias"), text));
        if (!values->noMatch()) text = NullToText(values->field(QStringLiteral("cValue")));
        return Verdict::ok();
    }
    return Verdict::refuse(text::kContentNotExist);
}

namespace {

// Pieces and quantity follow each other through the rate of column 7, when there is one.
void recomputeQuantity(const CardLookups& lk, LineGrid& lines, int row, double pieces)
{
    const QString rate = lines.cell(row, ColExchRate).trimmed();
    if (rate.isEmpty()) return;
    lines.setCell(row, ColQuantity, FormatNum(pieces * LeadingNumber(rate), decimals(lk)));
}

void recomputePieces(const CardLookups& lk, LineGrid& lines, int row, double quantity)
{
    const QString rateText = lines.cell(row, ColExchRate).trimmed();
    if (rateText.isEmpty()) return;
    const double rate = LeadingNumber(rateText);
    if (rate == 0) return;  // a zero rate gives no count of pieces
    lines.setCell(row, ColPieces, FormatNum(quantity / rate, decimals(lk)));
}

Verdict quantityCell(const CardLookups& lk, LineGrid& lines, int row, QString& text)
{
    if (text.isEmpty()) return Verdict::refuse(text::kQuantityEmpty);
    const double quantity = LeadingNumber(text);
    if (quantity <= 0) return Verdict::refuse(text::kQuantityNotPositive);
    text = FormatNum(quantity, decimals(lk));
    recomputePieces(lk, lines, row, quantity);
    return Verdict::ok();
}

// Fills the row from the accepted item (the inventory list stands on its row). The unit and
// rate are read afresh; an item deleted since the card was loaded is refused there, before any
// cell of the row is written. The same row tells which free items the item uses (the answer
// HasFree gives, without two more queries).
Verdict fillFromItem(const CardLookups& lk, LineGrid& lines, int row, const QString& code)
{
    QString auxUnit, rate;
    bool free1 = false;
    bool free2 = false;
    if (lk.freshItems) {
        const auto it = lk.freshItems->constFind(code);
        if (it == lk.freshItems->constEnd()) return Verdict::refuse(text::kInvNotExist);
        auxUnit = it->auxUnit;
        rate = it->rate;
        free1 = it->free1;
        free2 = it->free2;
    } else if (lk.db) {
        auto item = lk.db->openRecordset(QStringLiteral("select * from inventory where cInvcode=?"),
                                         RecordsetType::Snapshot, 0, {code});
        if (item->recordCount() == 0) return Verdict::refuse(text::kInvNotExist);
        item->moveFirst();
        auxUnit = NullToText(item->field(QStringLiteral("cInvA_Unit")));
        rate = NullToText(item->field(QStringLiteral("iInvExchRate")));
        const auto flag = [&](const char* f) {
            const QVariant v = item->field(QString::fromLatin1(f));
            return v.isValid() && !v.isNull() && v.toDouble() != 0;
        };
        free1 = flag("bFree1");
        free2 = flag("bFree2");
        item->close();
    }
    Recordset& inv = *lk.inventory;
    lines.setCell(row, ColChildName, NullToText(inv.field(QStringLiteral("cInvName"))));
    lines.setCell(row, ColSpec, NullToText(inv.field(QStringLiteral("cInvStd"))));
    lines.setCell(row, ColMainUnit, NullToText(inv.field(QStringLiteral("cInvM_Unit"))));
    if (lk.db || lk.freshItems) {
        lines.setCell(row, ColAuxUnit, auxUnit);
        lines.setCell(row, ColExchRate, rate);
    }
    lines.setCell(row, ColPlannedPrice, NullToText(inv.field(QStringLiteral("iInvRCost"))));
    if (!free1) lines.setCell(row, ColFree1, QString());
    if (!free2) lines.setCell(row, ColFree2, QString());
    return Verdict::ok();
}

}  // namespace

QHash<QString, int> indexItemRows(Recordset& inventory)
{
    QHash<QString, int> rows;
    const int field = inventory.fieldIndex(QStringLiteral("cInvCode"));
    if (field < 0) return rows;
    const int n = inventory.recordCount();
    rows.reserve(n);
    for (int r = 0; r < n; ++r) {
        const QVariant v = inventory.value(r, field);
        // A repeated code keeps its first row, as a search from the first row finds it.
        if (!v.isNull() && !rows.contains(v.toString())) rows.insert(v.toString(), r);
    }
    return rows;
}

bool findItem(const CardLookups& lk, const QString& code)
{
    if (!lk.inventory) return false;
    if (!lk.inventoryRows) return FindRecord(code, *lk.inventory, QStringLiteral("cInvcode"));
    const auto it = lk.inventoryRows->constFind(code);
    if (it == lk.inventoryRows->constEnd()) return false;
    lk.inventory->setAbsolutePosition(*it);
    return true;
}

bool hasIllegalChars(const QString& text)
{
    return text.contains(QLatin1Char('\'')) || text.contains(QLatin1Char('|'));
}

bool lineUnfinished(const LineGrid& lines, int row)
{
    return lines.cell(row, ColChildCode).isEmpty() || lines.cell(row, ColQuantity).isEmpty() ||
           lines.cell(row, ColWarehouse).isEmpty();
}

bool lineUntouched(const LineGrid& lines, int row)
{
    for (int col = ColChildCode; col <= ColPlannedPrice; ++col)
        if (!lines.cell(row, col).isEmpty()) return false;
    return true;
}

int EnteredLines::rows() const
{
    const int n = lines_.rows();
    return n >= 2 && lineUntouched(lines_, n - 1) ? n - 1 : n;
}

Verdict checkChildCode(const CardLookups& lk, const LineGrid& lines, const QString& parentCode,
                       int row, const QString& code, const WholeCard& whole)
{
    if (code.isEmpty()) return Verdict::refuse(text::kChildEmpty);
    bool repeated = code.compare(parentCode, Qt::CaseInsensitive) == 0;
    if (whole.codeCounts) {
        // The row itself is one of the count.
        repeated = repeated || whole.codeCounts->value(code.toCaseFolded()) > 1;
    } else {
        for (int r = 1; r < lines.rows() && !repeated; ++r) {
            if (r != row && code.compare(lines.cell(r, ColChildCode), Qt::CaseInsensitive) == 0)
                repeated = true;
        }
    }
    const Ancestors* ancestors = whole.ancestors;
    if (repeated) return Verdict::refuse(text::kProductRepeated);
    const bool cycle =
        ancestors ? !ancestors->allows(code) : (lk.db && !CheckCycle(parentCode, code, *lk.db));
    if (cycle) return Verdict::refuse(text::kCycle);
    if (!findItem(lk, code)) return Verdict::refuse(text::kInvNotExist);
    return Verdict::ok();
}

Verdict validateCell(const CardLookups& lk, LineGrid& lines, const QString& parentCode, int row,
                     int col, QString& text, const WholeCard& whole)
{
    // Before anything is looked up, so that no lookup ever sees a quote or a bar.
    if (hasIllegalChars(text)) return Verdict::refuse(text::kIllegalChars);

    switch (col) {
        case ColChildCode: {
            const Verdict v =
                checkChildCode(lk, lines, parentCode, row, text, {whole.ancestors, nullptr});
            if (!v) return v;
            return fillFromItem(lk, lines, row, text);
        }
        case ColFree1:
        case ColFree2:
            return checkFreeItem(lk, col, text);
        case ColPieces: {
            if (text.isEmpty()) return Verdict::refuse(text::kPiecesEmpty);
            const double pieces = LeadingNumber(text);
            if (pieces <= 0) return Verdict::refuse(text::kPiecesNotPositive);
            text = FormatNum(pieces, decimals(lk));
            recomputeQuantity(lk, lines, row, pieces);
            return Verdict::ok();
        }
        case ColQuantity:
            return quantityCell(lk, lines, row, text);
        case ColWarehouse:
            if (text.isEmpty()) return Verdict::refuse(text::kWarehouseEmpty);
            return nameOrCode({lk.warehouse, QStringLiteral("cwhname"), QStringLiteral("cwhcode"),
                               text::kWarehouseNotExist},
                              text);
        case ColPerson:
            if (text.isEmpty()) return Verdict::ok();
            return nameOrCode(
                {lk.list ? lk.list->RecPer.get() : nullptr, QStringLiteral("cPersonname"),
                 QStringLiteral("cPersonCode"), text::kPersonNotExist},
                text);
        case ColDept:
            if (text.isEmpty()) return Verdict::ok();
            return nameOrCode(
                {lk.list ? lk.list->RecDep.get() : nullptr, QStringLiteral("cDepName"),
                 QStringLiteral("cDepCode"), text::kDeptNotExist},
                text);
        case ColOperation:
            if (text.isEmpty()) return Verdict::ok();
            return nameOrCode(
                {lk.list ? lk.list->RecCa.get() : nullptr, QStringLiteral("cProcedureName"),
                 QStringLiteral("cProcedureID"), text::kOperationNotExist},
                text);
        default:
            return Verdict::ok();
    }
}

namespace {

// Would the value show as an empty text? NULL does (the one rule of what a table keeps as
// NULL); a number never does, so it is not written out.
bool blankText(const QVariant& v)
{
    if (isNullValue(v)) return true;
    switch (v.metaType().id()) {
        case QMetaType::Double:
        case QMetaType::Int:
        case QMetaType::LongLong:
            return false;
        default:
            return v.toString().trimmed().isEmpty();
    }
}

}  // namespace

Verdict checkPlannedPriceWarehouse(Recordset& warehouse, Recordset& inv)
{
    if (NullToText(warehouse.field(QStringLiteral("cWhValueStyle"))) == text::kPlannedPriceMethod &&
        blankText(inv.field(QStringLiteral("iInvRCost"))))
        return Verdict::refuse(text::kPlannedPriceRule);
    return Verdict::ok();
}

QHash<QString, int> countChildCodes(const LineGrid& lines)
{
    QHash<QString, int> counts;
    for (int r = 1; r < lines.rows(); ++r) ++counts[lines.cell(r, ColChildCode).toCaseFolded()];
    return counts;
}

Verdict validateLine(const CardLookups& lk, LineGrid& lines, const QString& parentCode, int row,
                     const WholeCard& whole)
{
    const QString code = lines.cell(row, ColChildCode);
    Verdict v = checkChildCode(lk, lines, parentCode, row, code, whole);
    if (!v) return v;
    Recordset& inv = *lk.inventory;
    lines.setCell(row, ColChildName, NullToText(inv.field(QStringLiteral("cInvName"))));
    lines.setCell(row, ColSpec, NullToText(inv.field(QStringLiteral("cInvStd"))));
    lines.setCell(row, ColMainUnit, NullToText(inv.field(QStringLiteral("cInvM_Unit"))));

    if (!found(lines.cell(row, ColWarehouse), lk.warehouse, QStringLiteral("cwhname"))) {
        lines.setCell(row, ColWarehouse, QString());
        return Verdict::refuse(text::kWarehouseNotExist);
    }
    v = checkPlannedPriceWarehouse(*lk.warehouse, inv);
    if (!v) return v;

    QString quantity = lines.cell(row, ColQuantity);
    v = quantityCell(lk, lines, row, quantity);
    if (!v) return v;
    lines.setCell(row, ColQuantity, quantity);

    // A free item is judged as when typed: its value, or its alias, which becomes the value.
    for (int col : {int(ColFree1), int(ColFree2)}) {
        QString value = lines.cell(row, col);
        v = checkFreeItem(lk, col, value);
        if (!v) return v;
        if (value != lines.cell(row, col)) lines.setCell(row, col, value);
    }
    const QString dept = lines.cell(row, ColDept);
    if (!dept.isEmpty() &&
        !found(dept, lk.list ? lk.list->RecDep.get() : nullptr, QStringLiteral("cDepName")))
        return Verdict::refuse(text::kDeptNotExist);
    return Verdict::ok();
}

}  // namespace qx
