#pragma once

// The grid's table model: plain row vectors, so that tens of thousands of rows fill and sort
// without an object per cell. Model rows are the grid's data rows (grid row = model row + 1);
// the heading row lives apart and is served as the horizontal header.

#include "platform/grid.h"

#include <QAbstractTableModel>

#include <optional>
#include <vector>

namespace qx {

struct GridColumn {
    QString heading;
    int width = -1;  // twips; -1 never set
    int maxLength = 0;
    bool button = false;
    ColumnKind kind = ColumnKind::Text;
    int decimals = 0;
    CellAlignment alignment = CellAlignment::LeftCenter;
    std::optional<CellAlignment> headingAlignment;
};

struct GridRow {
    std::vector<QString> cells;
    // Empty unless a cell of the row was given its own alignment (-1 = the column's).
    std::vector<signed char> alignments;
};

class GridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit GridModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // Rows held, announced to the views or not yet.
    int dataRows() const { return static_cast<int>(rows_.size()); }
    int cols() const { return static_cast<int>(columns_.size()); }
    void setDataRows(int count);
    void setCols(int count);

    QString text(int dataRow, int col) const;
    void setText(int dataRow, int col, const QString& text);
    void setHeading(int col, const QString& text);
    QString heading(int col) const;

    // Appended rows are announced in one batch on flush(): a row at a time costs the view
    // bookkeeping per row.
    void append(std::vector<QString> cells);
    void flush();

    void removeDataRow(int dataRow);
    // Stable ascending sort on columns first..last; returns the new position of each old row
    // (old -> new). Text: case-sensitive on the texts. Generic: cells that read as numbers
    // compare as numbers and come before the others, which compare as texts.
    std::vector<int> sortByColumns(int first, int last, SortKind kind = SortKind::Text);

    GridColumn& column(int col) { return columns_[static_cast<size_t>(col)]; }
    const GridColumn& column(int col) const { return columns_[static_cast<size_t>(col)]; }
    bool validCol(int col) const { return col >= 0 && col < cols(); }

    CellAlignment cellAlignment(int dataRow, int col) const;
    void setCellAlignment(int dataRow, int col, CellAlignment a);
    void setColumnAlignment(int col, CellAlignment a);
    void setHeadingAlignment(int col, CellAlignment a);

    void setEditable(bool on) { editable_ = on; }
    bool editable() const { return editable_; }
    void setHeaderToolTip(const QString& text);

    static Qt::Alignment toQt(CellAlignment a);

private:
    std::vector<GridRow> rows_;
    std::vector<GridColumn> columns_;
    int announced_ = 0;  // rows the views know of
    bool editable_ = false;
    QString headerToolTip_;
};

}  // namespace qx
