#pragma once

#include "print/layout_table.h"

#include <QString>
#include <QStringList>

#include <vector>

class QPagedPaintDevice;

namespace qx::print {

// A grid column that takes part in the print: caption, width in twips, numbers to the right.
struct PrintColumn {
    QString caption;
    int widthTwips = 0;
    bool alignRight = false;
};

// Everything one page (or run of pages) shows: the layout rows as read back from the layout
// table, the visible columns and the cells of the lines in those columns.
struct PrintJob {
    std::vector<LayoutRow> layout;
    std::vector<PrintColumn> columns;
    std::vector<QStringList> lines;
};

// The one paint routine of print, preview and PDF output. Draws the layout (frames, texts at
// their twip positions in their fonts, "B" bold and "U" underlined, alignment 1 to the right of
// its box) and below the page head the lines in the visible columns, starting a new page with
// the head repeated when the lines do not fit. Returns the number of pages, 0 when the device
// cannot be painted on.
int paintPages(QPagedPaintDevice& device, const PrintJob& job);

}  // namespace qx::print
