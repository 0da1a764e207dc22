#include "card/card_columns.h"

#include "texts/texts.h"
#include "platform/database.h"
#include "shared/list_context.h"

namespace qx {

LineColumnSpec lineColumnSpec(int col, const ListContext& ctx, AuxUnitSwitch aux)
{
    LineColumnSpec s;
    s.defined = true;
    const auto def = [&s](int maxLength, bool button, ColumnKind kind, int decimals = 0) {
        s.maxLength = maxLength;
        s.button = button;
        s.kind = kind;
        s.decimals = decimals;
    };
    const auto align = [&s](CellAlignment a) {
        s.aligned = true;
        s.alignment = a;
    };
    // Columns 5..7 follow the company's auxiliary-unit switch; without the setting row they keep
    // the widths they start with.
    const auto auxWidth = [aux](int shownWidth) {
        return aux == AuxUnitSwitch::Hidden ? 0 : shownWidth;
    };
    const int dec = ctx.quantityDecimals;

    switch (col) {
        case ColChildCode:
            s.caption = ctx.childTerm + text::kCode;
            s.width = 1000;
            def(20, true, ColumnKind::Text);
            align(CellAlignment::LeftCenter);
            break;
        case ColChildName:
            s.caption = ctx.childTerm + text::kName;
            s.width = 1100;
            def(30, false, ColumnKind::Text);
            align(CellAlignment::LeftCenter);
            break;
        case ColSpec:
            s.caption = text::kSpec;
            s.width = 1100;
            def(30, false, ColumnKind::Text);
            align(CellAlignment::LeftCenter);
            break;
        case ColFree1:
        case ColFree2: {
            const bool have = col == ColFree1 ? ctx.HaveFree1 : ctx.HaveFree2;
            const QString& name = col == ColFree1 ? ctx.FreeName1 : ctx.FreeName2;
            s.caption = have ? name : (col == ColFree1 ? text::kFreeItem1 : text::kFreeItem2);
            // Zero-wide when not in use, yet addressable by the same number.
            s.width = have ? 800 : 0;
            if (have)
                def(60, true, ColumnKind::Text);
            else
                def(0, false, ColumnKind::Text);
            align(CellAlignment::LeftCenter);
            break;
        }
        case ColAuxUnit:
            s.caption = text::kAuxUnit;
            s.width = auxWidth(kAuxUnitWidth);
            def(4, false, ColumnKind::Text);
            align(CellAlignment::LeftCenter);
            break;
        case ColPieces:
            s.caption = text::kPieces;
            s.width = auxWidth(kPiecesWidth);
            def(20, false, ColumnKind::Number, dec);
            align(CellAlignment::RightCenter);
            break;
        case ColExchRate:
            s.caption = text::kExchRate;
            s.width = auxWidth(kExchRateWidth);
            def(20, false, ColumnKind::Text);
            align(CellAlignment::RightCenter);
            break;
        case ColMainUnit:
            s.caption = text::kMainUnit;
            s.width = 1100;
            def(4, false, ColumnKind::Text);
            align(CellAlignment::LeftCenter);
            break;
        case ColQuantity:
            s.caption = text::kStdQuantity;
            s.width = 800;
            def(20, false, ColumnKind::Number, dec);
            align(CellAlignment::RightCenter);
            break;
        case ColWasteRate:
            s.caption = text::kWasteRate;
            s.width = 800;
            def(16, false, ColumnKind::Number, 8);
            align(CellAlignment::RightCenter);
            break;
        case ColWarehouse:
            s.caption = text::kWarehouse;
            s.width = 800;
            def(20, true, ColumnKind::Text);
            break;
        case ColPerson:
            s.caption = text::kStorekeeper;
            s.width = 1000;
            def(15, true, ColumnKind::Text);
            break;
        case ColDept:
            s.caption = text::kUseDept;
            s.width = 1000;
            def(20, true, ColumnKind::Text);
            break;
        case ColOperation:
            s.caption = text::kOperation;
            s.width = 1000;
            def(20, true, ColumnKind::Text);
            break;
        case ColPlannedPrice:
            s.caption = text::kPlannedPrice;
            s.width = kPlannedPriceWidth;
            def(20, false, ColumnKind::Text);
            break;
        case ColHidden:
        default:
            s = LineColumnSpec{};
            s.width = kHiddenWidth;
            break;
    }
    return s;
}

AuxUnitSwitch readAuxUnitSwitch(const ListContext& ctx)
{
    if (!ctx.dbase) return AuxUnitSwitch::Absent;
    try {
        auto rs = ctx.dbase->openRecordset(
            // The settings' system id ("AA") is compared without regard to case.
            QStringLiteral(
                "select cvalue from accinformation where lower(csysid)='aa' and cid='22'"),
            RecordsetType::Snapshot);
        if (rs->recordCount() == 0) return AuxUnitSwitch::Absent;
        rs->moveFirst();
        const QVariant v = rs->field(QStringLiteral("CValue"));
        // Only the exact word counts: "True" or "true" hide the columns.
        return (!v.isNull() && v.toString() == QLatin1String("TRUE")) ? AuxUnitSwitch::Shown
                                                                      : AuxUnitSwitch::Hidden;
    } catch (const DbError&) {
        return AuxUnitSwitch::Absent;  // loading shows no message of its own
    }
}

}  // namespace qx
