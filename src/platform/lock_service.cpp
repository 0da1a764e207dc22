#include "platform/lock_service.h"

#include "platform/database.h"
#include "platform/host_facts.h"
#include "platform/sql_dialect.h"

#include <QDateTime>
#include <QHash>
#include <QSet>

#include <utility>

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

}  // namespace

struct LockService::Holder {
    bool found = false;
    QString computer;
    long long pid = 0;
    QString machine;  // empty: a row written before holders named their machine
    QString run;
};

QString LockService::tableName() { return QStringLiteral("QX_RecordLock"); }

void LockService::ensureTable(Database& db)
{
    // On PostgreSQL a failing statement would abort the caller's transaction; the table is made
    // only outside one (the locks are always taken outside transactions).
    if (db.inTransaction()) return;
    const SqlDialect& sql = db.dialect();
    if (!db.tableExists(tableName())) {
        db.executeIgnoringErrors(
            QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (%2 NOT NULL, %3 NOT NULL, %4 NOT NULL, "
                           "iPid bigint NOT NULL, %5, %6, %7, PRIMARY KEY (cCategory, cKey))")
                .arg(tableName(), sql.textColumn(QStringLiteral("cCategory"), 20),
                     sql.textColumn(QStringLiteral("cKey"), 255),
                     sql.textColumn(QStringLiteral("cComputer"), 60),
                     sql.textColumn(QStringLiteral("dTime"), 19),
                     sql.textColumn(QStringLiteral("cMachine"), 120),
                     sql.textColumn(QStringLiteral("cRun"), 60)));
        return;
    }
    // A table of an earlier version gains the columns that tell processes apart.
    bool hasMachine = false;
    try {
        auto rs = db.openRecordset(QStringLiteral("SELECT * FROM %1 WHERE 1=0").arg(tableName()),
                                   RecordsetType::Snapshot);
        hasMachine = rs->fieldIndex(QStringLiteral("cMachine")) >= 0 &&
                     rs->fieldIndex(QStringLiteral("cRun")) >= 0;
    } catch (const DbError&) {
        return;
    }
    if (hasMachine) return;
    for (const auto& [column, width] :
         {std::pair{QStringLiteral("cMachine"), 120}, std::pair{QStringLiteral("cRun"), 60}})
        db.executeIgnoringErrors(QStringLiteral("ALTER TABLE %1 ADD %2")
                                     .arg(tableName(), sql.textColumn(column, width)));
}

LockService::LockService(Database& db, long long pid)
    : db_(db),
      pid_(pid > 0 ? pid : (long long)::getpid()),
      computer_(computerName()),
      machine_(machineIdentity()),
      run_(bootIdentity() + QLatin1Char('/') + QString::number(processStartTime(pid_)))
{
}


LockService::Holder LockService::holderAt(const Recordset& rs, int row)
{
    Holder h;
    h.found = true;
    h.computer = rs.value(row, 1).toString();
    h.pid = rs.value(row, 2).toLongLong();
    // A NULL of an earlier version's row is compared (and bound) as an empty text.
    h.machine = rs.value(row, 3).toString();
    h.run = rs.value(row, 4).toString();
    if (h.machine.isNull()) h.machine = QStringLiteral("");
    if (h.run.isNull()) h.run = QStringLiteral("");
    return h;
}

LockService::Holder LockService::holderOf(const QString& category, const QString& key)
{
    auto rs = db_.openRecordset(
        QStringLiteral("SELECT cKey, cComputer, iPid, cMachine, cRun FROM %1 WHERE cCategory = ? "
                       "AND cKey = ?")
            .arg(tableName()),
        RecordsetType::Snapshot, 0, {category, key});
    return rs->recordCount() > 0 ? holderAt(*rs, 0) : Holder{};
}

QHash<QString, LockService::Holder> LockService::holdersOf(const QString& category,
                                                           const QStringList& keys)
{
    auto rs = db_.openRecordset(
        QStringLiteral("SELECT cKey, cComputer, iPid, cMachine, cRun FROM %1 WHERE cCategory = ? "
                       "AND %2")
            .arg(tableName(), db_.dialect().inTextSet(QStringLiteral("cKey"))),
        RecordsetType::Snapshot, 0, {category, db_.dialect().boundList(keys)});
    QHash<QString, Holder> holders;
    holders.reserve(rs->recordCount());
    for (int r = 0; r < rs->recordCount(); ++r) holders.insert(rs->value(r, 0).toString(), holderAt(*rs, r));
    return holders;
}

bool LockService::ours(const Holder& h) const
{
    return h.computer == computer_ && h.pid == pid_ && h.machine == machine_ && h.run == run_;
}

bool LockService::goneFromThisComputer(const Holder& h) const
{
    if (h.computer != computer_) return false;
    // A row of an earlier version names no machine: the computer name and the pid decide.
    if (h.machine.isEmpty()) return !processAlive(h.pid);
    // Process ids of another machine (or another container) cannot be looked at from here.
    if (h.machine != machine_) return false;
    const QString boot = h.run.section(QLatin1Char('/'), 0, 0);
    const long long started = h.run.section(QLatin1Char('/'), 1).toLongLong();
    if (boot != run_.section(QLatin1Char('/'), 0, 0)) return true;  // an earlier boot
    if (!processAlive(h.pid)) return true;
    // The id now belongs to a process that started later than the holder.
    return started != 0 && processStartTime(h.pid) != started;
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
        QStringLiteral(
            "INSERT INTO %1 (cCategory, cKey, cComputer, iPid, dTime, cMachine, cRun) "
            "VALUES (?, ?, ?, ?, ?, ?, ?) ON CONFLICT (cCategory, cKey) DO NOTHING")
            .arg(table);
    const QString removeHolder =
        QStringLiteral(
            "DELETE FROM %1 WHERE cCategory = ? AND cKey = ? AND cComputer = ? AND "
            "iPid = ? AND coalesce(cMachine, '') = ? AND coalesce(cRun, '') = ?")
            .arg(table);

    QStringList granted;  // keys this call took, given back if another key is refused
    try {
        if (!tableReady_) {
            ensureTable(db_);
            tableReady_ = true;
        }
        const auto tryInsert = [&](const QString& key) {
            const QString now =
                QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
            return db_.execute(insert, {category, key, computer_, pid_, now, machine_, run_}) > 0;
        };

        for (const QString& key : keys) {
            if (tryInsert(key)) {
                granted << key;
                continue;
            }
            const Holder h = holderOf(category, key);
            if (!h.found) {  // released between the two statements
                if (tryInsert(key)) {
                    granted << key;
                    continue;
                }
            } else if (ours(h)) {
                continue;  // already ours: asking again confirms it
            } else if (goneFromThisComputer(h)) {
                // A process of this computer that stopped without unlocking. Only that holder's
                // row is removed, so that a workstation that took it over meanwhile keeps it.
                db_.execute(removeHolder, {category, key, h.computer, h.pid, h.machine, h.run});
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
    const Freed freed = removeOwn(category, keys);
    return freed.rows == keys.size() && freed.failed.isEmpty() && !freed.deferred;
}

QStringList LockService::release(const QString& category, const QStringList& keys)
{
    return removeOwn(category, keys).failed;
}

void LockService::unlockRecords(const QString& category, const QStringList& keys)
{
    // A lock left behind is taken over once this process is gone.
    removeOwn(category, keys);
}

LockService::Freed LockService::removeOwn(const QString& category, const QStringList& keys)
{
    Freed freed;
    if (keys.isEmpty()) return freed;
    // One key (a card's lock) is found through the lock table's index; a set is one bound list.
    const bool one = keys.size() == 1;
    const QString statement =
        QStringLiteral("DELETE FROM %1 WHERE cCategory = ? AND cComputer = ? AND iPid = ? AND "
                       "cMachine = ? AND cRun = ? AND %2")
            .arg(tableName(), one ? QStringLiteral("cKey = ?")
                                  : db_.dialect().inTextSet(QStringLiteral("cKey")));
    const QVariantList params{category, computer_, pid_, machine_, run_,
                              one ? QVariant(keys.first()) : QVariant(db_.dialect().boundList(keys))};
    try {
        freed.rows = db_.execute(statement, params);
    } catch (const DbError& e) {
        // The server is away: the locks go as soon as it is back, at the next statement, so
        // that no row of a closed card is left behind.
        if (e.kind() == DbErrorKind::ConnectionLost) {
            db_.runWhenConnected(statement, params);
            freed.deferred = true;
        } else {
            freed.failed = keys;
        }
    }
    return freed;
}

QStringList LockService::lockRecords(const QString& category, const QString& system,
                                     const QString& mode, const QString& computer,
                                     const QStringList& keys)
{
    if (!computer.isEmpty()) computer_ = computer;
    QStringList distinct;
    {
        QSet<QString> seen;
        for (const QString& key : keys)
            if (!seen.contains(key)) {
                seen.insert(key);
                distinct << key;
            }
    }
    if (distinct.isEmpty()) return {};
    const QString table = tableName();
    const QString keysFrom = db_.dialect().textSetSource();
    QStringList refused;
    try {
        if (!tableReady_) {
            ensureTable(db_);
            tableReady_ = true;
        }
        // Who holds any of the keys now, in one statement; each key is judged as lockRecord
        // judges it: ours, free, a dead process's of this computer (taken over), or refused.
        const QHash<QString, Holder> holders = holdersOf(category, distinct);
        QStringList wanted;
        QHash<QString, std::pair<Holder, QStringList>> dead;  // the keys of each gone holder
        for (const QString& key : distinct) {
            const auto it = holders.constFind(key);
            if (it == holders.constEnd()) {
                wanted << key;
            } else if (ours(*it)) {
                continue;
            } else if (goneFromThisComputer(*it)) {
                auto& entry = dead[it->computer + QChar(0) + QString::number(it->pid) + QChar(0) +
                                   it->machine + QChar(0) + it->run];
                entry.first = *it;
                entry.second << key;
                wanted << key;
            } else {
                refused << key;  // another holder, and another computer's lock is never forced
            }
        }
        // Only each dead holder's own rows go, so that a workstation that took one over
        // meanwhile keeps it.
        for (const auto& [h, heldKeys] : std::as_const(dead))
            db_.execute(QStringLiteral("DELETE FROM %1 WHERE cCategory = ? AND cComputer = ? AND "
                                       "iPid = ? AND coalesce(cMachine, '') = ? AND "
                                       "coalesce(cRun, '') = ? AND %2")
                            .arg(table, db_.dialect().inTextSet(QStringLiteral("cKey"))),
                        {category, h.computer, h.pid, h.machine, h.run, db_.dialect().boundList(heldKeys)});
        if (wanted.isEmpty()) return refused;
        const QString now =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
        // The WHERE keeps SQLite from reading ON CONFLICT as a join's ON.
        const int written = db_.execute(
            QStringLiteral("INSERT INTO %1 (cCategory, cKey, cComputer, iPid, dTime, cMachine, cRun) "
                           "SELECT ?, value, ?, ?, ?, ?, ? FROM %2 WHERE 1 = 1 "
                           "ON CONFLICT (cCategory, cKey) DO NOTHING")
                .arg(table, keysFrom),
            {category, computer_, pid_, now, machine_, run_, db_.dialect().boundList(wanted)});
        if (written < wanted.size()) {
            // Another workstation was quicker with some keys: those are asked for one by one.
            const QHash<QString, Holder> now = holdersOf(category, wanted);
            for (const QString& key : wanted) {
                const auto it = now.constFind(key);
                if (it != now.constEnd() && ours(*it)) continue;
                if (!lockRecord(category, system, mode, computer_, {key})) refused << key;
            }
        }
    } catch (const DbError& e) {
        // A lost connection or a full disk is told as such; a lock table that cannot be
        // written refuses every key, never grants.
        if (e.kind() == DbErrorKind::ConnectionLost || e.kind() == DbErrorKind::DiskFull) throw;
        return distinct;
    }
    return refused;
}

}  // namespace qx
