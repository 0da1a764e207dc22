#pragma once

#include <QString>
#include <QStringList>

namespace qx {

class Database;

// Record locks shared by every workstation on one company database: a lock table in the
// company database (category + key unique; holder computer, process id, time). One holder per
// key; a lock whose process is gone from this computer is taken over; a lock of another
// computer is never forced.
//
// A holder is one running process: the computer name (as shown, 30 bytes), the machine (its
// id, full host name and process namespace), the boot and the process's id and start time, so
// that two computers whose names share 30 bytes, or two containers of one host name, never
// take each other's locks, and a process that reuses a dead one's id is another holder.
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
    // As unlockRecord; returns the keys that could not be freed because the lock table could not
    // be written (e.g. another workstation's transaction kept the database busy): they are
    // still held and must be asked for again.
    QStringList release(const QString& category, const QStringList& keys);

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
    struct Holder;
    Holder holderOf(const QString& category, const QString& key);
    bool ours(const Holder& h) const;
    bool goneFromThisComputer(const Holder& h) const;
    int removeOwn(const QString& category, const QString& key);  // throws DbError
    QString removeOwnStatement() const;
    QVariantList removeOwnParams(const QString& category, const QString& key) const;

    Database& db_;
    long long pid_;
    QString computer_;
    QString machine_;  // machineIdentity()
    QString run_;      // boot id + "/" + process start time
    bool tableReady_ = false;
};

}  // namespace qx
