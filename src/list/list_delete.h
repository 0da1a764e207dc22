#pragma once

#include <QString>

namespace qx {

class Database;
class Recordset;

// Is the structure of parent `code` in use elsewhere? Decided by a trial deletion of its lines
// and header that is always rolled back: the database's own foreign keys refuse it exactly when
// other data still refer to the structure. Any error of the trial counts as "in use". On return
// rs (the parent table recordset) has been read again and stands on the code.
bool BeUsed(const QString& code, Recordset& rs, Database& db);

}  // namespace qx
