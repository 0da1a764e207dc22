#pragma once

// Workbooks written with libxlsxwriter: the import template (one row of captions) and, for
// tests and exchange, a sheet of plain text rows.

#include <QString>
#include <QStringList>

#include <vector>

namespace qx {

struct WorkbookOptions {
    QString sheetName;
    // Strings inline in the cells instead of the shared-strings part (libxlsxwriter's
    // constant-memory mode), as some programs write them.
    bool inlineStrings = false;
    // Cells that read as a plain number are written as numbers.
    bool numbersAsNumbers = false;
};

// Writes `rows` (the first one bold, as captions) to a new workbook at `path`. False with
// `error` set when the file cannot be written.
bool writeWorkbook(const QString& path, const std::vector<QStringList>& rows,
                   const WorkbookOptions& options, QString* error = nullptr);

}  // namespace qx
