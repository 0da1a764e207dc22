#pragma once

// The floor of the list window's opening: the statements Init and the list's loading run, read
// to the last column of the last row through the database's own C API (sqlite3, libpq), with no
// Qt on the way. bench/raw_read (a plain process) and bench_list (in process) share it.

namespace qx::bench {

// The statements, in the order the opening runs them; the list ends with a null pointer.
extern const char* const kRawStatements[];
// Where Init's three statements (parent, child, joined) stand in kRawStatements.
constexpr int kRawParentStatement = 1;

// The statements whose sets the list fetches on first use (Init's joined set, the items, the
// parents by table, the lines by table, the second inventory): it prepares them at opening but
// reads no row of them.
bool fetchedOnFirstUse(int statement);

// Reads every statement on `connection` ("sqlite:FILE", a plain path, or "postgresql://...");
// with `openingOnly`, only those the opening reads rows of. Returns the rows read, -1 when the
// database cannot be opened (the reason on stderr); the milliseconds taken go to *ms. A SQLite
// connection gets a page cache of `sqliteCacheKiB` (0: the library's default).
long long readRawStatements(const char* connection, double* ms, bool openingOnly = false, int sqliteCacheKiB = 0);

}  // namespace qx::bench
