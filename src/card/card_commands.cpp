// The card's commands: the toolbar, the dispatcher and the line commands.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "card/line_validation.h"
#include "card/save_structure.h"
#include "data/texts.h"
#include "platform/database.h"
#include "platform/prompter.h"
#include "shared/list_context.h"

#include <QAction>
#include <QLineEdit>
#include <QStyle>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>

namespace qx {

void FrmProStru::createActions()
{
    setWindowTitle(text::kCardCaption);
    tlbPS_ = new QToolBar(this);
    tlbPS_->setObjectName(QStringLiteral("TlbPS"));
    tlbPS_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    tlbPS_->setIconSize(QSize(20, 20));

    struct Button {
        const char* key;
        QString caption;
        QString tip;
        QStyle::StandardPixmap image;
    };
    const Button buttons[] = {
        {"ButSave", text::kCapSave, text::kTipSave, QStyle::SP_DialogSaveButton},
        {"ButAdd", text::kCapAdd, text::kTipAddMore, QStyle::SP_FileIcon},
        {"butaddline", text::kCapAddLine, text::kTipAddLine, QStyle::SP_ArrowDown},
        {"butdeleteline", text::kCapDeleteLine, text::kTipDeleteLine, QStyle::SP_TrashIcon},
        {"ButExit", text::kCapExit, text::kTipReturn, QStyle::SP_DialogCloseButton},
    };
    for (const Button& b : buttons) {
        const QString key = QString::fromLatin1(b.key);
        if (key == QLatin1String("ButExit")) tlbPS_->addSeparator();
        auto* a = new QAction(style()->standardIcon(b.image), b.caption, this);
        a->setObjectName(key);
        a->setData(key);
        a->setToolTip(b.tip);
        connect(a, &QAction::triggered, this, [this, key] { dispatch(key); });
        tlbPS_->addAction(a);
        actions_ << a;
    }
}

QAction* FrmProStru::action(const QString& command) const
{
    for (QAction* a : actions_)
        if (a->data().toString() == command) return a;
    return nullptr;
}

void FrmProStru::dispatch(const QString& command)
{
    if (command == QLatin1String("ButExit")) {
        // Whatever has been typed is dropped; no question is asked.
        close();
        return;
    }
    // A command whose button is off (viewing only, or the save after a save) does nothing.
    if (QAction* a = action(command); a && !a->isEnabled()) return;
    // A cell still being typed is checked before the command goes on; a refusal stops it.
    if ((command == QLatin1String("ButSave") || command == QLatin1String("butaddline")) &&
        !grid_->finishEdit())
        return;
    if (command == QLatin1String("ButSave"))
        save();
    else if (command == QLatin1String("ButAdd"))
        addMore();
    else if (command == QLatin1String("butaddline"))
        addLine();
    else if (command == QLatin1String("butdeleteline"))
        deleteLine();
}

void FrmProStru::save()
{
    SaveRequest req;
    req.parentCode = edtParent_->text();
    req.department = edtDep_->text();
    req.adding = adding;
    if (!parentRows_ || !childRows_) {
        // Opened without the list's table recordsets: the card opens its own.
        if (!ctx_.dbase) return;
        if (!ownParentRows_)
            ownParentRows_ = ctx_.dbase->openRecordset(QStringLiteral("ProductStructure"));
        if (!ownChildRows_)
            ownChildRows_ = ctx_.dbase->openRecordset(QStringLiteral("productstructures"));
    }
    req.headerRows = parentRows_ ? parentRows_ : ownParentRows_.get();
    req.lineRows = childRows_ ? childRows_ : ownChildRows_.get();
    req.lockComputer = adding ? QString() : ctx_.ComputerName;

    if (!saveStructure(lookups(), *lines_, req)) return;

    // The structure now exists: its code is fixed and saving again waits for the next ButAdd.
    adding = false;
    if (QAction* a = action(QStringLiteral("ButSave"))) a->setEnabled(false);
    setParentCodeAvailable(false);
    emit structureSaved(req.parentCode);
}

void FrmProStru::addMore()
{
    adding = true;
    if (QAction* a = action(QStringLiteral("ButSave"))) a->setEnabled(true);
    setParentCodeAvailable(true);
    // The clearing routine: an empty header and no line.
    edtParent_->clear();
    edtName1_->clear();
    edtDep_->clear();
    edtName2_->clear();
    grid_->cancelEdit();
    clearLines();
    parentAccepted_ = departmentAccepted_ = true;
    edtParent_->setFocus();
}

void FrmProStru::addLine()
{
    const int current = grid_->row();
    if (current >= 1 && current < grid_->rows()) {
        if (lineUnfinished(*lines_, current)) {
            inform(text::kLineUnfinished);
            return;
        }
        if (!rowLeaving(current)) return;
    }
    grid_->addRow();
    const int row = grid_->rows() - 1;
    grid_->setRow(row);
    grid_->setCol(ColChildCode);
    grid_->view()->scrollTo(grid_->view()->model()->index(row - 1, ColChildCode));
    grid_->view()->setFocus();
}

void FrmProStru::deleteLine()
{
    if (grid_->rows() <= 1) return;
    const int row = grid_->row();
    if (row < 1) return;
    const QString child = grid_->textMatrix(row, ColChildCode);
    if (!child.isEmpty() && ctx_.dbase) {
        // A child that is a structure of its own stays while the structure is in use.
        Recordset* heads = parentRows_ ? parentRows_ : ctx_.mrecPro.get();
        bool childHasLevels = false;
        if (heads) {
            if (heads->recordCount() > 0) heads->moveFirst();
            heads->findFirst(Criteria::eq(QStringLiteral("cPSPCode"), child.trimmed()));
            childHasLevels = heads->recordCount() > 0 && !heads->noMatch();
        }
        try {
            if (childHasLevels && structureInUse(edtParent_->text(), *ctx_.dbase)) {
                inform(text::kLineUsedWithLowerLevels);
                return;
            }
        } catch (const DbError& e) {
            inform(e.description());  // the connection is lost; the line stays
            return;
        }
    }
    if (!Prompter::current().ask(text::kAskDeleteChild, text::kTitle, Prompter::Icon::Question))
        return;
    grid_->cancelEdit();
    grid_->removeRow(row);
}

}  // namespace qx
