#pragma once

// Reading a spreadsheet that the operator saved: the first sheet of an XLSX workbook (libzip
// and QXmlStreamReader; shared and inline strings) or a CSV text (comma or tab separated,
// quoted fields, UTF-8 with or without a byte-order mark, or GB18030/GBK as Chinese desktops
// save it). The encoding and the separator are detected, never asked.

#include <QString>
#include <QStringList>

#include <vector>

namespace qx {

struct SheetRow {
    int fileRow = 0;    // 1-based, as the spreadsheet numbers it
    QStringList cells;  // by column from A; missing cells are empty texts
};

struct SheetFile {
    std::vector<SheetRow> rows;  // rows with at least one cell, in file order
    QString error;               // why the file could not be read (rows then empty)
    bool ok() const { return error.isEmpty(); }
};

// Larger files are refused whole rather than read into memory.
constexpr qint64 kSheetFileLimitBytes = 64LL * 1024 * 1024;

SheetFile readSheetFile(const QString& path);

// The text of a CSV file in the encoding it was saved in; false when it is neither UTF-8 nor
// GB18030.
bool decodeSheetText(const QByteArray& bytes, QString& text);
// Splits CSV text into rows (comma or tab, whichever the first line uses outside quotes).
std::vector<SheetRow> parseCsv(const QString& text);

}  // namespace qx
