#pragma once

// The explorer windows: the multi-level explosion of a product (from the list's "展开") and
// the where-used of an item (from "反查"). Each shows the tree, read level by level as it is
// opened, and the summary tab "汇总需求"; its commands are dispatched by name like the list's.

#include "explorer/explorer_report.h"

#include <QDialog>

#include <functional>
#include <memory>

class QAction;
class QLabel;
class QLineEdit;
class QSpinBox;
class QTabWidget;
class QToolBar;
class QTreeView;

namespace qx {
class Grid;
}

namespace qx::explorer {

class ExplorerTreeModel;

class ExplorerWindow : public QDialog {
    Q_OBJECT
public:
    // `decimals`: the quantity decimals; `dataDirectory`: where print runs keep their scratch.
    ExplorerWindow(Database& db, Direction direction, int decimals, const QString& dataDirectory,
                   QWidget* parent = nullptr);
    ~ExplorerWindow() override;

    // Fills the code (and quantity) fields and reads the structure ("ButQuery").
    void open(const QString& code, double quantity = 1);

    // "ButQuery" (read again, also the refresh), "ButExpandAll", "ButCollapseAll", "ButExpandTo",
    // "Butprint", "Butpre", "Butout", "ButHelp", "ButExit".
    void dispatch(const QString& key);

    // Rows expanded at most by one expand-all (the lattice of shared sub-assemblies has more
    // paths than a window can hold).
    static constexpr int kExpandBudget = 20000;
    void expandToLevel(int level);

    // How the export file is asked for; tests put their own answer here.
    std::function<QString()> chooseExportFile;

    Direction direction() const { return direction_; }
    const Report* report() const { return report_.get(); }
    QTreeView* tree() const { return tree_; }
    ExplorerTreeModel* model() const { return model_; }
    Grid* summary() const { return summary_; }
    QTabWidget* tabs() const { return tabs_; }
    QLineEdit* codeField() const { return code_; }
    QLineEdit* quantityField() const { return quantity_; }
    QSpinBox* levelField() const { return level_; }
    QString statusText() const;
    QAction* action(const QString& key) const;
    // The rows the tree shows now (expanded nodes' children included), as print takes them.
    std::vector<QStringList> visibleRows() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void createActions();
    bool query();
    void fillSummary();
    void updateStatus();
    void printOrPreview(bool preview);
    void exportFile();

    Database& db_;
    Direction direction_;
    int decimals_;
    QString dataDirectory_;
    std::unique_ptr<Report> report_;
    ExplorerTreeModel* model_ = nullptr;
    QToolBar* toolbar_ = nullptr;
    QLineEdit* code_ = nullptr;
    QLineEdit* quantity_ = nullptr;
    QSpinBox* level_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    QTreeView* tree_ = nullptr;
    Grid* summary_ = nullptr;
    QLabel* status_ = nullptr;
};

}  // namespace qx::explorer
