#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

namespace qx {

class Database;
class Recordset;

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

    // Many keys at once, for commands that change many structures: one statement reads who
    // holds them, one removes each dead holder's rows and one writes ours, whatever the number
    // of keys. Each key is granted or refused as lockRecord would (a key of a dead process of
    // this computer is taken over); returns the refused keys, and the granted ones stay held
    // even when some are refused. Run it in a transaction, so that the keys are written at one
    // commit.
    QStringList lockRecords(const QString& category, const QString& system, const QString& mode,
                            const QString& computer, const QStringList& keys);
    // Frees many keys of this holder, as release does; a lock left behind is taken over once
    // this process is gone.
    void unlockRecords(const QString& category, const QStringList& keys);

    // Creates the lock table when missing (errors ignored).
    static void ensureTable(Database& db);
    static QString tableName();

private:
    struct Holder;
    static Holder holderAt(const Recordset& rs, int row);
    Holder holderOf(const QString& category, const QString& key);
    QHash<QString, Holder> holdersOf(const QString& category, const QStringList& keys);
    bool ours(const Holder& h) const;
    bool goneFromThisComputer(const Holder& h) const;
    // The one way keys are given back: this holder's rows of all the keys in one statement.
    struct Freed {
        qsizetype rows = 0;     // rows removed
        QStringList failed;     // the lock table could not be written: still held
        bool deferred = false;  // the server is away: removed as soon as it is back
    };
    Freed removeOwn(const QString& category, const QStringList& keys);

    Database& db_;
    long long pid_;
    QString computer_;
    QString machine_;  // machineIdentity()
    QString run_;      // boot id + "/" + process start time
    bool tableReady_ = false;
};

}  // namespace qx
