#pragma once

// Spreadsheet files in the XLSX format, written through libxlsxwriter. The file appears whole or
// not at all: the workbook is written beside the target under a temporary name and renamed
// over it only when it was written completely.

#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace qx {

class XlsxWriter {
public:
    // The most rows a sheet holds.
    static constexpr int kMaxRows = 1048576;
    // The deepest outline level a sheet can fold.
    static constexpr int kMaxOutlineLevel = 7;

    explicit XlsxWriter(const QString& path);
    ~XlsxWriter();  // discards an uncommitted workbook
    XlsxWriter(const XlsxWriter&) = delete;
    XlsxWriter& operator=(const XlsxWriter&) = delete;

    // False when the temporary file could not be made (the directory cannot be written).
    bool isOpen() const;

    // Sheets are written row by row in ascending order (the rows are not kept in memory).
    int addSheet(const QString& name);
    void setColumnWidth(int sheet, int col, double characters);
    // The row's outline level (clamped to 0..7): the spreadsheet folds the rows of deeper levels
    // into the row above them. Call it before the row's cells.
    void setRowLevel(int sheet, int row, int level);
    void writeHeading(int sheet, int row, int col, const QString& text);
    // Always a text cell: a code such as "007" keeps its leading zeros.
    void writeText(int sheet, int row, int col, const QString& text);
    // A number cell shown with `decimals` places (a negative count: the general format).
    void writeNumber(int sheet, int row, int col, double value, int decimals);

    // Finishes the workbook and puts it in place. False, with `error` set, when anything failed
    // (nothing is left at `path` that was not there before).
    bool commit(QString* error = nullptr);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

}  // namespace qx
