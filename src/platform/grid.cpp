#include "platform/grid.h"

#include "platform/grid_model.h"
#include "platform/grid_view.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QScreen>
#include <QVBoxLayout>

#include <cmath>

namespace qx {

namespace {

constexpr int kTwipsPerInch = 1440;
constexpr int kDefaultWidthTwips = 1000;

double dpiOf(const QWidget* w)
{
    if (w) return w->logicalDpiX();
    if (const QScreen* s = QGuiApplication::primaryScreen()) return s->logicalDotsPerInchX();
    return 96.0;
}

}  // namespace

int twipsToPixels(int twips, const QWidget* w)
{
    return static_cast<int>(std::lround(twips * dpiOf(w) / kTwipsPerInch));
}

int pixelsToTwips(int pixels, const QWidget* w)
{
    return static_cast<int>(std::lround(pixels * kTwipsPerInch / dpiOf(w)));
}

struct Grid::Impl {
    GridModel* model = nullptr;
    GridView* view = nullptr;
    GridHeader* header = nullptr;
    bool flushQueued = false;
    bool settingWidth = false;
    bool quietRowSignal = false;
    int wantedCol = 0;  // the column setRow lands on while no cell is current
};

Grid::Grid(QWidget* parent) : QWidget(parent), d(std::make_unique<Impl>())
{
    d->model = new GridModel(this);
    d->model->setCols(1);
    d->view = new GridView(d->model, this);
    d->header = static_cast<GridHeader*>(d->view->horizontalHeader());
    d->header->setDefaultSectionSize(twipsToPixels(kDefaultWidthTwips, this));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(d->view);
    setFocusProxy(d->view);

    connect(d->view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& cur, const QModelIndex&) {
                if (!d->quietRowSignal) emit currentRowChanged(cur.isValid() ? cur.row() + 1 : 0);
            });
    connect(d->view, &GridView::pressed, this, &Grid::mousePressed);
    connect(d->header, &GridHeader::pressed, this,
            [this](int col, Qt::MouseButton b) { emit mousePressed(0, col, b); });
    connect(d->view, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& i) {
        emit cellDoubleClicked(i.row() + 1, i.column());
        if (!d->model->editable() || d->view->editing()) return;
        if (d->model->column(i.column()).button)
            d->view->requestReference(i);
        else
            d->view->openEditor(i);
    });
    connect(d->header, &QHeaderView::sectionResized, this, [this](int col, int, int size) {
        // A width dragged by the user is what the grid reports from then on.
        if (d->settingWidth || !d->model->validCol(col)) return;
        d->model->column(col).width = pixelsToTwips(size, this);
    });
}

Grid::~Grid() = default;

namespace {

// Appended rows reach the view in one batch once the filling code returns to the event loop,
// or sooner when anything asks the view.
void scheduleFlush(Grid* g, GridModel* m, bool& queued)
{
    if (queued) return;
    queued = true;
    QMetaObject::invokeMethod(
        g,
        [m, &queued] {
            queued = false;
            m->flush();
        },
        Qt::QueuedConnection);
}

}  // namespace

int Grid::rows() const
{
    return d->model->dataRows() + 1;
}

void Grid::setRows(int rows)
{
    if (std::max(1, rows) - 1 < d->model->dataRows()) d->view->cancelEditor();
    d->model->setDataRows(std::max(1, rows) - 1);
}

int Grid::cols() const
{
    return d->model->cols();
}

void Grid::setCols(int cols)
{
    d->model->setCols(cols);
}

QString Grid::textMatrix(int row, int col) const
{
    if (row == 0) return d->model->heading(col);
    return d->model->text(row - 1, col);
}

void Grid::setTextMatrix(int row, int col, const QString& text)
{
    if (row == 0)
        d->model->setHeading(col, text);
    else
        d->model->setText(row - 1, col, text);
}

void Grid::appendRow(std::vector<QString> cells)
{
    d->model->append(std::move(cells));
    scheduleFlush(this, d->model, d->flushQueued);
}

void Grid::addRow()
{
    appendRow({});
}

void Grid::removeRow(int row)
{
    if (row < 1 || row > d->model->dataRows()) return;
    d->view->cancelEditor();  // an editor over a vanished row would outlive its cell
    d->model->removeDataRow(row - 1);
}

void Grid::setColWidth(int col, int twips)
{
    if (!d->model->validCol(col)) return;
    d->model->column(col).width = twips;
    d->settingWidth = true;
    if (twips == 0) {
        d->view->setColumnHidden(col, true);
    } else {
        d->view->setColumnHidden(col, false);
        const int px = twips < 0 ? d->header->defaultSectionSize() : twipsToPixels(twips, this);
        d->header->resizeSection(col, px);
    }
    d->settingWidth = false;
}

int Grid::colWidth(int col) const
{
    return d->model->validCol(col) ? d->model->column(col).width : -1;
}

void Grid::setColumnDef(int col, int maxLength, bool button, ColumnKind kind, int decimals)
{
    if (!d->model->validCol(col)) return;
    GridColumn& c = d->model->column(col);
    c.maxLength = maxLength;
    c.button = button;
    c.kind = kind;
    c.decimals = decimals;
    d->view->viewport()->update();
}

int Grid::colMaxLength(int col) const
{
    return d->model->validCol(col) ? d->model->column(col).maxLength : 0;
}

bool Grid::colHasButton(int col) const
{
    return d->model->validCol(col) && d->model->column(col).button;
}

ColumnKind Grid::colKind(int col) const
{
    return d->model->validCol(col) ? d->model->column(col).kind : ColumnKind::Text;
}

int Grid::colDecimals(int col) const
{
    return d->model->validCol(col) ? d->model->column(col).decimals : 0;
}

void Grid::setColAlignment(int col, CellAlignment a)
{
    d->model->setColumnAlignment(col, a);
}

CellAlignment Grid::colAlignment(int col) const
{
    return d->model->validCol(col) ? d->model->column(col).alignment : CellAlignment::LeftCenter;
}

void Grid::setCellAlignment(int row, int col, CellAlignment a)
{
    if (row == 0)
        d->model->setHeadingAlignment(col, a);
    else
        d->model->setCellAlignment(row - 1, col, a);
}

CellAlignment Grid::cellAlignment(int row, int col) const
{
    if (row == 0) {
        if (!d->model->validCol(col)) return CellAlignment::LeftCenter;
        const GridColumn& c = d->model->column(col);
        return c.headingAlignment.value_or(c.alignment);
    }
    return d->model->cellAlignment(row - 1, col);
}

int Grid::row() const
{
    const QModelIndex cur = d->view->currentIndex();
    return cur.isValid() ? cur.row() + 1 : 0;
}

void Grid::setRow(int row)
{
    d->model->flush();
    if (row < 1 || row > d->model->dataRows()) return;
    const QModelIndex cur = d->view->currentIndex();
    const int col = cur.isValid() ? cur.column() : std::clamp(d->wantedCol, 0, cols() - 1);
    const QModelIndex target = d->model->index(row - 1, col);
    d->view->setCurrentIndex(target);
    d->view->scrollTo(target);
}

int Grid::col() const
{
    const QModelIndex cur = d->view->currentIndex();
    return cur.isValid() ? cur.column() : d->wantedCol;
}

void Grid::setCol(int col)
{
    if (!d->model->validCol(col)) return;
    d->wantedCol = col;
    const QModelIndex cur = d->view->currentIndex();
    if (!cur.isValid()) return;
    const QModelIndex target = d->model->index(cur.row(), col);
    d->view->setCurrentIndex(target);
    d->view->scrollTo(target);
}

void Grid::setRowSelection(bool on)
{
    d->view->setSelectionBehavior(on ? QAbstractItemView::SelectRows
                                     : QAbstractItemView::SelectItems);
}

void Grid::setEditable(bool on)
{
    if (!on) d->view->cancelEditor();
    d->model->setEditable(on);
    d->view->viewport()->update();
}

void Grid::setEditHandler(GridEditHandler* handler)
{
    d->view->setHandler(handler);
}

bool Grid::isEditing() const
{
    return d->view->editing();
}

void Grid::startEdit()
{
    d->model->flush();
    d->view->openEditor(d->view->currentIndex());
}

bool Grid::finishEdit()
{
    return d->view->commitEditor();
}

void Grid::cancelEdit()
{
    d->view->cancelEditor();
}

void Grid::sortByColumn(int col, SortKind kind)
{
    sortByColumns(col, col, kind);
}

void Grid::sortByColumns(int first, int last, SortKind kind)
{
    d->view->cancelEditor();
    const QModelIndex cur = d->view->currentIndex();
    const int oldRow = cur.isValid() ? cur.row() : -1;
    const int oldCol = cur.isValid() ? cur.column() : 0;
    const std::vector<int> newPos = d->model->sortByColumns(first, last, kind);
    if (oldRow < 0 || oldRow >= static_cast<int>(newPos.size())) return;
    // The current row follows its record; the window hears of it only when its place changed.
    const int newRow = newPos[static_cast<size_t>(oldRow)];
    d->quietRowSignal = true;
    const QModelIndex target = d->model->index(newRow, oldCol);
    if (d->view->currentIndex() != target) d->view->setCurrentIndex(target);
    d->view->scrollTo(target);
    d->quietRowSignal = false;
    if (newRow != oldRow) emit currentRowChanged(newRow + 1);
}

void Grid::setHeaderToolTip(const QString& text)
{
    d->model->setHeaderToolTip(text);
}

QTableView* Grid::view() const
{
    d->model->flush();
    return d->view;
}

}  // namespace qx
