// The card's commands: the toolbar, the dispatcher and the line commands.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "card/line_validation.h"
#include "card/save_structure.h"
#include "texts/texts.h"
#include "platform/database.h"
#include "platform/prompter.h"
#include "shared/list_context.h"
#include "shared/record_lock.h"

#include <QAction>
#include <QLineEdit>
#include <QStyle>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>

#include <vector>

namespace qx {

namespace {

// The line cells as they stand, to be put back after a refused save.
std::vector<std::vector<QString>> cellsOf(const Grid& grid)
{
    std::vector<std::vector<QString>> cells(static_cast<size_t>(grid.rows()));
    for (int r = 1; r < grid.rows(); ++r)
        for (int c = 0; c < grid.cols(); ++c) cells[r].push_back(grid.textMatrix(r, c));
    return cells;
}

void putBack(Grid& grid, const std::vector<std::vector<QString>>& cells)
{
    if (static_cast<int>(cells.size()) != grid.rows()) return;
    for (int r = 1; r < grid.rows(); ++r)
        for (int c = 0; c < grid.cols() && c < static_cast<int>(cells[r].size()); ++c)
            if (grid.textMatrix(r, c) != cells[r][c]) grid.setTextMatrix(r, c, cells[r][c]);
}

}  // namespace

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
    // A command whose button is off (viewing only) does nothing.
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
    req.lock = adding ? nullptr : &recordLocks();

    // The save judges every line as the second pass does, which reformats numbers and empties
    // an unknown warehouse: a refused save puts back exactly what was typed.
    const auto typed = cellsOf(*grid_);
    EnteredLines entered(*lines_);
    if (!saveStructure(lookups(), entered, req)) {
        putBack(*grid_, typed);
        return;
    }

    // The card goes on as an edit of the structure just saved, under its lock, so that later
    // corrections are saved by F6 too. A new structure is locked now: nobody could edit it
    // before it existed. Should another holder have it already, the next save says so.
    if (adding) recordLocks().lockRecord(req.parentCode, KeyTrim::Both);
    adding = false;
    setParentCodeAvailable(false);
    emit structureSaved(req.parentCode);
}

RecordLocks& FrmProStru::recordLocks()
{
    if (locks_) return *locks_;
    if (!ownLocks_) ownLocks_ = std::make_unique<RecordLocks>(ctx_.dbase, ctx_.ComputerName);
    return *ownLocks_;
}

void FrmProStru::addMore()
{
    // The structure edited so far is let go: the card now enters a new one.
    if (!adding) recordLocks().releaseAll();
    adding = true;
    if (QAction* a = action(QStringLiteral("ButSave"))) a->setEnabled(true);
    setParentCodeAvailable(true);
    // The clearing routine: an empty header and one empty line to type into.
    edtParent_->clear();
    edtName1_->clear();
    edtDep_->clear();
    edtName2_->clear();
    grid_->cancelEdit();
    clearLines();
    grid_->addRow();
    parentAccepted_ = departmentAccepted_ = true;
    edtParent_->setFocus();
}

void FrmProStru::addLine()
{
    const int current = grid_->row();
    const int last = grid_->rows() - 1;
    // An untouched empty last line is already the new line: the command goes there.
    const bool lastIsNew = last >= 1 && lineUntouched(*lines_, last);
    if (current >= 1 && current < grid_->rows() && !(lastIsNew && current == last)) {
        if (lineUnfinished(*lines_, current)) {
            inform(text::kLineUnfinished);
            return;
        }
        if (!rowLeaving(current)) return;
    }
    if (!lastIsNew) grid_->addRow();
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
