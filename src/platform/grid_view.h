#pragma once

// The table view, heading and cell editor behind qx::Grid. The view owns the editing rules:
// locked cells never open, a refused value keeps its editor, a row is only left when the handler
// lets it go, and the window's own keys pass through to the window.

#include "platform/grid.h"

#include <QHeaderView>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTableView>

#include <QLineEdit>

namespace qx {

class GridModel;

class GridHeader : public QHeaderView {
    Q_OBJECT
public:
    explicit GridHeader(QWidget* parent);

signals:
    void pressed(int col, Qt::MouseButton button);

protected:
    void mousePressEvent(QMouseEvent* e) override;
};

class GridView : public QTableView {
    Q_OBJECT
public:
    GridView(GridModel* model, QWidget* parent);

    void setHandler(GridEditHandler* h) { handler_ = h; }
    GridEditHandler* handler() const { return handler_; }
    GridModel* gridModel() const { return model_; }

    bool editing() const;
    QLineEdit* editor() const { return editor_; }
    // Opens the editor on a cell unless the handler locks it; `initial` replaces the cell's text
    // in the editor when given (typing over a cell, or a refused text).
    bool openEditor(const QModelIndex& index, const QString* initial = nullptr);
    // Validates and stores the editor's text; false (editor kept, focus back in it) on refusal.
    // True when no editor was open.
    bool commitEditor();
    void cancelEditor();
    // Asks the handler before the current row is left for `target`'s row.
    bool mayMoveTo(const QModelIndex& target);
    // Moves to the next (or previous) visible cell, wrapping to the next row.
    void moveAcross(int step);
    void moveTo(const QModelIndex& target);
    // Asks the handler for the cell's reference; a refused pick opens the editor on it.
    void requestReference(const QModelIndex& index);
    // The "..." button's place in the current cell of a button column (empty when none).
    QRect buttonRect(const QModelIndex& index) const;

    // Keys that belong to the window, never to a cell.
    static bool isWindowKey(const QKeyEvent* e, bool editing);

signals:
    void pressed(int row, int col, Qt::MouseButton button);  // grid rows (1..)

protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void commitData(QWidget* editor) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;
    void keyPressEvent(QKeyEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseDoubleClickEvent(QMouseEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void closeOpenEditor();
    ReferencePick askReference(const QModelIndex& index);
    bool editorKey(QKeyEvent* e);

    GridModel* model_;
    GridEditHandler* handler_ = nullptr;
    QPointer<QLineEdit> editor_;
    QPersistentModelIndex editIndex_;
    bool validating_ = false;
    bool closing_ = false;
};

class GridDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    GridDelegate(GridView* view);
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget*, QAbstractItemModel*, const QModelIndex&) const override {}
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

    mutable QPointer<QLineEdit> lastEditor;  // the editor the view just asked for

protected:
    // The view filters its editors itself.
    bool eventFilter(QObject*, QEvent*) override { return false; }

private:
    GridView* view_;
};

}  // namespace qx
