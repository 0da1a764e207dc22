// The list window's toolbar, keys and its one dispatcher.

#include "texts/texts.h"
#include "list/frm_ps.h"
#include "list/list_bulk.h"
#include "platform/grid.h"
#include "platform/prompter.h"

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QKeyEvent>
#include <QStyle>
#include <QToolBar>

namespace qx {

namespace {

// One toolbar position: the command key it carries, or an empty key for a separator.
struct ToolbarSlot {
    const char* key;
    const char* image;
};

// Positions 1..20. The texts of positions 1-4, 6-10, 12, 14 and 15 are set by setUpToolbar().
constexpr ToolbarSlot kToolbar[] = {
    {"Butsetup", "psetup"}, {"Butprint", "pprint"},   {"Butpre", "ppre"},
    {"Butout", "pout"},     {nullptr, nullptr},       {"ButAdd", "pAdd"},
    {"ButEdit", "pEdit"},   {"ButDelete", "pDelete"}, {"Butref", "pref"},
    {"ButCopy", "pCopy"},   {nullptr, nullptr},       {"setItem", "setItem"},
    {nullptr, nullptr},     {"ButHelp", "phelp"},     {"ButExit", "pExit"},
    {nullptr, nullptr},     {"Butfirst", "pFirst"},   {"Butprivous", "pPrivous"},
    {"Butnext", "pNext"},   {"Butlast", "pLast"},
};

// ImageList1: each image added under its key at its index (1-based). An index already taken
// inserts before the image standing there, so "pend" goes before "pSt2" and "pSt2" keeps
// moving back as later images are added at their indexes.
struct ImageSlot {
    const char* key;
    int index;
    const char* theme;
    QStyle::StandardPixmap fallback;
};
constexpr ImageSlot kImages[] = {
    {"pAdd", 1, "document-new", QStyle::SP_FileIcon},
    {"pDelete", 2, "edit-delete", QStyle::SP_TrashIcon},
    {"pEdit", 3, "document-properties", QStyle::SP_FileDialogDetailedView},
    {"pExit", 4, "application-exit", QStyle::SP_DialogCloseButton},
    {"pSt1", 5, "", QStyle::SP_ToolBarHorizontalExtensionButton},
    {"pFind", 6, "edit-find", QStyle::SP_FileDialogContentsView},
    {"pPrivous", 7, "go-previous", QStyle::SP_ArrowLeft},
    {"pNext", 8, "go-next", QStyle::SP_ArrowRight},
    {"pLast", 9, "go-last", QStyle::SP_MediaSkipForward},
    {"pFirst", 10, "go-first", QStyle::SP_MediaSkipBackward},
    {"pSt2", 11, "", QStyle::SP_ToolBarVerticalExtensionButton},
    {"pend", 11, "go-bottom", QStyle::SP_MediaStop},
    {"phelp", 12, "help-browser", QStyle::SP_DialogHelpButton},
    {"pprint", 13, "document-print", QStyle::SP_DialogSaveButton},
    {"ppre", 14, "document-print-preview", QStyle::SP_FileDialogInfoView},
    {"pref", 15, "view-refresh", QStyle::SP_BrowserReload},
    {"pout", 16, "document-save-as", QStyle::SP_DriveFDIcon},
    {"psetup", 17, "preferences-system", QStyle::SP_ComputerIcon},
    {"pCopy", 18, "edit-copy", QStyle::SP_FileLinkIcon},
    {"setItem", 19, "view-list", QStyle::SP_FileDialogListView},
};

QIcon toolbarIcon(const QWidget* w, const char* theme, QStyle::StandardPixmap fallback)
{
    // A freely licensed desktop icon theme when the machine has one; Qt's own icons otherwise.
    if (QIcon::themeName().isEmpty() && QDir(QStringLiteral("/usr/share/icons/Adwaita")).exists())
        QIcon::setThemeName(QStringLiteral("Adwaita"));
    const QIcon standard = w->style()->standardIcon(fallback);
    if (theme && *theme) return QIcon::fromTheme(QString::fromLatin1(theme), standard);
    return standard;
}

}  // namespace

void FrmPS::createActions()
{
    imageKeys_.clear();
    for (const ImageSlot& s : kImages) {
        const QString key = QString::fromLatin1(s.key);
        imageKeys_.insert(std::min<qsizetype>(s.index - 1, imageKeys_.size()), key);
        images_.insert(key, toolbarIcon(this, s.theme, s.fallback));
    }
    for (const ToolbarSlot& s : kToolbar) {
        if (!s.key) {
            tlbPS_->addSeparator();
            continue;
        }
        const QString key = QString::fromLatin1(s.key);
        QAction* a = tlbPS_->addAction(images_.value(QString::fromLatin1(s.image)), QString());
        a->setData(key);
        a->setObjectName(key);
        connect(a, &QAction::triggered, this, [this, key] { dispatch(key); });
    }
    addExplorerActions();
    addBulkActions(*this, *tlbPS_);
}

QList<QAction*> FrmPS::toolbarActions() const
{
    return tlbPS_->actions();
}

QAction* FrmPS::action(const QString& key) const
{
    for (QAction* a : tlbPS_->actions())
        if (a->data().toString() == key) return a;
    return nullptr;
}

void FrmPS::setUpToolbar()
{
    const QList<QAction*> acts = tlbPS_->actions();
    auto set = [&acts](int position, const QString& tip, const QString& caption) {
        QAction* a = acts.value(position - 1);
        if (!a) return;
        a->setText(caption);
        a->setIconText(caption);
        a->setToolTip(tip);
    };
    set(6, text::kTipAdd, text::kCapAdd);
    set(8, text::kTipDelete, text::kCapDelete);
    set(7, text::kTipEdit, text::kCapEdit);
    set(15, text::kTipExit, text::kCapExit);
    set(2, text::kPrint, text::kPrint);
    set(3, text::kTipPreview, text::kCapPreview);
    set(9, text::kRefresh, text::kRefresh);
    set(14, text::kHelp, text::kHelp);
    set(4, text::kTipOutput, text::kCapOutput);
    set(1, text::kTipSetup, text::kCapSetup);
    set(10, text::kCopy, text::kCopy);
    // The column-settings button shows its image and tool tip only.
    set(12, text::kTipSetItem, QString());
}

void FrmPS::dispatch(const QString& key)
{
    const int rows = supPS1_->rows();
    // Read-only: the commands that change structures do nothing, whatever reaches them.
    if (ctx_.readOnly && (key == QLatin1String("ButAdd") || key == QLatin1String("ButDelete") ||
                          key == QLatin1String("ButCopy")))
        return;
    if (dispatchExplorer(key)) return;

    if (key == QLatin1String("ButHelp")) {
        // The help opens on F1, as the window's own key.
        QKeyEvent f1(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier);
        QCoreApplication::sendEvent(this, &f1);
    } else if (key == QLatin1String("ButExit")) {
        close();
    } else if (key == QLatin1String("Butfirst")) {
        Ffirst();
    } else if (key == QLatin1String("Butprivous")) {
        Fprivious();
    } else if (key == QLatin1String("Butnext")) {
        Fnext();
    } else if (key == QLatin1String("Butlast")) {
        Flast();
    } else if (key == QLatin1String("ButAdd")) {
        Fadd();
    } else if (key == QLatin1String("ButDelete")) {
        if (rows >= 2) FDelete();
    } else if (key == QLatin1String("ButEdit")) {
        Fedit();
    } else if (key == QLatin1String("Butref")) {
        refresh();
    } else if (key == QLatin1String("Butprint")) {
        if (rows < 2)
            Prompter::current().inform(text::kNoDataToPrint, text::kTitle);
        else
            FPrint();
    } else if (key == QLatin1String("Butpre")) {
        if (rows < 2)
            Prompter::current().inform(text::kNoDataToPrint, text::kTitle);
        else
            FPreview();
    } else if (key == QLatin1String("Butout")) {
        if (rows < 2)
            Prompter::current().inform(text::kNoDataToOutput, text::kTitle);
        else
            FOutput();
    } else if (key == QLatin1String("Butsetup")) {
        FSetup();
    } else if (key == QLatin1String("ButCopy")) {
        copyFlag = true;
        FCopy();
    } else if (key == QLatin1String("setItem")) {
        FSetItem();
    } else if (isBulkCommand(key)) {
        runBulkCommand(*this, key);
    }
}

void FrmPS::installKeyHandler(QWidget* w)
{
    w->installEventFilter(this);
    for (QWidget* child : w->findChildren<QWidget*>()) child->installEventFilter(this);
}

bool FrmPS::handleKey(QKeyEvent* event)
{
    // Each key is tested in turn, not as alternatives.
    bool handled = false;
    const int key = event->key();
    if (key == Qt::Key_F5) {
        dispatch(QStringLiteral("ButAdd"));
        handled = true;
    }
    if (key == Qt::Key_Delete) {
        dispatch(QStringLiteral("ButDelete"));
        handled = true;
    }
    if (key == Qt::Key_F4 && (event->modifiers() & Qt::AltModifier)) {
        dispatch(QStringLiteral("ButExit"));
        handled = true;
    }
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) &&
        activeControlName() == QLatin1String("SupPS1")) {
        dispatch(QStringLiteral("ButEdit"));
        handled = true;
    }
    if (key == Qt::Key_F1) {
        FHelp();
        handled = true;
    }
    if (handleExplorerKey(event)) handled = true;
    return handled;
}

}  // namespace qx
