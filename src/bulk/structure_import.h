#pragma once

// Structures imported from a spreadsheet: every row becomes a line of its parent's structure,
// each value resolved and checked exactly as the card resolves and checks what is typed, the
// cycles of the whole file judged in one pass over all structures, and everything written in
// one transaction or nothing at all.

#include "platform/sheet_file.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace qx {

struct ListContext;

struct ImportOptions {
    bool replace = false;  // a parent that has a structure gets the file's lines instead
    bool dryRun = false;   // check everything, write nothing
    QString computer;      // this workstation, the holder of the locks taken when replacing
    // Called as rows are checked and written; returning false cancels (nothing is written).
    std::function<bool(int done, int total)> progress;
};

// One refused row: the file's row number, the column's caption, the value, the card's message.
struct ImportRefusal {
    int fileRow = 0;
    QString caption;
    QString value;
    QString message;
};

struct ImportResult {
    enum class Outcome { Written, Checked, Refused, Cancelled, Unreadable };
    Outcome outcome = Outcome::Unreadable;
    std::vector<ImportRefusal> refusals;  // in file order
    int parents = 0;
    int lines = 0;
    QString error;  // Unreadable: why

    QStringList report() const;  // the refused rows, then one closing line
    int exitCode() const;        // 0 written or checked, 1 refused or cancelled, 2 unreadable
};

// The captions a file may carry, as the list window's grids say them: the parent's code, its
// producing department, the line columns that are typed on the card. (Names, units, rate and
// planned price are derived: a file may carry them, they are ignored.)
QStringList importTemplateCaptions(const ListContext& ctx);

// rows: the file's rows, the first being the captions. ctx: the list window's caches over the
// company database (ctx.dbase).
ImportResult importStructures(ListContext& ctx, const std::vector<SheetRow>& rows,
                              const ImportOptions& options);
ImportResult importFile(ListContext& ctx, const QString& path, const ImportOptions& options);

}  // namespace qx
