// The parent grid SupPS1 and the child grid SupPS2: columns, filling, selection, sorting,
// refresh and the child filter.

#include "card/card_columns.h"
#include "data/common.h"
#include "texts/texts.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/prompter.h"
#include "shared/grid_captions.h"

#include <QLabel>
#include <QSignalBlocker>

namespace qx {

namespace {

struct ColumnDef {
    int width;
    int length;
};
constexpr ColumnDef kParentColumns[kParentColumnCount] = {
    {1000, 12}, {1500, 60}, {1500, 30}, {1500, 30}};

// A number as the grids have always shown it: up to fifteen significant digits, no trailing zeros.
QString numberText(double v)
{
    return QString::number(v, 'g', 15);
}

// Field positions of the child recordset, looked up once per fill.
struct ChildFields {
    int code, name, spec, free1, free2, auxUnit, quantity, exchRate, mainUnit, wasteRate, warehouse,
        person, dept, operation, price;
    explicit ChildFields(const Recordset& rs)
        : code(rs.fieldIndex(QStringLiteral("cPSCode"))),
          name(rs.fieldIndex(QStringLiteral("cInvName"))),
          spec(rs.fieldIndex(QStringLiteral("cInvStd"))),
          free1(rs.fieldIndex(QStringLiteral("cFree1"))),
          free2(rs.fieldIndex(QStringLiteral("cFree2"))),
          auxUnit(rs.fieldIndex(QStringLiteral("cInvA_unit"))),
          quantity(rs.fieldIndex(QStringLiteral("iPSQuantity"))),
          exchRate(rs.fieldIndex(QStringLiteral("iInvExchRate"))),
          mainUnit(rs.fieldIndex(QStringLiteral("cInvM_Unit"))),
          wasteRate(rs.fieldIndex(QStringLiteral("iWasteRate"))),
          warehouse(rs.fieldIndex(QStringLiteral("cWhCode"))),
          person(rs.fieldIndex(QStringLiteral("cPersonName"))),
          dept(rs.fieldIndex(QStringLiteral("cDepCode"))),
          operation(rs.fieldIndex(QStringLiteral("cProcedureName"))),
          price(rs.fieldIndex(QStringLiteral("iInvRCost")))
    {
    }
};

QVariant at(const Recordset& rs, int row, int field)
{
    return field < 0 ? QVariant() : rs.value(row, field);
}
QString textAt(const Recordset& rs, int row, int field)
{
    return at(rs, row, field).toString();
}

}  // namespace

void FrmPS::setUpParentColumns()
{
    Grid& g = *supPS1_;
    g.setRowSelection(true);
    g.setCols(kParentColumnCount);
    if (g.rows() < 1) g.setRows(1);
    for (int c = 0; c < kParentColumnCount; ++c) {
        g.setColWidth(c, kParentColumns[c].width);
        g.setColumnDef(c, kParentColumns[c].length, false, ColumnKind::Text);
    }
    const QStringList headers = parentGridCaptions(ctx_);
    for (int c = 0; c < kParentColumnCount; ++c) g.setTextMatrix(0, c, headers[c]);
    for (int c = 0; c < kParentColumnCount; ++c) {
        g.setColAlignment(c, CellAlignment::LeftTop);
        g.setCellAlignment(0, c, CellAlignment::CenterCenter);
    }
    g.setHeaderToolTip(text::kSortTip);
}

void FrmPS::setUpChildColumns()
{
    Grid& g = *supPS2_;
    g.setCols(kChildColumnCount);
    if (g.rows() < 1) g.setRows(1);

    g.setColWidth(ColChildCode, 1000);
    g.setColWidth(ColChildName, 1200);
    g.setColWidth(ColSpec, 1200);
    g.setColWidth(ColFree1, ctx_.HaveFree1 ? 1000 : 0);
    g.setColWidth(ColFree2, ctx_.HaveFree2 ? 1000 : 0);
    switch (readAuxUnitSwitch(ctx_)) {
        case AuxUnitSwitch::Shown:
            g.setColWidth(ColAuxUnit, 1000);
            g.setColWidth(ColPieces, 800);
            g.setColWidth(ColExchRate, 800);
            break;
        case AuxUnitSwitch::Hidden:
            g.setColWidth(ColAuxUnit, 0);
            g.setColWidth(ColPieces, 0);
            g.setColWidth(ColExchRate, 0);
            break;
        case AuxUnitSwitch::Absent:
            break;  // the grid's default widths
    }
    g.setColWidth(ColMainUnit, 1000);
    g.setColWidth(ColQuantity, 800);
    g.setColWidth(ColWasteRate, 800);

    constexpr int kLengths[] = {20, 30, 30, 10, 10, 15, 10, 10, 10, 10, 10};
    for (int c = ColChildCode; c <= ColWasteRate; ++c)
        g.setColumnDef(c, kLengths[c], false,
                       c == ColPieces ? ColumnKind::Number : ColumnKind::Text);

    const QStringList headers = childGridCaptions(ctx_);
    for (int c = 0; c < kChildColumnCount; ++c) g.setTextMatrix(0, c, headers[c]);

    for (int c : {ColChildCode, ColChildName, ColSpec, ColFree1, ColFree2, ColAuxUnit, ColMainUnit})
        g.setColAlignment(c, CellAlignment::LeftCenter);
    for (int c : {ColPieces, ColExchRate, ColQuantity, ColWasteRate, ColPlannedPrice})
        g.setColAlignment(c, CellAlignment::RightCenter);
    for (int c = 0; c < kChildColumnCount; ++c)
        g.setCellAlignment(0, c, CellAlignment::CenterCenter);
    g.setHeaderToolTip(text::kSortTip);
}

void FrmPS::fillParentGrid()
{
    supPS1_->setRows(1);
    Recordset* rs = ctx_.parentRecords;
    if (!rs || rs->recordCount() == 0) return;
    const int fields[kParentColumnCount] = {
        rs->fieldIndex(QStringLiteral("cPSPCode")), rs->fieldIndex(QStringLiteral("cInvName")),
        rs->fieldIndex(QStringLiteral("cDepCode")), rs->fieldIndex(QStringLiteral("cInvStd"))};
    const int n = rs->recordCount();
    for (int r = 0; r < n; ++r) {
        std::vector<QString> cells(kParentColumnCount);
        for (int c = 0; c < kParentColumnCount; ++c) cells[c] = textAt(*rs, r, fields[c]);
        supPS1_->appendRow(std::move(cells));
    }
    // Parents in code order (columns 0 to 3 as one key, case-sensitive).
    supPS1_->sortByColumns(ParentColCode, ParentColSpec);
}

void FrmPS::fillChildGrid()
{
    Recordset* rs = ctx_.childRecords;
    if (!rs) return;
    const ChildFields f(*rs);
    const int n = rs->recordCount();
    for (int r = 0; r < n; ++r) {
        std::vector<QString> cells(kChildColumnCount);
        cells[ColChildCode] = textAt(*rs, r, f.code);
        cells[ColChildName] = textAt(*rs, r, f.name);
        cells[ColSpec] = textAt(*rs, r, f.spec);
        cells[ColFree1] = textAt(*rs, r, f.free1);
        cells[ColFree2] = textAt(*rs, r, f.free2);
        cells[ColAuxUnit] = textAt(*rs, r, f.auxUnit);
        const QVariant quantity = at(*rs, r, f.quantity);
        const QVariant exch = at(*rs, r, f.exchRate);
        if (!exch.isNull()) {
            if (exch.toDouble() != 0)
                cells[ColPieces] = numberText(quantity.toDouble() / exch.toDouble());
            cells[ColExchRate] = numberText(exch.toDouble());
        }
        cells[ColMainUnit] = textAt(*rs, r, f.mainUnit);
        if (!quantity.isNull() && !quantity.toString().isEmpty())
            cells[ColQuantity] = FormatNum(quantity.toDouble(), ctx_.quantityDecimals);
        const QVariant waste = at(*rs, r, f.wasteRate);
        if (!waste.isNull() && !waste.toString().isEmpty())
            cells[ColWasteRate] = FormatWasteRate(waste.toDouble());
        const QString wh = textAt(*rs, r, f.warehouse);
        cells[ColWarehouse] = wh.isEmpty() ? wh : warehouseNames_.value(wh, wh);
        cells[ColPerson] = textAt(*rs, r, f.person);
        const QString dep = textAt(*rs, r, f.dept);
        cells[ColDept] = dep.isEmpty() ? dep : departmentNames_.value(dep, dep);
        cells[ColOperation] = textAt(*rs, r, f.operation);
        const QVariant price = at(*rs, r, f.price);
        if (!price.isNull() && !price.toString().isEmpty())
            cells[ColPlannedPrice] = numberText(price.toDouble());
        supPS2_->appendRow(std::move(cells));
    }
}

void FrmPS::Ffliter(const QString& parentCode)
{
    supPS2_->setRows(1);
    if (!ctx_.childRecords) return;
    try {
        // The child recordset is ordered by the child code, so the lines come in that order.
        ctx_.childRecords->setFilter(Criteria::eq(QStringLiteral("cPSPCode"), parentCode));
        fillChildGrid();
    } catch (const DbError&) {
        supPS2_->setRows(1);
    }
}

void FrmPS::selectParentRow(int row)
{
    if (row < 1 || row >= supPS1_->rows()) return;
    {
        const QSignalBlocker block(supPS1_);
        supPS1_->setRow(row);
    }
    Ffliter(supPS1_->textMatrix(row, ParentColCode));
    const QString label = supPS1_->textMatrix(row, ParentColCode) + QLatin1Char(' ') +
                          supPS1_->textMatrix(row, ParentColName);
    label2_->setText(label.trimmed());
}

void FrmPS::refresh()
{
    const QString selected = supPS1_->rows() >= 2 && supPS1_->row() >= 1
                                 ? supPS1_->textMatrix(supPS1_->row(), ParentColCode)
                                 : QString();
    supPS1_->setRows(1);
    supPS2_->setRows(1);
    label2_->clear();
    // Reloading reads what other workstations have saved meanwhile.
    bool told = false;
    for (Recordset* rs : {ctx_.parentRecords, ctx_.childRecords}) {
        if (!rs) continue;
        try {
            rs->requery();
        } catch (const DbError& e) {
            // The rows fetched before stay; a lost connection is said (once), not hidden.
            if (e.kind() == DbErrorKind::ConnectionLost && !told)
                Prompter::current().inform(e.description(), text::kTitle);
            told = told || e.kind() == DbErrorKind::ConnectionLost;
        }
    }
    fillParentGrid();
    if (supPS1_->rows() >= 2) {
        const int row = findParentRow(selected);
        selectParentRow(row >= 1 ? row : 1);
    }
}

int FrmPS::findParentRow(const QString& code) const
{
    if (code.isEmpty()) return -1;
    for (int r = 1; r < supPS1_->rows(); ++r)
        if (supPS1_->textMatrix(r, ParentColCode) == code) return r;
    return -1;
}

void FrmPS::onParentRowChanged(int)
{
    if (supPS1_->rows() < 2) return;
    const int row = supPS1_->row();
    if (row < 1) return;
    selectParentRow(row);
}

void FrmPS::onParentPressed(int row, int col, Qt::MouseButton)
{
    if (row != 0 || col < ParentColCode || col > ParentColSpec) return;
    supPS1_->sortByColumn(col, SortKind::Generic);
    // The lines shown follow the parent now under the selection.
    if (supPS1_->rows() >= 2 && supPS1_->row() >= 1) selectParentRow(supPS1_->row());
}

void FrmPS::onChildPressed(int row, int col, Qt::MouseButton)
{
    if (row != 0 || col < ColChildCode || col > ColFree2) return;
    supPS2_->sortByColumn(col, SortKind::Generic);
}

void FrmPS::onChildDoubleClicked(int, int)
{
    // A child that has a structure of its own: the list selects that structure.
    const int row = supPS2_->row();
    if (row < 1) return;
    const int parentRow = findParentRow(supPS2_->textMatrix(row, ColChildCode));
    if (parentRow >= 1) selectParentRow(parentRow);
}

}  // namespace qx
