#pragma once

#include "print/layout_table.h"
#include "print/page_painter.h"

#include <QString>

namespace qx {
class Grid;
}

namespace qx::print {

// What the list hands to a print run: the head values of the selected structure, the visible
// columns of the child grid and its lines in those columns.
struct PrintSource {
    PrintHead head;
    std::vector<PrintColumn> columns;
    std::vector<QStringList> lines;
};

// Reads the source from the list's grids: the head from row `parentRow` of the parent grid
// (code, name, department, specification in columns 0 to 3), the year and date of today, the
// lines from every data row of the child grid. A column takes part when its width is not 0;
// a column at the grid's default width is printed at the width it has on the screen.
PrintSource sourceFromGrids(const Grid& parents, int parentRow, const Grid& children,
                            const QString& title);

}  // namespace qx::print
