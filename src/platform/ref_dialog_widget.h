#pragma once

// The lookup dialog behind RefDialogChooser, open to tests that drive it with keys.

#include <QDialog>
#include <QStringList>

#include <vector>

class QLineEdit;
class QSortFilterProxyModel;
class QStandardItemModel;
class QTableView;

namespace qx {

class Recordset;

class RefDialog : public QDialog {
    Q_OBJECT
public:
    RefDialog(Recordset& rs, const QString& title, const QStringList& captions, QWidget* parent);

    QLineEdit* filterEdit() const { return filter_; }
    QTableView* table() const { return table_; }
    int shownRows() const;
    // The recordset row of the current list row (-1 when none).
    int currentSourceRow() const;
    // The recordset row the user picked (-1 until accepted).
    int picked() const { return picked_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void pick();
    void filterChanged(const QString& text);

    QLineEdit* filter_;
    QTableView* table_;
    QStandardItemModel* model_;
    QSortFilterProxyModel* proxy_;
    int picked_ = -1;
};

}  // namespace qx
