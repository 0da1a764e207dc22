#pragma once

// The two dialects the adapter knows; only database.cpp picks one.

#include "platform/sql_dialect.h"

#include <memory>

namespace qx {

std::unique_ptr<SqlDialect> makeSqliteDialect();
std::unique_ptr<SqlDialect> makePostgresDialect();

// True when the statement inserts rows: a foreign-key failure then means the referenced row is
// gone, not that the row is still referred to.
bool isInsertStatement(const QString& statement);

}  // namespace qx
