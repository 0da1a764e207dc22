// Opening the card from the list: add, edit under the structure's lock, copy, and the
// card-filling routine they share.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "texts/texts.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/prompter.h"
#include "shared/code_to_name.h"

#include <QScopeGuard>
#include <QSignalBlocker>

namespace qx {

void FrmPS::runCard(FrmProStru& card)
{
    // The card writes through the table recordsets; the list follows each save it makes. A card
    // that goes on editing the structure it saved holds that structure's lock through the list.
    card.setRecordsets(ctx_.mrecPro.get(), ctx_.mrecPros.get());
    card.setRecordLocks(&locks_);
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
    const LockingCommand command(*this);
    FrmProStru card(ctx_, this);
    card.adding = true;
    runCard(card);
}

bool FrmPS::reloadParentRow(int row)
{
    const QString code = supPS1_->textMatrix(row, ParentColCode);
    for (Recordset* rs : {ctx_.parentRecords, ctx_.childRecords}) {
        if (!rs) continue;
        try {
            rs->requery();
        } catch (const DbError&) {
        }
    }
    Recordset* rs = ctx_.parentRecords;
    if (!rs) return true;
    try {
        if (rs->recordCount() > 0) rs->moveFirst();
        rs->findFirst(Criteria::eq(QStringLiteral("cPSPCode"), code));
        if (rs->recordCount() == 0 || rs->noMatch()) return false;
        const char* fields[kParentColumnCount] = {"cPSPCode", "cInvName", "cDepCode", "cInvStd"};
        for (int c = 0; c < kParentColumnCount; ++c)
            supPS1_->setTextMatrix(row, c, NullToText(rs->field(QString::fromLatin1(fields[c]))));
    } catch (const DbError&) {
        return true;  // the rows as read before stay
    }
    selectParentRow(row);
    return true;
}

void FrmPS::Fedit()
{
    // With only the header row there is nothing to edit and no lock is asked for.
    if (supPS1_->rows() < 2) return;
    const int row = supPS1_->row() >= 1 ? supPS1_->row() : 1;
    const QString code = supPS1_->textMatrix(row, ParentColCode);
    // Read-only: the card opens for viewing, without a lock.
    const bool viewing = ctx_.readOnly;
    const LockingCommand command(*this);
    if (!viewing && !locks_.lockOrRefuse(code, KeyTrim::Both, LockPurpose::Edit, ctx_.sProStru))
        return;
    // The card starts from what is stored now that nobody else can change it, never from the
    // list's older copy. A structure deleted meanwhile opens no card; the list shows the truth.
    if (!reloadParentRow(row)) {
        refresh();
        Prompter::current().inform(text::kRecordDeleted, text::kTitle);
        return;
    }
    FrmProStru card(ctx_, this);
    fillCard(card);
    if (viewing) card.setEditable(false);
    runCard(card);
}

void FrmPS::FCopy()
{
    // The copy flag lives only as long as the copy.
    copyFlag = true;
    const auto clearFlag = qScopeGuard([this] { copyFlag = false; });
    if (supPS1_->rows() < 2) return;
    // A copy is a new structure: no lock (until the card has saved it and goes on editing it).
    const LockingCommand command(*this);
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
