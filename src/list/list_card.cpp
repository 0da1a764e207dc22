// Opening the card from the list: add, edit under the structure's lock, copy, and the
// card-filling routine they share.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "shared/code_to_name.h"

#include <QSignalBlocker>

namespace qx {

void FrmPS::runCard(FrmProStru& card)
{
    // The card writes through the table recordsets; the list follows each save it makes.
    card.setRecordsets(ctx_.mrecPro.get(), ctx_.mrecPros.get());
    connect(&card, &FrmProStru::structureSaved, this, [this](const QString& code) {
        refresh();
        const int row = findParentRow(code);
        if (row >= 1) selectParentRow(row);
    });
    if (showCard)
        showCard(card);
    else
        card.exec();
}

void FrmPS::Fadd()
{
    FrmProStru card(ctx_, this);
    card.adding = true;
    runCard(card);
}

void FrmPS::Fedit()
{
    // With only the header row there is nothing to edit and no lock is asked for.
    if (supPS1_->rows() < 2) return;
    // The card starts from current data.
    for (Recordset* rs : {ctx_.parentRecords, ctx_.childRecords}) {
        if (!rs) continue;
        try {
            rs->requery();
        } catch (const DbError&) {
        }
    }
    const QString code =
        supPS1_->textMatrix(supPS1_->row() >= 1 ? supPS1_->row() : 1, ParentColCode);
    // Read-only: the card opens for viewing, without a lock.
    const bool viewing = ctx_.readOnly;
    if (!viewing && !locks_.lockOrRefuse(code, KeyTrim::Both, LockPurpose::Edit, ctx_.sProStru))
        return;
    {
        FrmProStru card(ctx_, this);
        fillCard(card);
        if (viewing) card.setEditable(false);
        runCard(card);
    }
    if (!viewing) locks_.unlockRecord();
}

void FrmPS::FCopy()
{
    if (supPS1_->rows() < 2) return;
    // A copy is a new structure: no lock.
    FrmProStru card(ctx_, this);
    card.adding = true;
    fillCard(card);
    runCard(card);
}

void FrmPS::fillCard(FrmProStru& card)
{
    if (copyFlag) {
        card.adding = true;
        copyFlag = false;
        card.setParentCodeAvailable(true);
    } else {
        card.adding = false;
        card.setParentCodeAvailable(false);
    }
    const int row = supPS1_->row() >= 1 ? supPS1_->row() : 1;
    const QString code = supPS1_->textMatrix(row, ParentColCode);
    QString department;
    if (ctx_.dbase)
        department = CodeToName_Dep(supPS1_->textMatrix(row, ParentColDept), *ctx_.dbase);
    QString spec;
    if (ctx_.inventory) {
        try {
            ctx_.inventory->findFirst(Criteria::eq(QStringLiteral("cinvcode"), code));
            if (!ctx_.inventory->noMatch())
                spec = ctx_.inventory->field(QStringLiteral("cInvStd")).toString();
        } catch (const DbError&) {
        }
    }
    card.setHeader(code, supPS1_->textMatrix(row, ParentColName), department, spec);
    card.clearLines();
    for (int r = 1; r < supPS2_->rows(); ++r) {
        QStringList cells;
        for (int c = ColChildCode; c <= ColPlannedPrice; ++c) cells << supPS2_->textMatrix(r, c);
        card.appendLine(cells);
    }
}

}  // namespace qx
