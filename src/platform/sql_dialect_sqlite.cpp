#include "platform/sql_dialects.h"

#include "platform/database.h"
#include "platform/native_lookup.h"

#include <QSqlError>

namespace qx {

bool isInsertStatement(const QString& statement)
{
    return statement.trimmed().startsWith(QLatin1String("insert"), Qt::CaseInsensitive);
}

namespace {

class SqliteDialect : public SqlDialect {
public:
    QString name() const override { return QStringLiteral("sqlite"); }
    // IMMEDIATE takes the write lock at once: two workstations that both read first and then
    // write would otherwise deadlock on upgrading their read locks.
    QString beginStatement() const override { return QStringLiteral("BEGIN IMMEDIATE"); }
    QStringList connectStatements(bool readOnly) const override
    {
        QStringList statements{QStringLiteral("PRAGMA busy_timeout=5000"),
                               QStringLiteral("PRAGMA foreign_keys=ON"),
                               QStringLiteral("PRAGMA cache_size=-%1").arg(kSqlitePageCacheKiB)};
        // Changing the journal mode writes the file's header.
        if (!readOnly) statements << QStringLiteral("PRAGMA journal_mode=WAL");
        return statements;
    }
    // SQLite looks each value of the common table up through the column's index.
    QString fromRowsMatching(const QString& table, const QString& column, const QString& cte) const override
    {
        return QStringLiteral("from %3 k inner join %1 t on t.%2=k.code").arg(table, column, cte);
    }
    // The list travels as a JSON array: quotes, backslashes and control characters escaped.
    // Joined in the list's order, so that ascending texts walk the index forwards.
    QString fromRowsInBoundList(const QString& table, const QString& column) const override
    {
        return QStringLiteral("from json_each(?) k inner join %1 t on t.%2=k.value").arg(table, column);
    }
    QString boundList(const QStringList& values) const override
    {
        // The same JSON array the in-process lookups bind.
        return QString::fromUtf8(jsonKeyArray(values));
    }
    QString textColumn(const QString& column, int width) const override
    {
        return QStringLiteral("%1 varchar(%2) CHECK(length(%1)<=%2)").arg(column).arg(width);
    }
    QString doubleType() const override { return QStringLiteral("double precision"); }
    QString integerType() const override { return QStringLiteral("integer"); }
    QString textSetSource() const override { return QStringLiteral("json_each(?)"); }
    QString nullSafeEquals(const QString& column) const override
    {
        return column + QStringLiteral(" IS ?");
    }

    DbErrorKind classify(const QSqlError& error, const QString& statement) const override
    {
        const QString text = error.databaseText() + QLatin1Char(' ') + error.driverText();
        const QString code = error.nativeErrorCode();
        if (text.contains(QLatin1String("FOREIGN KEY constraint failed"), Qt::CaseInsensitive))
            return isInsertStatement(statement) ? DbErrorKind::RecordDeleted : DbErrorKind::InUse;
        if (text.contains(QLatin1String("UNIQUE constraint failed"), Qt::CaseInsensitive) ||
            text.contains(QLatin1String("PRIMARY KEY"), Qt::CaseInsensitive))
            return DbErrorKind::Duplicate;
        // The schema's CHECK constraints are only width checks.
        if (text.contains(QLatin1String("CHECK constraint failed"), Qt::CaseInsensitive))
            return DbErrorKind::TooLong;
        // SQLITE_BUSY (5) and SQLITE_LOCKED (6), also as extended codes (low byte).
        bool ok = false;
        const int native = code.toInt(&ok);
        const int primary = ok ? (native & 0xff) : -1;
        // SQLITE_FULL (13): the disk, or the database's page limit, has no room.
        if (primary == 13 || text.contains(QLatin1String("database or disk is full"), Qt::CaseInsensitive))
            return DbErrorKind::DiskFull;
        // SQLITE_IOERR (10), SQLITE_CANTOPEN (14), SQLITE_NOTADB (26) and SQLITE_READONLY_DBMOVED
        // (the file was removed or renamed under the open connection): the company file is no
        // longer there to read or write.
        if (primary == 10 || primary == 14 || primary == 26 || native == 1032 ||
            text.contains(QLatin1String("unable to open database file"), Qt::CaseInsensitive) ||
            text.contains(QLatin1String("disk I/O error"), Qt::CaseInsensitive))
            return DbErrorKind::ConnectionLost;
        if ((ok && ((native & 0xff) == 5 || (native & 0xff) == 6)) ||
            text.contains(QLatin1String("database is locked"), Qt::CaseInsensitive) ||
            text.contains(QLatin1String("database table is locked"), Qt::CaseInsensitive))
            return DbErrorKind::ConcurrentChange;
        return DbErrorKind::Other;
    }
    // BEGIN IMMEDIATE already serializes the writers.
    QString structureWriteLockStatement() const override { return QString(); }
    // Switched off again by the library at the end of the transaction.
    QString deferReferencesStatement() const override
    {
        return QStringLiteral("PRAGMA defer_foreign_keys=ON");
    }
};

}  // namespace

std::unique_ptr<SqlDialect> makeSqliteDialect() { return std::make_unique<SqliteDialect>(); }

}  // namespace qx
