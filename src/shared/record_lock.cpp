#include "shared/record_lock.h"

#include "texts/texts.h"
#include "platform/db_error.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"

#include <QStringList>

namespace qx {

QString lockRefusal(LockPurpose purpose, const QString& sProStru)
{
    switch (purpose) {
        case LockPurpose::Edit:
            return text::lockRefusedEdit(sProStru);
        case LockPurpose::DeleteStructure:
            return text::lockRefusedDelete(sProStru);
        case LockPurpose::DeleteLine:
            return text::lockRefusedDeleteLine(sProStru);
    }
    return text::lockRefusedEdit(sProStru);
}

QString lockKey(const QString& code, KeyTrim trim)
{
    if (trim == KeyTrim::Both) return code.trimmed();
    int i = 0;
    while (i < code.size() && code.at(i) == QLatin1Char(' ')) ++i;
    return code.mid(i);
}

RecordLocks::RecordLocks(Database* db, QString computerName, long long pid)
    : db_(db), computer_(std::move(computerName)), pid_(pid)
{
}

RecordLocks::~RecordLocks() = default;

void RecordLocks::setDatabase(Database* db)
{
    if (db != db_) lockDll_.reset();
    db_ = db;
}

LockService& RecordLocks::lockDll()
{
    if (!lockDll_) lockDll_ = std::make_unique<LockService>(*db_, pid_);
    return *lockDll_;
}

bool RecordLocks::lockRecord(const QString& code, KeyTrim trim)
{
    locks_ = lockKey(code, trim);
    if (!db_) return false;
    try {
        if (!lockDll().lockRecord(kLockCategory, kLockSystem, kLockMode, computer_,
                                  QStringList{locks_}))
            return false;
    } catch (const DbError& e) {
        // Told as such, not as a refusal.
        if (e.kind() == DbErrorKind::ConnectionLost || e.kind() == DbErrorKind::DiskFull) throw;
        return false;  // a lock that cannot be recorded is not granted
    }
    if (!held_.contains(locks_)) held_ << locks_;
    return true;
}

bool RecordLocks::lockOrRefuse(const QString& code, KeyTrim trim, LockPurpose purpose,
                               const QString& sProStru)
{
    try {
        if (lockRecord(code, trim)) return true;
        Prompter::current().inform(lockRefusal(purpose, sProStru), text::kTitle);
    } catch (const DbError& e) {
        // The connection is lost or the disk is full: the error carries the message.
        Prompter::current().inform(e.description(), text::kTitle);
    }
    return false;
}

void RecordLocks::unlockRecord()
{
    if (!db_) return;
    // Unlocking runs on the commands' ways out, also after a failure; a key the database was too
    // busy to free stays held until a later release frees it.
    const bool wasHeld = held_.removeAll(locks_) > 0;
    if (!lockDll().release(kLockCategory, QStringList{locks_}).isEmpty() && wasHeld)
        held_ << locks_;
}

void RecordLocks::releaseAll()
{
    if (!db_ || held_.isEmpty()) return;
    held_ = lockDll().release(kLockCategory, held_);
}

}  // namespace qx
