// The connection to a company database: opening, statements, transactions, lost connections
// and the errors the operator is shown. Recordsets are in recordset.cpp.
#include "platform/database.h"

#include "texts/texts.h"
#include "platform/cell_store.h"
#include "platform/read_aside.h"
#include "platform/sql_dialects.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlIndex>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUrl>

#include <libpq-fe.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <atomic>
#include <unordered_map>
#include <utility>

namespace qx {

struct Database::Impl {
    QString connectionName;
    QString connectionString;
    ConnectionInfo info;
    OpenOptions options;
    std::unique_ptr<SqlDialect> dialect;
    QSqlDatabase db;
    bool inTransaction = false;
    bool lost = false;
    bool opened = false;     // connected once: connecting again never creates a file
    QByteArray nativePath;  // the SQLite file, for the check that it is still there
    // Read-only on a WAL-mode file whose directory cannot be written: SQLite cannot make the
    // shared-memory file beside it, so the file is read as one that nobody changes.
    bool immutable = false;
    // Statements that failed inside a transaction: on PostgreSQL they cannot be deallocated
    // until the aborted transaction ends, so they live until rollback.
    std::vector<QSqlQuery> failedInTransaction;
    std::vector<std::pair<QString, QVariantList>> whenConnected;
    std::unique_ptr<ReadAside> aside;
    bool asideAsked = false;

    // The server said nothing about why, but the connection itself is broken.
    bool connectionBroken() const
    {
        if (info.backend != Backend::PostgreSql) return false;
        // The driver closes a connection it found broken.
        if (!db.isOpen() || !db.driver() || !db.driver()->isOpen()) return true;
        const QVariant handle = db.driver()->handle();
        if (!handle.isValid() || (qstrcmp(handle.typeName(), "PGconn*") != 0 &&
                                  qstrcmp(handle.typeName(), "pg_conn*") != 0))
            return false;
        PGconn* conn = *static_cast<PGconn* const*>(handle.constData());
        return !conn || PQstatus(conn) == CONNECTION_BAD;
    }

    // Statements with bound values that execute() ran, prepared once and reused (the most
    // recently used last).
    std::vector<std::pair<QString, QSqlQuery>> prepared;
    static constexpr size_t kPreparedKept = 24;

    // A failed or evicted statement: inside a transaction it lives until the transaction ends.
    void retire(QSqlQuery&& q)
    {
        if (inTransaction) failedInTransaction.push_back(std::move(q));
    }

    DbError errorOf(const QSqlError& e, const QString& sql) const
    {
        DbErrorKind kind = dialect->classify(e, sql);
        if (kind != DbErrorKind::ConnectionLost && connectionBroken())
            kind = DbErrorKind::ConnectionLost;
        // A company file that is gone, whatever SQLite made of it.
        if (kind != DbErrorKind::ConnectionLost && info.backend == Backend::Sqlite &&
            !QFileInfo::exists(info.path))
            kind = DbErrorKind::ConnectionLost;
        // These two are the operator's message as they stand: every command shows them.
        if (kind == DbErrorKind::ConnectionLost) return DbError(kind, text::kConnectionLost);
        if (kind == DbErrorKind::DiskFull) return DbError(kind, text::kDiskFull);
        QString description = e.text().trimmed();
        if (description.isEmpty()) description = sql;
        return DbError(kind, description);
    }

    QString sqliteName() const
    {
        // A URI opens without creating (mode=rw) or for reading only (mode=ro).
        if (!options.readOnly && options.create && !opened) return info.path;
        QString uri = QStringLiteral("file:") +
                      QString::fromLatin1(QUrl::toPercentEncoding(
                          QFileInfo(info.path).absoluteFilePath(), QByteArrayLiteral("/")));
        uri += options.readOnly ? QStringLiteral("?mode=ro") : QStringLiteral("?mode=rw");
        if (immutable) uri += QStringLiteral("&immutable=1");
        return uri;
    }

    // Opens the connection with the stored settings and runs the connect statements; false
    // with the reason when it could not.
    bool connect(QString& reason)
    {
        if (info.backend == Backend::Sqlite) {
            QStringList opts;
            if (options.readOnly || !options.create || opened) opts << QStringLiteral("QSQLITE_OPEN_URI");
            if (options.readOnly) opts << QStringLiteral("QSQLITE_OPEN_READONLY");
            db.setConnectOptions(opts.join(QLatin1Char(';')));
            db.setDatabaseName(sqliteName());
        }
        if (!db.open()) {
            reason = db.lastError().text().simplified();
            return false;
        }
        QStringList statements = dialect->connectStatements(options.readOnly);
        // A file that is no database at all is noticed only when something is read from it.
        statements << QStringLiteral("SELECT 1");
        if (info.backend == Backend::Sqlite)
            statements << QStringLiteral("SELECT count(*) FROM sqlite_master");
        for (const QString& sql : statements) {
            QSqlQuery q(db);
            if (!q.exec(sql) || (q.isSelect() && !q.next() && q.lastError().isValid())) {
                reason = q.lastError().text().simplified();
                q = QSqlQuery();
                db.close();
                return false;
            }
        }
        return true;
    }

    bool connectReadOnlyOrWhole(QString& reason)
    {
        if (connect(reason)) return true;
        if (info.backend != Backend::Sqlite || !options.readOnly || immutable) return false;
        immutable = true;
        QString second;
        if (connect(second)) return true;
        immutable = false;
        return false;
    }

    void markLost()
    {
        lost = true;
        inTransaction = false;
        failedInTransaction.clear();
        // Statements prepared on the lost connection are prepared again on the next one.
        prepared.clear();
    }
};

Database::Database() : d(std::make_unique<Impl>()) {}

Database::~Database()
{
    if (!d) return;
    d->aside.reset();
    rollback();
    d->prepared.clear();
    const QString name = d->connectionName;
    d->db.close();
    d->db = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

std::unique_ptr<Database> Database::open(const QString& connectionString, OpenOptions options)
{
    static std::atomic<int> counter{0};
    const ConnectionInfo info = parseConnectionString(connectionString);
    std::unique_ptr<Database> self(new Database());
    Impl& d = *self->d;
    d.info = info;
    d.options = options;
    d.connectionString = connectionString;
    d.connectionName = QStringLiteral("qx_db_%1").arg(++counter);

    QString what;
    if (info.backend == Backend::Sqlite) {
        d.dialect = makeSqliteDialect();
        what = QFileInfo(info.path).absoluteFilePath();
        if (!options.create && !QFileInfo::exists(info.path))
            throw DbError(DbErrorKind::Other, text::cannotOpenDatabase(what, text::kFileMissing));
        d.db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), d.connectionName);
    } else {
        d.dialect = makePostgresDialect();
        what = (info.host.isEmpty() ? QStringLiteral("localhost") : info.host) +
               (info.port > 0 ? QStringLiteral(":%1").arg(info.port) : QString()) +
               QLatin1Char('/') + info.database;
        d.db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), d.connectionName);
        d.db.setDatabaseName(info.database);
        if (!info.host.isEmpty()) d.db.setHostName(info.host);
        if (info.port > 0) d.db.setPort(info.port);
        if (!info.user.isEmpty()) d.db.setUserName(info.user);
        if (!info.password.isEmpty()) d.db.setPassword(info.password);
        d.db.setConnectOptions(QStringLiteral("connect_timeout=10"));
    }
    if (!d.db.isValid())
        throw DbError(DbErrorKind::Other, text::cannotOpenDatabase(what, text::kNoSqlDriver));
    QString reason;
    if (!d.connectReadOnlyOrWhole(reason)) {
        self.reset();  // releases the connection name
        throw DbError(DbErrorKind::Other, text::cannotOpenDatabase(what, reason));
    }
    d.opened = true;
    if (info.backend == Backend::Sqlite) d.nativePath = QFile::encodeName(what);
    return self;
}

Backend Database::backend() const { return d->info.backend; }
const SqlDialect& Database::dialect() const { return *d->dialect; }
const ConnectionInfo& Database::info() const { return d->info; }
QString Database::connectionString() const { return d->connectionString; }
bool Database::readOnly() const { return d->options.readOnly; }
bool Database::connectionLost() const { return d->lost; }

bool Database::reconnect()
{
    if (!d->lost) return true;
    d->db.close();
    QString reason;
    if (!d->connectReadOnlyOrWhole(reason)) return false;
    d->lost = false;
    // The reads aside are made again on the company file connected to now.
    d->aside.reset();
    d->asideAsked = false;
    const auto pending = std::exchange(d->whenConnected, {});
    for (const auto& [sql, params] : pending) {
        try {
            runOnce(sql, params);
        } catch (const DbError&) {
        }
    }
    return true;
}

void Database::runWhenConnected(const QString& sql, const QVariantList& params)
{
    d->whenConnected.emplace_back(sql, params);
}

bool Database::canWrite(const QStringList& tables)
{
    if (d->options.readOnly || d->inTransaction || d->lost) return false;
    // Straight on the connection: a failure here is an answer, never a lost connection.
    QSqlQuery q(d->db);
    if (d->info.backend == Backend::Sqlite) {
        // Taking the write lock needs a file (and a directory, for its journal) that can be
        // written. Another workstation holding it says nothing either way: writable.
        if (q.exec(d->dialect->beginStatement())) {
            QSqlQuery(d->db).exec(QStringLiteral("ROLLBACK"));
            return true;
        }
        return d->dialect->classify(q.lastError(), q.lastQuery()) == DbErrorKind::ConcurrentChange;
    }
    // A server in recovery or a read-only default, then what the role may do with the tables
    // (one that does not exist yet is no answer).
    if (!q.exec(QStringLiteral("SELECT current_setting('transaction_read_only') = 'off'")) ||
        !q.next() || !q.value(0).toBool())
        return false;
    for (const QString& table : tables) {
        QSqlQuery t(d->db);
        if (!t.prepare(QStringLiteral(
                "SELECT coalesce(has_table_privilege(to_regclass(?), 'INSERT,UPDATE,DELETE'), true)")))
            return false;
        t.addBindValue(table);
        if (!t.exec() || !t.next() || !t.value(0).toBool()) return false;
    }
    return true;
}

void Database::ensureConnected()
{
    // A company file removed or renamed under the connection is still read and written through
    // its open descriptor, out of everybody else's sight: it counts as lost, not as there.
    if (!d->nativePath.isEmpty() && !d->inTransaction && !d->lost &&
        ::access(d->nativePath.constData(), F_OK) != 0)
        d->markLost();
    if (d->lost && !reconnect()) throw DbError(DbErrorKind::ConnectionLost, text::kConnectionLost);
}

QVariant Database::nativeHandle()
{
    ensureConnected();
    return d->db.driver() ? d->db.driver()->handle() : QVariant();
}

ReadAside* Database::readAside()
{
    if (!d->asideAsked) {
        d->aside = ReadAside::offer(*this);  // asked again next time when this throws
        d->asideAsked = true;
    }
    return d->aside.get();
}

DbError Database::nativeError(int code, const QString& message, const QString& sql) const
{
    return d->errorOf(QSqlError(message, message, QSqlError::StatementError, QString::number(code)), sql);
}

template <class Statement>
auto Database::onConnection(Statement once)
{
    ensureConnected();
    try {
        return once();
    } catch (const DbError& e) {
        if (e.kind() != DbErrorKind::ConnectionLost) throw;
        const bool inTransaction = d->inTransaction;
        d->markLost();
        // A transaction that was open is gone with the connection: its command runs again.
        if (inTransaction || !reconnect()) throw;
    }
    return once();
}

QSqlQuery Database::run(const QString& sql, const QVariantList& params)
{
    return onConnection([&] { return runOnce(sql, params); });
}

QSqlQuery Database::runOnce(const QString& sql, const QVariantList& params)
{
    QSqlQuery q(d->db);
    q.setForwardOnly(true);
    bool ok;
    if (params.isEmpty()) {
        ok = q.exec(sql);
    } else {
        ok = q.prepare(sql);
        if (ok) {
            for (const QVariant& p : params) q.addBindValue(p);
            ok = q.exec();
        }
    }
    if (!ok) {
        const DbError error = d->errorOf(q.lastError(), sql);
        if (d->inTransaction) d->failedInTransaction.push_back(std::move(q));
        throw error;
    }
    return q;
}

std::vector<QString> Database::selectTexts(const QString& sql, const QVariantList& params)
{
    // Through a snapshot: its rows come the fastest way the backend offers.
    const auto rs = openRecordset(sql, RecordsetType::Snapshot, 0, params);
    const int n = rs->fieldCount();
    std::vector<QString> out;
    out.reserve(size_t(rs->recordCount()) * size_t(n));
    for (int r = 0; r < rs->recordCount(); ++r)
        for (int i = 0; i < n; ++i) out.push_back(rs->value(r, i).toString());
    return out;
}

namespace {

// SQLite leaves the count of the last data change in place after other statements.
bool changesRows(const QString& sql)
{
    const QString t = sql.trimmed();
    qsizetype n = 0;
    while (n < t.size() && t.at(n).isLetter()) ++n;
    const QString verb = t.left(n).toLower();
    return verb == QLatin1String("insert") || verb == QLatin1String("update") ||
           verb == QLatin1String("delete") || verb == QLatin1String("replace");
}

}  // namespace

int Database::execute(const QString& sql, const QVariantList& params)
{
    if (params.isEmpty()) {
        QSqlQuery q = run(sql, params);
        return changesRows(sql) ? std::max(q.numRowsAffected(), 0) : 0;
    }
    return onConnection([&] { return executePreparedOnce(sql, params); });
}

int Database::executePreparedOnce(const QString& sql, const QVariantList& params)
{
    // The same statement again (a save's slices of lines, a delete per structure): prepared once.
    auto& cache = d->prepared;
    auto it = std::find_if(cache.begin(), cache.end(), [&](const auto& e) { return e.first == sql; });
    if (it == cache.end()) {
        QSqlQuery q(d->db);
        q.setForwardOnly(true);
        if (!q.prepare(sql)) {
            const DbError error = d->errorOf(q.lastError(), sql);
            d->retire(std::move(q));
            throw error;
        }
        if (cache.size() >= Impl::kPreparedKept) {
            d->retire(std::move(cache.front().second));
            cache.erase(cache.begin());
        }
        cache.emplace_back(sql, std::move(q));
        it = cache.end() - 1;
    } else if (it != cache.end() - 1) {
        std::rotate(it, it + 1, cache.end());
        it = cache.end() - 1;
    }
    QSqlQuery& q = it->second;
    for (qsizetype i = 0; i < params.size(); ++i) q.bindValue(int(i), params[i]);
    if (!q.exec()) {
        const DbError error = d->errorOf(q.lastError(), sql);
        d->retire(std::move(q));
        cache.erase(it);
        throw error;
    }
    const int n = changesRows(sql) ? std::max(q.numRowsAffected(), 0) : 0;
    q.finish();
    return n;
}

bool Database::executeIgnoringErrors(const QString& sql)
{
    try {
        execute(sql);
        return true;
    } catch (const DbError&) {
        return false;
    }
}

void Database::beginTrans()
{
    if (d->inTransaction) throw DbError(DbErrorKind::Other, text::kNestedTransaction);
    // Run as a statement, not through QSqlDatabase::transaction, so that the driver's own idea
    // of the transaction never differs from the database's.
    execute(d->dialect->beginStatement());
    d->inTransaction = true;
}

void Database::commitTrans()
{
    if (!d->inTransaction) throw DbError(DbErrorKind::Other, text::kNoTransaction);
    try {
        execute(QStringLiteral("COMMIT"));
    } catch (const DbError&) {
        rollback();
        throw;
    }
    d->inTransaction = false;
}

void Database::rollback()
{
    if (!d->inTransaction) return;
    d->inTransaction = false;
    QSqlQuery q(d->db);
    q.exec(QStringLiteral("ROLLBACK"));
    d->failedInTransaction.clear();
}

bool Database::inTransaction() const { return d->inTransaction; }

bool Database::tableExists(const QString& table) const
{
    // Views count: a view may stand where a table is expected.
    const QStringList names = d->db.tables(QSql::AllTables);
    return std::any_of(names.begin(), names.end(), [&](const QString& n) {
        return n.compare(table, Qt::CaseInsensitive) == 0;
    });
}

QStringList Database::primaryKey(const QString& table) const
{
    QSqlIndex index = d->db.primaryIndex(table);
    if (index.isEmpty() && d->info.backend == Backend::PostgreSql)
        index = d->db.primaryIndex(table.toLower());  // unquoted names are folded to lower case
    QStringList out;
    for (int i = 0; i < index.count(); ++i) out << index.fieldName(i);
    return out;
}

}  // namespace qx
