#include "print/print_source.h"

#include "platform/grid.h"

#include <QDate>
#include <QTableView>

namespace qx::print {

PrintSource sourceFromGrids(const Grid& parents, int parentRow, const Grid& children,
                            const QString& title)
{
    PrintSource s;
    s.head.title = title;
    if (parentRow >= 1 && parentRow < parents.rows()) {
        // Codes are printed as the lock and the delete read them: without leading blanks.
        s.head.parentCode = parents.textMatrix(parentRow, 0).trimmed();
        s.head.parentName = parents.textMatrix(parentRow, 1);
        s.head.departmentCode = parents.textMatrix(parentRow, 2);
        s.head.specification = parents.textMatrix(parentRow, 3);
    }
    const QDate today = QDate::currentDate();
    s.head.year = today.year();
    s.head.date = today;

    std::vector<int> visible;
    for (int c = 0; c < children.cols(); ++c) {
        const int w = children.colWidth(c);
        if (w == 0) continue;
        const int twips = w > 0 ? w : pixelsToTwips(children.view()->columnWidth(c), children.view());
        if (twips <= 0) continue;
        visible.push_back(c);
        s.columns.push_back({children.textMatrix(0, c), twips,
                             children.colAlignment(c) == CellAlignment::RightCenter});
    }
    for (int r = 1; r < children.rows(); ++r) {
        QStringList cells;
        for (int c : visible) cells << children.textMatrix(r, c);
        s.lines.push_back(cells);
    }
    return s;
}

}  // namespace qx::print
