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
    // refuses (false), never grants.
    bool lockRecord(const QString& category, const QString& system, const QString& mode,
                    const QString& computer, const QStringList& keys);
    // Frees the keys held by this holder (computer + process). Result not needed by callers.
    bool unlockRecord(const QString& category, const QStringList& keys);

    // Many keys at once, for commands that change many structures: a few statements per
    // hundred keys instead of one per key. Each key is granted or refused as lockRecord would
    // (a key of a dead process of this computer is taken over); returns the refused keys, and
    // the granted ones stay held even when some are refused.
    QStringList lockRecords(const QString& category, const QString& system, const QString& mode,
                            const QString& computer, const QStringList& keys);
    // Frees many keys of this holder, a slice of keys per statement.
    void unlockRecords(const QString& category, const QStringList& keys);

    // Creates the lock table when missing (errors ignored).
    static void ensureTable(Database& db);
    static QString tableName();

private:
    Database& db_;
    long long pid_;
    QString computer_;
};

}  // namespace qx
