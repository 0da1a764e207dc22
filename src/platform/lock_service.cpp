#include "platform/lock_service.h"

#include "platform/database.h"
#include "platform/host_facts.h"
#include "platform/sql_dialect.h"

#include <QDateTime>

#include <cerrno>
#include <signal.h>
#include <unistd.h>

namespace qx {
namespace {

// Is the process still running on this computer? A process of another user still counts
// (EPERM); only "no such process" frees its locks.
bool processAlive(long long pid)
{
    if (pid <= 0 || pid > 0x7fffffffLL) return false;
    if (::kill(pid_t(pid), 0) == 0) return true;
    return errno != ESRCH;
}

struct Holder {
    bool found = false;
    QString computer;
    long long pid = 0;
};

}  // namespace

QString LockService::tableName() { return QStringLiteral("QX_RecordLock"); }

void LockService::ensureTable(Database& db)
{
    // On PostgreSQL a failing statement would abort the caller's transaction; the table is made
    // only outside one (the locks are always taken outside transactions).
    if (db.inTransaction() || db.tableExists(tableName())) return;
    const SqlDialect& sql = db.dialect();
    db.executeIgnoringErrors(
        QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (%2 NOT NULL, %3 NOT NULL, %4 NOT NULL, "
                       "iPid bigint NOT NULL, %5, PRIMARY KEY (cCategory, cKey))")
            .arg(tableName(), sql.textColumn(QStringLiteral("cCategory"), 20),
                 sql.textColumn(QStringLiteral("cKey"), 255),
                 sql.textColumn(QStringLiteral("cComputer"), 60),
                 sql.textColumn(QStringLiteral("dTime"), 19)));
}

LockService::LockService(Database& db, long long pid)
    : db_(db), pid_(pid > 0 ? pid : (long long)::getpid()), computer_(computerName())
{
}

bool LockService::lockRecord(const QString& category, const QString& system, const QString& mode,
                             const QString& computer, const QStringList& keys)
{
    // The suite's service takes a system code and a mode; one kind of lock is all this
    // component asks for, so they are not recorded.
    Q_UNUSED(system);
    Q_UNUSED(mode);
    if (!computer.isEmpty()) computer_ = computer;
    if (keys.isEmpty()) return false;
    const QString table = tableName();

    // Both statements succeed or do nothing without an error, so that nothing here can abort a
    // PostgreSQL transaction and a race with another workstation is decided by the key.
    const QString insert =
        QStringLiteral("INSERT INTO %1 (cCategory, cKey, cComputer, iPid, dTime) VALUES "
                       "(?, ?, ?, ?, ?) ON CONFLICT (cCategory, cKey) DO NOTHING")
            .arg(table);
    const QString readHolder =
        QStringLiteral("SELECT cComputer, iPid FROM %1 WHERE cCategory = ? AND cKey = ?").arg(table);
    const QString removeHolder =
        QStringLiteral("DELETE FROM %1 WHERE cCategory = ? AND cKey = ? AND cComputer = ? AND iPid = ?")
            .arg(table);

    QStringList granted;  // keys this call took, given back if another key is refused
    try {
        ensureTable(db_);
        const auto tryInsert = [&](const QString& key) {
            const QString now =
                QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
            return db_.execute(insert, {category, key, computer_, pid_, now}) > 0;
        };
        const auto holderOf = [&](const QString& key) {
            Holder h;
            auto rs = db_.openRecordset(readHolder, RecordsetType::Snapshot, 0, {category, key});
            if (rs->recordCount() > 0) {
                h.found = true;
                h.computer = rs->field(0).toString();
                h.pid = rs->field(1).toLongLong();
            }
            return h;
        };

        for (const QString& key : keys) {
            if (tryInsert(key)) {
                granted << key;
                continue;
            }
            const Holder h = holderOf(key);
            if (!h.found) {  // released between the two statements
                if (tryInsert(key)) {
                    granted << key;
                    continue;
                }
            } else if (h.computer == computer_ && h.pid == pid_) {
                continue;  // already ours: asking again confirms it
            } else if (h.computer == computer_ && !processAlive(h.pid)) {
                // A process of this computer that stopped without unlocking. Only that holder's
                // row is removed, so that a workstation that took it over meanwhile keeps it.
                db_.execute(removeHolder, {category, key, h.computer, h.pid});
                if (tryInsert(key)) {
                    granted << key;
                    continue;
                }
            }
            // Another holder, and another computer's lock is never forced.
            unlockRecord(category, granted);
            return false;
        }
        return true;
    } catch (const DbError& e) {
        // A lock table that cannot be written refuses; it never grants.
        try {
            unlockRecord(category, granted);
        } catch (...) {
        }
        // A lost connection or a full disk is no refusal: the caller tells the operator what
        // happened.
        if (e.kind() == DbErrorKind::ConnectionLost || e.kind() == DbErrorKind::DiskFull) throw;
        return false;
    }
}

bool LockService::unlockRecord(const QString& category, const QStringList& keys)
{
    bool all = true;
    const QString remove =
        QStringLiteral("DELETE FROM %1 WHERE cCategory = ? AND cKey = ? AND cComputer = ? AND iPid = ?")
            .arg(tableName());
    for (const QString& key : keys) {
        const QVariantList params{category, key, computer_, pid_};
        try {
            all = db_.execute(remove, params) > 0 && all;
        } catch (const DbError& e) {
            // The server is away: the lock goes as soon as it is back, so that no row of a
            // closed card is left behind.
            if (e.kind() == DbErrorKind::ConnectionLost) db_.runWhenConnected(remove, params);
            all = false;
        }
    }
    return all;
}

}  // namespace qx
