#pragma once

#include "print/page_painter.h"

#include <QString>

namespace qx::print {

// The page as a table for spreadsheets: UTF-8 with a byte-order mark (so that spreadsheet
// programs read the Chinese texts right), the texts of the page head one to a row, an empty
// row, the column captions and the lines. Fields holding a comma, a quote or a line break are
// quoted, quotes doubled. False, with `error` set, when the file cannot be written.
bool writeCsv(const QString& path, const PrintJob& job, QString* error = nullptr);

// One CSV record of the given fields, ending in CR LF.
QByteArray csvRecord(const QStringList& fields);

}  // namespace qx::print
