#pragma once

// FrmPS, the list window: every parent product on the left (SupPS1), the lines of the selected
// one on the right (SupPS2), the bar PicPS between them, the toolbar TlbPS above.

#include "list/splitter.h"
#include "shared/list_context.h"
#include "shared/record_lock.h"

#include <QHash>
#include <QIcon>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <memory>

class QAction;
class QLabel;
class QTimer;
class QToolBar;

namespace qx {

namespace explorer {
class ExplorerWindow;
}
class FrmProStru;
class Grid;

// The columns of the parent grid.
enum ParentColumn : int {
    ParentColCode = 0,
    ParentColName = 1,
    ParentColDept = 2,
    ParentColSpec = 3
};
constexpr int kParentColumnCount = 4;
// The child grid shows the line columns 0..15 (column 16 belongs to the card alone).
constexpr int kChildColumnCount = 16;

// The help context of the list window.
constexpr int kListHelpContext = 31100033;

class FrmPS : public QWidget {
    Q_OBJECT
public:
    explicit FrmPS(QWidget* parent = nullptr);
    ~FrmPS() override;

    // What Init hands over before the window is shown (DBFrm, the read flag, the recordsets).
    void setDatabase(Database* db);
    // unwritable: read-only because the company cannot be written; the title says so.
    void setReadOnly(bool readOnly, bool unwritable = false);
    void setRecordsets(Recordset* parent, Recordset* child, Recordset* joined);

    // The form's loading; runs once, when the window is first shown (or when called).
    void load();
    bool loaded() const { return loaded_; }

    // Shows the window and returns when it has been closed (the host's modal show).
    void showModal();

    // One dispatcher for toolbar, keys and menus.
    virtual void dispatch(const QString& key);

    // Public operations of the list.
    void Ffirst() {}
    void Fprivious() {}
    void Fnext() {}
    void Flast() {}
    void Ffliter(const QString& parentCode);
    void refresh();
    // Opening the card (add, edit, copy) comes with the card window (list_card.cpp).
    void Fadd();
    void Fedit();
    void FCopy();
    // Deleting (list_delete.cpp).
    void FDelete();
    // Printing, output, set-up, column settings and help (list_print.cpp).
    void FPrint();
    void FPreview();
    void FOutput();
    void FSetup();
    void FSetItem();
    void FHelp();
    // The multi-level explorer (list_explorer.cpp): "ButExplode" for the selected parent,
    // "ButWhereUsed" for the selected child line. Both work in read-only mode too.
    void FExplode();
    void FWhereUsed();
    // How an explorer window is shown: modally, returning when it closes. Tests put their own
    // steps here.
    std::function<void(explorer::ExplorerWindow&)> showExplorer;

    Grid* SupPS1() const { return supPS1_; }
    Grid* SupPS2() const { return supPS2_; }
    QWidget* PicPS() const { return picPS_; }
    QLabel* Label2() const { return label2_; }
    QToolBar* TlbPS() const { return tlbPS_; }
    // The toolbar's commands in their toolbar positions (separators included).
    QList<QAction*> toolbarActions() const;
    QAction* action(const QString& key) const;
    // ImageList1's keys in the order of addition.
    const QStringList& imageKeys() const { return imageKeys_; }
    QIcon image(const QString& key) const { return images_.value(key); }

    ListContext& context() { return ctx_; }
    const ListContext& context() const { return ctx_; }
    RecordLocks& locks() { return locks_; }
    // Set while a copy fills the card; read and cleared by the card-filling routine.
    bool copyFlag = false;

    // How the card is shown: modally, returning when it closes. Tests put their own steps here.
    std::function<void(FrmProStru&)> showCard;

    // "SupPS1", "SupPS2" or "" by where the keyboard focus is.
    QString activeControlName() const;

    // The help file and context that loading set.
    const QString& helpFile() const { return helpFile_; }
    int helpContext() const { return helpContext_; }

    // The splitter's rectangles in twips as they stand, and the dragging flag.
    const SplitterLayout& splitterLayout() const { return layout_; }
    bool dragging() const { return dragging_; }

    // Runs the window's resize arithmetic for an inner size in twips (what a resize event does).
    void layoutForSize(double innerWidthTwips, double innerHeightTwips);

signals:
    void closed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // list_commands.cpp
    void createActions();
    void setUpToolbar();
    bool handleKey(QKeyEvent* event);
    // list_explorer.cpp
    void addExplorerActions();
    bool dispatchExplorer(const QString& key);
    bool handleExplorerKey(QKeyEvent* event);
    void installKeyHandler(QWidget* w);
    // Every command that may lock runs inside one: on its way out the keys are given back, and a
    // key the database was too busy to free is tried again later, never while a command runs.
    class LockingCommand {
    public:
        explicit LockingCommand(FrmPS& w);
        ~LockingCommand();
        LockingCommand(const LockingCommand&) = delete;
        LockingCommand& operator=(const LockingCommand&) = delete;

    private:
        FrmPS& w_;
    };
    void retryLockRelease();

    // list_card.cpp
    void fillCard(FrmProStru& card);
    void runCard(FrmProStru& card);
    // Reads the parent row `row` and its lines again from the database into the grids; false
    // when the structure is no longer stored.
    bool reloadParentRow(int row);
    // list_loading.cpp
    void loadCaptionWords();
    void prepareScratchPrintDatabase();
    void openLookupCaches();
    void readQuantityDecimals(Recordset* accinformation);
    void readFreeItemNames();
    void loadCodeNames();
    // list_grids.cpp
    void setUpParentColumns();
    void setUpChildColumns();
    void fillParentGrid();
    void fillChildGrid();
    void selectParentRow(int row);
    void onParentRowChanged(int row);
    void onParentPressed(int row, int col, Qt::MouseButton button);
    void onChildPressed(int row, int col, Qt::MouseButton button);
    void onChildDoubleClicked(int row, int col);
    int findParentRow(const QString& code) const;
    // splitter (frm_ps.cpp)
    void applyLayout();
    bool barEvent(QEvent* event);

    ListContext ctx_;
    RecordLocks locks_;
    int lockingCommands_ = 0;
    QTimer* lockRetry_ = nullptr;
    bool loaded_ = false;

    Grid* supPS1_ = nullptr;
    Grid* supPS2_ = nullptr;
    QWidget* picPS_ = nullptr;
    QLabel* label1_ = nullptr;
    QLabel* label2_ = nullptr;
    QToolBar* tlbPS_ = nullptr;
    QStringList imageKeys_;
    QHash<QString, QIcon> images_;

    QString helpFile_;
    int helpContext_ = 0;

    // Warehouse and department names for columns 11 and 13.
    QHash<QString, QString> warehouseNames_;
    QHash<QString, QString> departmentNames_;

    SplitterLayout layout_;
    bool dragging_ = false;
    bool customBarCursor_ = false;
};

}  // namespace qx
