#pragma once

// The two dialects the adapter knows; only database.cpp picks one. The SQLite connection's page
// cache is told here too, so that the benchmarks can read with the same cache and a change of it
// rebuilds only what uses it.

#include "platform/sql_dialect.h"

#include <memory>

namespace qx {

// The page cache of a SQLite connection: a large reading that joins the lines to their items
// finds the item pages again instead of reading them from the file for every line. A recordset's
// fetch gives the pages back when it is done.
constexpr int kSqlitePageCacheKiB = 8192;

std::unique_ptr<SqlDialect> makeSqliteDialect();
std::unique_ptr<SqlDialect> makePostgresDialect();

// True when the statement inserts rows: a foreign-key failure then means the referenced row is
// gone, not that the row is still referred to.
bool isInsertStatement(const QString& statement);

}  // namespace qx
