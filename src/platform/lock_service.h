#pragma once

#include <QString>
#include <QStringList>

namespace qx {

class Database;

// Record locks shared by every workstation on one company database: a lock table in the
// company database (category + key unique; holder computer, process id, time). One holder per
// key; a lock whose process is gone from this computer is taken over; a lock of another
// computer is never forced.
class LockService {
public:
    // pid 0 means this process.
    explicit LockService(Database& db, long long pid = 0);

    // True when every key was granted to this holder. A lock table that cannot be written
    // refuses (false), never grants. A lost connection or a full disk is thrown
    // (DbError ConnectionLost / DiskFull): that is no refusal by another workstation.
    bool lockRecord(const QString& category, const QString& system, const QString& mode,
                    const QString& computer, const QStringList& keys);
    // Frees the keys held by this holder (computer + process). Result not needed by callers.
    // While the server is away, the keys are freed as soon as it is back.
    bool unlockRecord(const QString& category, const QStringList& keys);

    // Creates the lock table when missing (errors ignored).
    static void ensureTable(Database& db);
    static QString tableName();

private:
    Database& db_;
    long long pid_;
    QString computer_;
};

}  // namespace qx
