#include "platform/grid_model.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qx {

GridModel::GridModel(QObject* parent) : QAbstractTableModel(parent) {}

int GridModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : announced_;
}

int GridModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : cols();
}

Qt::Alignment GridModel::toQt(CellAlignment a)
{
    switch (a) {
        case CellAlignment::LeftTop:
            return Qt::AlignLeft | Qt::AlignTop;
        case CellAlignment::LeftCenter:
            return Qt::AlignLeft | Qt::AlignVCenter;
        case CellAlignment::CenterCenter:
            return Qt::AlignCenter;
        case CellAlignment::RightCenter:
            return Qt::AlignRight | Qt::AlignVCenter;
    }
    return Qt::AlignLeft | Qt::AlignVCenter;
}

QVariant GridModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= dataRows() || !validCol(index.column())) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return text(index.row(), index.column());
        case Qt::TextAlignmentRole:
            return QVariant::fromValue(toQt(cellAlignment(index.row(), index.column())));
        case Qt::ToolTipRole:
            return QString();  // the sort hint belongs to the heading only
        default:
            return {};
    }
}

QVariant GridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || !validCol(section)) {
        if (orientation == Qt::Vertical && role == Qt::DisplayRole) return section + 1;
        return {};
    }
    const GridColumn& c = column(section);
    switch (role) {
        case Qt::DisplayRole:
            return c.heading;
        case Qt::TextAlignmentRole:
            return QVariant::fromValue(toQt(c.headingAlignment.value_or(c.alignment)));
        case Qt::ToolTipRole:
            return headerToolTip_;
        default:
            return {};
    }
}

Qt::ItemFlags GridModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (editable_) f |= Qt::ItemIsEditable;
    return f;
}

void GridModel::flush()
{
    if (announced_ >= dataRows()) return;
    // The rows are already in place; the views only need to hear of them.
    const int first = announced_;
    const int last = dataRows() - 1;
    beginInsertRows({}, first, last);
    announced_ = dataRows();
    endInsertRows();
}

void GridModel::setDataRows(int count)
{
    flush();
    count = std::max(0, count);
    if (count == dataRows()) return;
    if (count < dataRows()) {
        beginRemoveRows({}, count, dataRows() - 1);
        rows_.resize(static_cast<size_t>(count));
        announced_ = count;
        endRemoveRows();
        return;
    }
    beginInsertRows({}, dataRows(), count - 1);
    rows_.resize(static_cast<size_t>(count));
    announced_ = count;
    endInsertRows();
}

void GridModel::setCols(int count)
{
    flush();
    count = std::max(0, count);
    if (count == cols()) return;
    if (count < cols()) {
        beginRemoveColumns({}, count, cols() - 1);
        columns_.resize(static_cast<size_t>(count));
        for (GridRow& r : rows_) {
            if (r.cells.size() > static_cast<size_t>(count))
                r.cells.resize(static_cast<size_t>(count));
            if (r.alignments.size() > static_cast<size_t>(count))
                r.alignments.resize(static_cast<size_t>(count));
        }
        endRemoveColumns();
        return;
    }
    beginInsertColumns({}, cols(), count - 1);
    columns_.resize(static_cast<size_t>(count));
    endInsertColumns();
}

QString GridModel::text(int dataRow, int col) const
{
    if (dataRow < 0 || dataRow >= dataRows() || !validCol(col)) return {};
    const GridRow& r = rows_[static_cast<size_t>(dataRow)];
    return static_cast<size_t>(col) < r.cells.size() ? r.cells[static_cast<size_t>(col)]
                                                     : QString();
}

void GridModel::setText(int dataRow, int col, const QString& text)
{
    if (dataRow < 0 || dataRow >= dataRows() || !validCol(col)) return;
    GridRow& r = rows_[static_cast<size_t>(dataRow)];
    if (r.cells.size() <= static_cast<size_t>(col)) r.cells.resize(static_cast<size_t>(cols()));
    r.cells[static_cast<size_t>(col)] = text;
    if (dataRow < announced_) {
        const QModelIndex i = index(dataRow, col);
        emit dataChanged(i, i, {Qt::DisplayRole, Qt::EditRole});
    }
}

void GridModel::setHeading(int col, const QString& text)
{
    if (!validCol(col)) return;
    column(col).heading = text;
    emit headerDataChanged(Qt::Horizontal, col, col);
}

QString GridModel::heading(int col) const
{
    return validCol(col) ? column(col).heading : QString();
}

void GridModel::append(std::vector<QString> cells)
{
    if (cells.size() > static_cast<size_t>(cols())) cells.resize(static_cast<size_t>(cols()));
    rows_.push_back(GridRow{std::move(cells), {}});
}

void GridModel::removeDataRow(int dataRow)
{
    flush();
    if (dataRow < 0 || dataRow >= dataRows()) return;
    beginRemoveRows({}, dataRow, dataRow);
    rows_.erase(rows_.begin() + dataRow);
    announced_ = dataRows();
    endRemoveRows();
}

namespace {

// A cell as the generic sort sees it: a number when the whole text reads as one.
struct SortKey {
    bool isNumber = false;
    double number = 0;
    const QString* text = nullptr;
};

int compareKeys(const SortKey& a, const SortKey& b)
{
    if (a.isNumber != b.isNumber) return a.isNumber ? -1 : 1;
    if (a.isNumber && a.number != b.number) return a.number < b.number ? -1 : 1;
    return QString::compare(*a.text, *b.text, Qt::CaseSensitive);
}

}  // namespace

std::vector<int> GridModel::sortByColumns(int first, int last, SortKind kind)
{
    flush();
    const int n = dataRows();
    std::vector<int> order(static_cast<size_t>(n));
    std::iota(order.begin(), order.end(), 0);
    first = std::max(0, first);
    last = std::min(cols() - 1, last);
    if (n > 1 && first <= last) {
        static const QString empty;
        const int width = last - first + 1;
        // The keys are read once, not at every comparison.
        std::vector<SortKey> keys(static_cast<size_t>(n) * static_cast<size_t>(width));
        for (int row = 0; row < n; ++row) {
            const GridRow& r = rows_[static_cast<size_t>(row)];
            for (int c = first; c <= last; ++c) {
                SortKey& k = keys[static_cast<size_t>(row) * width + (c - first)];
                k.text = static_cast<size_t>(c) < r.cells.size() ? &r.cells[static_cast<size_t>(c)]
                                                                 : &empty;
                if (kind == SortKind::Generic) {
                    bool ok = false;
                    k.number = k.text->trimmed().toDouble(&ok);
                    k.isNumber = ok && std::isfinite(k.number);
                }
            }
        }
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
            const SortKey* ka = &keys[static_cast<size_t>(a) * width];
            const SortKey* kb = &keys[static_cast<size_t>(b) * width];
            for (int c = 0; c < width; ++c) {
                const int cmp = compareKeys(ka[c], kb[c]);
                if (cmp != 0) return cmp < 0;
            }
            return false;
        });
    }
    std::vector<int> newPos(static_cast<size_t>(n));
    std::vector<GridRow> sorted;
    sorted.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        newPos[static_cast<size_t>(order[static_cast<size_t>(i)])] = i;
        sorted.push_back(std::move(rows_[static_cast<size_t>(order[static_cast<size_t>(i)])]));
    }
    // A layout change, not a reset: the heading keeps its widths and hidden columns, and the
    // current cell follows its row.
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    rows_ = std::move(sorted);
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex& i : from) to << index(newPos[static_cast<size_t>(i.row())], i.column());
    changePersistentIndexList(from, to);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    return newPos;
}

CellAlignment GridModel::cellAlignment(int dataRow, int col) const
{
    if (!validCol(col)) return CellAlignment::LeftCenter;
    if (dataRow >= 0 && dataRow < dataRows()) {
        const GridRow& r = rows_[static_cast<size_t>(dataRow)];
        if (static_cast<size_t>(col) < r.alignments.size() &&
            r.alignments[static_cast<size_t>(col)] >= 0)
            return static_cast<CellAlignment>(r.alignments[static_cast<size_t>(col)]);
    }
    return column(col).alignment;
}

void GridModel::setCellAlignment(int dataRow, int col, CellAlignment a)
{
    if (dataRow < 0 || dataRow >= dataRows() || !validCol(col)) return;
    GridRow& r = rows_[static_cast<size_t>(dataRow)];
    if (r.alignments.size() <= static_cast<size_t>(col))
        r.alignments.resize(static_cast<size_t>(cols()), -1);
    r.alignments[static_cast<size_t>(col)] = static_cast<signed char>(a);
    if (dataRow < announced_) {
        const QModelIndex i = index(dataRow, col);
        emit dataChanged(i, i, {Qt::TextAlignmentRole});
    }
}

void GridModel::setColumnAlignment(int col, CellAlignment a)
{
    if (!validCol(col)) return;
    column(col).alignment = a;
    if (announced_ > 0)
        emit dataChanged(index(0, col), index(announced_ - 1, col), {Qt::TextAlignmentRole});
    emit headerDataChanged(Qt::Horizontal, col, col);
}

void GridModel::setHeadingAlignment(int col, CellAlignment a)
{
    if (!validCol(col)) return;
    column(col).headingAlignment = a;
    emit headerDataChanged(Qt::Horizontal, col, col);
}

void GridModel::setHeaderToolTip(const QString& text)
{
    headerToolTip_ = text;
    if (cols() > 0) emit headerDataChanged(Qt::Horizontal, 0, cols() - 1);
}

}  // namespace qx
