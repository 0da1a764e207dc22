#include "explorer/explorer_export.h"

#include "texts/texts.h"
#include "platform/xlsx_writer.h"
#include "print/csv_output.h"

#include <QSaveFile>

namespace qx::explorer {

namespace {

// Column widths of the sheets, in characters.
constexpr double kCodeWidth = 16;
constexpr double kNameWidth = 24;
constexpr double kNumberWidth = 12;

void writeCells(XlsxWriter& x, int sheet, int row, const CellRow& cells)
{
    for (size_t c = 0; c < cells.size(); ++c) {
        const Cell& cell = cells[c];
        if (cell.number)
            x.writeNumber(sheet, row, int(c), *cell.number, cell.decimals);
        else
            x.writeText(sheet, row, int(c), cell.text);
    }
}

void writeHeadings(XlsxWriter& x, int sheet, const QStringList& captions)
{
    for (int c = 0; c < captions.size(); ++c) {
        x.writeHeading(sheet, 0, c, captions[c]);
        x.setColumnWidth(sheet, c, c == TreeCode ? kCodeWidth : c == TreeName ? kNameWidth : kNumberWidth);
    }
}

QStringList texts(const CellRow& row)
{
    QStringList out;
    for (const Cell& c : row) out << c.text;
    return out;
}

bool fits(const Report& report) { return countTreeRows(report.graph(), maxTreeRows()) <= maxTreeRows(); }

}  // namespace

long long maxTreeRows() { return XlsxWriter::kMaxRows - 1; }

ExportOutcome writeXlsx(const QString& path, const Report& report)
{
    ExportOutcome out;
    // Counted before anything is written: a tree too large is left out whole, never cut.
    out.treeOmitted = !fits(report);
    XlsxWriter x(path);
    if (!x.isOpen()) {
        out.error = text::outputUnwritable(path);
        return out;
    }
    if (!out.treeOmitted) {
        const int sheet = x.addSheet(report.treeSheetName());
        writeHeadings(x, sheet, report.treeCaptions());
        int row = 1;
        forEachTreeRow(report.graph(), report.topQuantity(), [&](const TreeRow& r) {
            // Level 1 stays unfolded; each deeper level folds into the row above it.
            x.setRowLevel(sheet, row, r.level - 1);
            writeCells(x, sheet, row, report.treeCells(r));
            ++row;
            return true;
        });
    }
    const int summary = x.addSheet(text::kSummarySheet);
    const QStringList captions = report.summaryCaptions();
    for (int c = 0; c < captions.size(); ++c) {
        x.writeHeading(summary, 0, c, captions[c]);
        x.setColumnWidth(summary, c, c == 0 || c == 2 ? kNameWidth : kNumberWidth);
    }
    int row = 1;
    for (const CellRow& r : report.summaryRows()) writeCells(x, summary, row++, r);
    QString why;
    if (!x.commit(&why)) {
        out.error = text::outputUnwritable(path);
        return out;
    }
    out.written = true;
    return out;
}

ExportOutcome writeCsv(const QString& path, const Report& report, bool summaryOnly)
{
    ExportOutcome out;
    QByteArray bytes("\xEF\xBB\xBF");
    if (!summaryOnly) {
        out.treeOmitted = !fits(report);
        if (!out.treeOmitted) {
            bytes += print::csvRecord(report.treeCaptions());
            forEachTreeRow(report.graph(), report.topQuantity(), [&](const TreeRow& r) {
                bytes += print::csvRecord(texts(report.treeCells(r)));
                return true;
            });
            bytes += "\r\n";
        }
        bytes += print::csvRecord({text::kSummarySheet});
    }
    bytes += print::csvRecord(report.summaryCaptions());
    for (const CellRow& r : report.summaryRows()) bytes += print::csvRecord(texts(r));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        out.error = text::outputUnwritable(path);
        return out;
    }
    out.written = true;
    return out;
}

std::optional<QByteArray> treeTsv(const Report& report, long long limit)
{
    if (countTreeRows(report.graph(), limit) > limit) return std::nullopt;
    QByteArray out = tsvLines(report.treeCaptions(), {});
    forEachTreeRow(report.graph(), report.topQuantity(), [&](const TreeRow& r) {
        out += tsvLine(report.treeCells(r));
        return true;
    });
    return out;
}

}  // namespace qx::explorer
