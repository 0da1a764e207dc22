#include "platform/lock_service.h"

#include "platform/database.h"
#include "platform/host_facts.h"
#include "platform/sql_dialect.h"

#include <QDateTime>
#include <QSet>

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
    } catch (const DbError&) {
        // A lock table that cannot be written refuses; it never grants.
        try {
            unlockRecord(category, granted);
        } catch (...) {
        }
        return false;
    }
}

bool LockService::unlockRecord(const QString& category, const QStringList& keys)
{
    bool all = true;
    for (const QString& key : keys) {
        try {
            const int n = db_.execute(
                QStringLiteral("DELETE FROM %1 WHERE cCategory = ? AND cKey = ? AND cComputer = ? "
                               "AND iPid = ?")
                    .arg(tableName()),
                {category, key, computer_, pid_});
            all = all && n > 0;
        } catch (const DbError&) {
            all = false;
        }
    }
    return all;
}

QStringList LockService::lockRecords(const QString& category, const QString& system,
                                     const QString& mode, const QString& computer,
                                     const QStringList& keys)
{
    if (!computer.isEmpty()) computer_ = computer;
    // A hundred keys per statement: fewer round trips to a server weigh more than the driver's
    // binding of many values.
    constexpr int kSlice = 100;
    QStringList refused;
    const QString table = tableName();
    const QString now = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    for (qsizetype from = 0; from < keys.size(); from += kSlice) {
        const QStringList slice = keys.mid(from, kSlice);
        QStringList tuples, marks;
        QVariantList insertParams, readParams{category};
        for (const QString& key : slice) {
            tuples << QStringLiteral("(?, ?, ?, ?, ?)");
            marks << QStringLiteral("?");
            insertParams << category << key << computer_ << pid_ << now;
            readParams << key;
        }
        QSet<QString> mine;
        try {
            ensureTable(db_);
            db_.execute(QStringLiteral("INSERT INTO %1 (cCategory, cKey, cComputer, iPid, dTime) VALUES %2 "
                                       "ON CONFLICT (cCategory, cKey) DO NOTHING")
                            .arg(table, tuples.join(QLatin1Char(','))),
                        insertParams);
            auto rs = db_.openRecordset(
                QStringLiteral("SELECT cKey, cComputer, iPid FROM %1 WHERE cCategory = ? AND cKey IN (%2)")
                    .arg(table, marks.join(QLatin1Char(','))),
                RecordsetType::Snapshot, 0, readParams);
            for (int r = 0; r < rs->recordCount(); ++r)
                if (rs->value(r, 1).toString() == computer_ && rs->value(r, 2).toLongLong() == pid_)
                    mine.insert(rs->value(r, 0).toString());
        } catch (const DbError&) {
            // Asked again one by one below, where a table that cannot be written refuses.
        }
        // What another holder has is asked for key by key: a dead process's lock is taken over.
        for (const QString& key : slice)
            if (!mine.contains(key) && !lockRecord(category, system, mode, computer_, {key}))
                refused << key;
    }
    return refused;
}

void LockService::unlockRecords(const QString& category, const QStringList& keys)
{
    constexpr int kSlice = 100;
    for (qsizetype from = 0; from < keys.size(); from += kSlice) {
        const QStringList slice = keys.mid(from, kSlice);
        QStringList marks;
        QVariantList params{category, computer_, pid_};
        for (const QString& key : slice) {
            marks << QStringLiteral("?");
            params << key;
        }
        try {
            db_.execute(QStringLiteral("DELETE FROM %1 WHERE cCategory = ? AND cComputer = ? AND iPid = ? "
                                       "AND cKey IN (%2)")
                            .arg(tableName(), marks.join(QLatin1Char(','))),
                        params);
        } catch (const DbError&) {
            // A lock left behind is taken over once this process is gone.
        }
    }
}

}  // namespace qx
