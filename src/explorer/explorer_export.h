#pragma once

// An explosion or where-used written to a spreadsheet file: XLSX with two sheets (the tree,
// grouped by level with the sheet's outline, and the summary), or CSV in UTF-8 with a byte-order
// mark. A tree that would not fit one sheet is left out and only the summary is written; a file
// is written whole or not at all.

#include "explorer/explorer_report.h"

namespace qx::explorer {

// Tree rows a sheet can hold below its heading row.
long long maxTreeRows();

struct ExportOutcome {
    bool written = false;
    bool treeOmitted = false;  // the tree had more rows than a sheet holds
    QString error;             // why nothing was written
};

ExportOutcome writeXlsx(const QString& path, const Report& report);
// The tree, an empty row and the summary under its title; with summaryOnly the summary alone.
ExportOutcome writeCsv(const QString& path, const Report& report, bool summaryOnly = false);

// The indented tree as tab-separated lines (captions first). Empty when it has more rows than
// `limit`.
std::optional<QByteArray> treeTsv(const Report& report, long long limit);

}  // namespace qx::explorer
