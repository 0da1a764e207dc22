// Grid speed: filling 20,000 parent rows, refilling 100 child lines, sorting 20,000 rows (as the
// fill does, and numeric codes as a heading click does), each against a table view over one item
// object per cell filled the same way in the same run.
// Run: QT_QPA_PLATFORM=offscreen bench_grid

#include "platform/grid.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QStandardItemModel>
#include <QTableView>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace qx;

namespace {

constexpr int kParents = 20000;
constexpr int kLines = 100;

QString code(int i)
{
    // Scrambled so that the sort has work to do.
    return QStringLiteral("P%1").arg((i * 7919) % kParents, 6, 10, QLatin1Char('0'));
}

// Best of a few runs, in milliseconds.
double timeIt(const std::function<void()>& setup, const std::function<void()>& work, int runs = 5,
              bool paint = true)
{
    double best = 1e12;
    for (int r = 0; r < runs; ++r) {
        setup();
        QElapsedTimer t;
        t.start();
        work();
        if (paint) QCoreApplication::processEvents();  // the view takes in the rows and paints
        best = std::min(best, t.nsecsElapsed() / 1e6);
    }
    return best;
}

void report(const char* what, double ms, double baseline)
{
    std::printf("%-34s %9.2f ms   per-cell items %9.2f ms   ratio %.3f\n", what, ms, baseline,
                baseline > 0 ? ms / baseline : 0.0);
}

}  // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    Grid grid;
    grid.setCols(4);
    grid.resize(600, 400);
    grid.show();
    QStandardItemModel items(0, 4);
    QTableView itemView;
    itemView.setModel(&items);
    itemView.resize(600, 400);
    itemView.show();
    QCoreApplication::processEvents();

    const double fill =
        timeIt([&] { grid.setRows(1); },
               [&] {
                   for (int i = 0; i < kParents; ++i)
                       grid.appendRow({code(i), QStringLiteral("名称"), QStringLiteral("D1"), {}});
                   grid.setRow(1);
               });
    const double fillItems =
        timeIt([&] { items.setRowCount(0); },
               [&] {
                   for (int i = 0; i < kParents; ++i)
                       items.appendRow(
                           {new QStandardItem(code(i)), new QStandardItem(QStringLiteral("名称")),
                            new QStandardItem(QStringLiteral("D1")), new QStandardItem()});
                   itemView.setCurrentIndex(items.index(0, 0));
               });
    report("fill 20,000 parent rows", fill, fillItems);

    const double sort = timeIt(
        [&] {
            grid.setRows(1);
            for (int i = 0; i < kParents; ++i) grid.appendRow({code(i), {}, {}, {}});
            QCoreApplication::processEvents();
        },
        [&] { grid.sortByColumns(0, 3); });
    const double sortItems = timeIt(
        [&] {
            items.setRowCount(0);
            for (int i = 0; i < kParents; ++i)
                items.appendRow({new QStandardItem(code(i)), new QStandardItem(),
                                 new QStandardItem(), new QStandardItem()});
            QCoreApplication::processEvents();
        },
        [&] { items.sort(0); });
    report("sort 20,000 rows", sort, sortItems);
    // A heading click on numeric codes: each cell read as a number, numbers compared as numbers.
    const double headingSort = timeIt(
        [&] {
            grid.setRows(1);
            for (int i = 0; i < kParents; ++i)
                grid.appendRow({QString::number((i * 7919) % kParents), {}, {}, {}});
            QCoreApplication::processEvents();
        },
        [&] { grid.sortByColumn(0, SortKind::Generic); });
    report("heading sort 20,000 rows", headingSort, sortItems);

    Grid child;
    child.setCols(16);
    child.resize(800, 400);
    child.show();
    QStandardItemModel childItems(0, 16);
    QTableView childView;
    childView.setModel(&childItems);
    childView.resize(800, 400);
    childView.show();
    QCoreApplication::processEvents();
    const double refill = timeIt([] {},
                                 [&] {
                                     child.setRows(1);
                                     for (int i = 0; i < kLines; ++i) {
                                         std::vector<QString> cells(16, QStringLiteral("1.00"));
                                         cells[0] = code(i);
                                         child.appendRow(std::move(cells));
                                     }
                                 },
                                 20);
    const double refillItems =
        timeIt([] {},
               [&] {
                   childItems.setRowCount(0);
                   for (int i = 0; i < kLines; ++i) {
                       QList<QStandardItem*> row;
                       for (int c = 0; c < 16; ++c)
                           row << new QStandardItem(c == 0 ? code(i) : QStringLiteral("1.00"));
                       childItems.appendRow(row);
                   }
               },
               20);
    report("refill 100 child lines", refill, refillItems);
    const double refillCalls =
        timeIt([] { QCoreApplication::processEvents(); },
               [&] {
                   child.setRows(1);
                   for (int i = 0; i < kLines; ++i) {
                       std::vector<QString> cells(16, QStringLiteral("1.00"));
                       cells[0] = code(i);
                       child.appendRow(std::move(cells));
                   }
                   child.setRow(1);  // the rows reach the view here
               },
               20, false);
    const double refillItemCalls =
        timeIt([] { QCoreApplication::processEvents(); },
               [&] {
                   childItems.setRowCount(0);
                   for (int i = 0; i < kLines; ++i) {
                       QList<QStandardItem*> row;
                       for (int c = 0; c < 16; ++c)
                           row << new QStandardItem(c == 0 ? code(i) : QStringLiteral("1.00"));
                       childItems.appendRow(row);
                   }
                   childView.setCurrentIndex(childItems.index(0, 0));
               },
               20, false);
    report("refill 100 child lines, no paint", refillCalls, refillItemCalls);
    return 0;
}
