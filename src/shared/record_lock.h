#pragma once

// The record locks of the list window: one key, the parent code, covers a structure's header
// and all its lines. The service's category, system and mode are the same at every call, so
// they stand here once.

#include <QString>

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

// Edit trims the code on both sides, the deletions only on the left.
enum class KeyTrim { Both, Leading };
QString lockKey(const QString& code, KeyTrim trim);

// LockDll and Locks of the list window. Releasing exactly once is the caller's job: every
// command that locks unlocks on each of its ways out.
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

    const QString& Locks() const { return locks_; }

private:
    LockService& lockDll();

    Database* db_;
    QString computer_;
    long long pid_;
    QString locks_;
    std::unique_ptr<LockService> lockDll_;  // created on first use
};

}  // namespace qx
