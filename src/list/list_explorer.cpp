// The list's way into the multi-level explorer: the toolbar commands "展开" (Ctrl+E) and
// "反查" (Ctrl+U), kept apart from the list's own commands.

#include "texts/texts.h"
#include "explorer/explorer_window.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/host_facts.h"

#include <QAction>
#include <QKeyEvent>
#include <QToolBar>

namespace qx {

namespace {

const QString kExplode = QStringLiteral("ButExplode");
const QString kWhereUsed = QStringLiteral("ButWhereUsed");

}  // namespace

void FrmPS::addExplorerActions()
{
    tlbPS_->addSeparator();
    const struct {
        const QString& key;
        const QString& caption;
        const QString& tip;
        const char* theme;
    } commands[] = {{kExplode, text::kCapExplode, text::kTipExplode, "view-list-tree"},
                    {kWhereUsed, text::kCapWhereUsed, text::kTipWhereUsed, "edit-find"}};
    for (const auto& c : commands) {
        const QString key = c.key;
        QAction* a = tlbPS_->addAction(QIcon::fromTheme(QString::fromLatin1(c.theme), images_.value(QStringLiteral("pFind"))),
                                       c.caption);
        a->setIconText(c.caption);
        a->setToolTip(c.tip);
        a->setData(key);
        a->setObjectName(key);
        connect(a, &QAction::triggered, this, [this, key] { dispatch(key); });
    }
}

bool FrmPS::dispatchExplorer(const QString& key)
{
    if (key == kExplode) {
        FExplode();
        return true;
    }
    if (key == kWhereUsed) {
        FWhereUsed();
        return true;
    }
    return false;
}

bool FrmPS::handleExplorerKey(QKeyEvent* event)
{
    if (!(event->modifiers() & Qt::ControlModifier)) return false;
    if (event->key() == Qt::Key_E) {
        dispatch(kExplode);
        return true;
    }
    if (event->key() == Qt::Key_U) {
        dispatch(kWhereUsed);
        return true;
    }
    return false;
}

namespace {

void runExplorer(FrmPS& list, explorer::ExplorerWindow& w)
{
    if (list.showExplorer)
        list.showExplorer(w);
    else
        w.exec();
}

}  // namespace

void FrmPS::FExplode()
{
    if (!ctx_.dbase) return;
    explorer::ExplorerWindow w(*ctx_.dbase, explorer::Direction::Down, ctx_.quantityDecimals,
                               systemDirectory(), this);
    // With no parent in the list the window opens empty, for a code to be typed.
    if (supPS1_->rows() >= 2) {
        const int row = supPS1_->row() >= 1 ? supPS1_->row() : 1;
        w.open(supPS1_->textMatrix(row, ParentColCode).trimmed());
    }
    runExplorer(*this, w);
}

void FrmPS::FWhereUsed()
{
    if (!ctx_.dbase) return;
    explorer::ExplorerWindow w(*ctx_.dbase, explorer::Direction::Up, ctx_.quantityDecimals,
                               systemDirectory(), this);
    if (supPS2_->rows() >= 2) {
        const int row = supPS2_->row() >= 1 ? supPS2_->row() : 1;
        w.open(supPS2_->textMatrix(row, 0).trimmed());
    }
    runExplorer(*this, w);
}

}  // namespace qx
