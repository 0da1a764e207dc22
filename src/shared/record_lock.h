#pragma once

// The record locks of the list window: one key, the parent code, covers a structure's header
// and all its lines. The service's category, system and mode are the same at every call, so
// they stand here once.

#include <QString>
#include <QStringList>

#include <memory>

namespace qx {

class Database;
class LockService;

inline const QString kLockCategory = QStringLiteral("AE");
inline const QString kLockSystem = QStringLiteral("AA");
inline const QString kLockMode = QStringLiteral("a");

// Which command asks: each has its own refusal text.
enum class LockPurpose { Edit, DeleteStructure, DeleteLine };

// The refusal text of a command, with the structure term (sProStru) in it.
QString lockRefusal(LockPurpose purpose, const QString& sProStru);

// The key of a structure: its code without blanks on either side. Every command that locks
// (edit, the deletions, the card's save) asks under this one key, so that they exclude each
// other and an unlock always frees what was locked. `Leading` only removes leading blanks.
enum class KeyTrim { Both, Leading };
QString lockKey(const QString& code, KeyTrim trim = KeyTrim::Both);

// LockDll and Locks of the list window. It remembers the keys it was granted and not yet given
// back (also those whose unlock found the database busy), so that a command on its way out, a later
// retry and the window's closing release them all.
class RecordLocks {
public:
    // computerName: the workstation recorded as the holder. pid 0: this process.
    RecordLocks(Database* db, QString computerName, long long pid = 0);
    ~RecordLocks();
    RecordLocks(const RecordLocks&) = delete;
    RecordLocks& operator=(const RecordLocks&) = delete;

    void setDatabase(Database* db);
    void setComputerName(const QString& name) { computer_ = name; }

    // Sets Locks to the trimmed code and asks the service for it. True when granted; without a
    // database nothing can be granted. A lost connection or a full disk is thrown.
    bool lockRecord(const QString& code, KeyTrim trim);
    // As lockRecord; on a refusal shows the command's refusal message ("提示！"), on a lost
    // connection or a full disk their own message.
    bool lockOrRefuse(const QString& code, KeyTrim trim, LockPurpose purpose,
                      const QString& sProStru);
    // Frees the key named by Locks (also when nothing was locked: the service then has nothing
    // to free).
    void unlockRecord();
    // Frees every key granted and not yet freed; a key whose unlock could not be written stays
    // held, to be released by a later call.
    void releaseAll();
    bool holds(const QString& key) const { return held_.contains(key); }
    bool holdsAny() const { return !held_.isEmpty(); }

    const QString& Locks() const { return locks_; }

private:
    LockService& lockDll();

    Database* db_;
    QString computer_;
    long long pid_;
    QString locks_;
    QStringList held_;
    std::unique_ptr<LockService> lockDll_;  // created on first use
};

}  // namespace qx
