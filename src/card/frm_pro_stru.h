#pragma once

// FrmProStru: the card on which one product structure is defined: the parent product and its
// producing department in the header, the child lines in the grid SupPS.

#include "card/card_lookup_lists.h"
#include "card/card_lookups.h"
#include "platform/grid.h"
#include "shared/line_grid.h"

#include <QDialog>
#include <QString>
#include <QStringList>

#include <memory>

class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QToolBar;
class QToolButton;

namespace qx {

class ClsRef;
class Recordset;
class RecordLocks;
struct ListContext;

// The card's grid as the line rules see it.
class GridLines : public LineGrid {
public:
    explicit GridLines(Grid& grid) : grid_(grid) {}
    int rows() const override { return grid_.rows(); }
    QString cell(int row, int col) const override { return grid_.textMatrix(row, col); }
    void setCell(int row, int col, const QString& text) override
    {
        grid_.setTextMatrix(row, col, text);
    }
    int currentRow() const override { return grid_.row(); }

private:
    Grid& grid_;
};

class FrmProStru : public QDialog, private GridEditHandler {
    Q_OBJECT
public:
    // Loads the card over the list's context (database, terms, free items, decimals, caches).
    // One card serves one showing: the list makes a new one each time it opens the card.
    explicit FrmProStru(ListContext& ctx, QWidget* parent = nullptr);
    ~FrmProStru() override;

    // True while a new structure is entered (set by the list before showing, and by ButAdd).
    bool adding = true;

    // The header rows (ProductStructure) and line rows (ProductStructures) of the list. Without
    // them the card opens its own over the two tables.
    void setRecordsets(Recordset* parentRows, Recordset* childRows);
    // The list's record locks: the lock of the structure being edited, confirmed by each save
    // and taken for a new structure once it is saved. Without them the card keeps its own.
    void setRecordLocks(RecordLocks* locks) { locks_ = locks; }

    // For the card-filling routine: the header, the availability of the parent code (and Com1),
    // and the lines, cells 0..15 as text.
    void setHeader(const QString& parentCode, const QString& parentName, const QString& department,
                   const QString& spec);
    void setParentCodeAvailable(bool on);
    // No line at all (the card-filling routine then appends the structure's lines).
    void clearLines();
    // Appends a line; the untouched empty line of a new card gives way to the first one.
    void appendLine(const QStringList& cells);

    // false: viewing only (no save, no add, no line commands, nothing can be typed).
    void setEditable(bool on);
    bool editable() const { return editable_; }

    // The one dispatcher of the toolbar, the keys and the grid's menu.
    void dispatch(const QString& command);

    // The results of the last header checks made with Tab or Enter, and the validating flag.
    bool parentAccepted() const { return parentAccepted_; }
    bool departmentAccepted() const { return departmentAccepted_; }
    bool validating() const { return validating_; }

    // The header checks (each shows its own refusal).
    bool checkParent();
    bool checkDepartment();
    // The lookups of the header's buttons.
    void lookUpParent();      // Com1
    void lookUpDepartment();  // Com2

    // Widgets, by the names the card gives them.
    QLineEdit* EdtcPSPCode() const { return edtParent_; }
    QLineEdit* EdtcDepCode() const { return edtDep_; }
    QLineEdit* Edtname1() const { return edtName1_; }
    QLineEdit* Edtname2() const { return edtName2_; }
    QToolButton* Com1() const { return com1_; }
    QToolButton* Com2() const { return com2_; }
    QLabel* LblcPSPCode() const { return lblParent_; }
    QLabel* LblcDepCode() const { return lblDep_; }
    Grid* SupPS() const { return grid_; }
    QMenu* MenuSup() const { return menuSup_; }
    QAction* action(const QString& command) const;
    LineGrid& lines() { return *lines_; }

    // What the line rules look up in (the card's recordsets and the list's caches).
    CardLookups lookups() const;
    Recordset* inventoryRecords() const { return lists_.inventory.get(); }
    Recordset* departmentRecords() const { return lists_.department.get(); }
    Recordset* warehouseRecords() const { return lists_.warehouse.get(); }

signals:
    // A structure was written; the list brings its grids up to date.
    void structureSaved(const QString& parentCode);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // GridEditHandler
    bool cellLocked(int row, int col) override;
    bool validateEdit(int row, int col, QString& text) override;
    bool rowLeaving(int row) override;
    ReferencePick referenceRequested(int row, int col) override;

    void createActions();
    void buildHeader();
    void setUpGrid();
    void openRecordsets();
    void attachReferenceHandlers();
    bool handleKey(QObject* watched, QKeyEvent* key);
    void childPicked(const QString& code);
    // Tab from the department: into the child-code cell of the current (or first) line.
    void enterLines();
    void showHelp();

    // Commands
    void save();
    void addMore();
    void addLine();
    void deleteLine();

    void inform(const QString& text) const;
    RecordLocks& recordLocks();

    ListContext& ctx_;
    CardLookupLists lists_;  // the card's items, departments and warehouses
    std::unique_ptr<Recordset> departmentRef_;  // the department lookup's four columns
    std::unique_ptr<Recordset> ownParentRows_;
    std::unique_ptr<Recordset> ownChildRows_;
    Recordset* parentRows_ = nullptr;
    Recordset* childRows_ = nullptr;
    std::unique_ptr<ClsRef> ref_;
    RecordLocks* locks_ = nullptr;
    std::unique_ptr<RecordLocks> ownLocks_;

    bool parentAccepted_ = true;
    bool departmentAccepted_ = true;
    bool validating_ = true;
    bool editable_ = true;
    bool movingToDepartment_ = false;
    ReferencePick childPick_;  // what became of the last child-code pick

    QToolBar* tlbPS_ = nullptr;
    QLineEdit* edtParent_ = nullptr;
    QLineEdit* edtDep_ = nullptr;
    QLineEdit* edtName1_ = nullptr;
    QLineEdit* edtName2_ = nullptr;
    QToolButton* com1_ = nullptr;
    QToolButton* com2_ = nullptr;
    QLabel* lblParent_ = nullptr;
    QLabel* lblDep_ = nullptr;
    QLabel* lblName1_ = nullptr;
    QLabel* lblName2_ = nullptr;
    Grid* grid_ = nullptr;
    std::unique_ptr<GridLines> lines_;
    QMenu* menuSup_ = nullptr;
    QAction* menuAdd_ = nullptr;
    QAction* menuDelete_ = nullptr;
    QList<QAction*> actions_;
};

}  // namespace qx
