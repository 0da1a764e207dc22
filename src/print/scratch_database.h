#pragma once

#include <QString>

#include <memory>

namespace qx {
class Database;
}

namespace qx::print {

// The scratch print database: a SQLite file "qxinit.mdb" in the data directory. It holds only
// the layout tables of print runs; nothing in it outlives one visit of the list window.
QString scratchDatabasePath(const QString& dir);

// Deletes the scratch database in `dir` (with its journal files) and creates an empty one.
// The list window calls it at every loading. False, with `error` naming what failed, when the
// directory cannot be written; the list goes on loading either way.
bool prepareScratchDatabase(const QString& dir, QString* error = nullptr);

// Opens the scratch database of `dir` for one print run, creating it when a failed loading left
// none. Throws DbError naming the file when it cannot be opened for writing.
std::unique_ptr<Database> openScratchDatabase(const QString& dir);

}  // namespace qx::print
