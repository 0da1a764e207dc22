#pragma once

#include <QDialog>

#include <vector>

class QCheckBox;

namespace qx {

class Grid;

// Which child-grid columns are shown, for this session only: a hidden column gets width 0 (so
// that it is neither shown nor printed) and a shown one gets back the width it had before it was
// hidden, or its usual width when it was hidden from the start.
std::vector<bool> columnVisibility(const Grid& grid);
void applyColumnVisibility(Grid& grid, const std::vector<bool>& visible);

// "设置子表栏目": one check box per child-grid column, captioned with its heading. OK applies the
// choice to the grid, Cancel changes nothing.
class ColumnSettingsDialog : public QDialog {
    Q_OBJECT
public:
    ColumnSettingsDialog(Grid& grid, QWidget* parent = nullptr);

    int columnCount() const { return static_cast<int>(boxes_.size()); }
    QCheckBox* checkBox(int col) const { return boxes_.at(col); }
    std::vector<bool> chosen() const;

    void accept() override;

private:
    Grid& grid_;
    std::vector<QCheckBox*> boxes_;
};

}  // namespace qx
