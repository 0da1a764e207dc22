#include "platform/sql_dialects.h"

#include <QSqlError>

namespace qx {
namespace {

class PostgresDialect : public SqlDialect {
public:
    QString name() const override { return QStringLiteral("postgresql"); }
    QString beginStatement() const override { return QStringLiteral("BEGIN"); }
    // A row lock held by another workstation is reported as a concurrent change after a while,
    // as SQLite's busy timeout does, instead of waiting for ever.
    QStringList connectStatements(bool readOnly) const override
    {
        QStringList statements{QStringLiteral("SET client_min_messages TO warning"),
                               QStringLiteral("SET lock_timeout TO 5000")};
        // The server itself refuses every write of a connection opened for reading.
        if (readOnly) statements << QStringLiteral("SET default_transaction_read_only TO on");
        return statements;
    }
    QString textColumn(const QString& column, int width) const override
    {
        return QStringLiteral("%1 varchar(%2)").arg(column).arg(width);
    }
    QString doubleType() const override { return QStringLiteral("double precision"); }
    QString integerType() const override { return QStringLiteral("integer"); }
    QString nullSafeEquals(const QString& column) const override
    {
        return column + QStringLiteral(" IS NOT DISTINCT FROM ?");
    }

    DbErrorKind classify(const QSqlError& error, const QString& statement) const override
    {
        const QString state = error.nativeErrorCode();
        // Class 08 (connection exception), and the server shutting down or starting up
        // (57P01-57P03).
        if (error.type() == QSqlError::ConnectionError || state.startsWith(QLatin1String("08")) ||
            state == QLatin1String("57P01") || state == QLatin1String("57P02") ||
            state == QLatin1String("57P03"))
            return DbErrorKind::ConnectionLost;
        // 53100: disk full.
        if (state == QLatin1String("53100")) return DbErrorKind::DiskFull;
        if (state == QLatin1String("23503"))
            return isInsertStatement(statement) ? DbErrorKind::RecordDeleted : DbErrorKind::InUse;
        if (state == QLatin1String("23505")) return DbErrorKind::Duplicate;
        if (state == QLatin1String("22001")) return DbErrorKind::TooLong;
        if (state == QLatin1String("40001") || state == QLatin1String("40P01") ||
            state == QLatin1String("55P03"))
            return DbErrorKind::ConcurrentChange;
        return DbErrorKind::Other;
    }
    // PostgreSQL cannot foresee how many rows a recursion yields and would join its common table
    // by scanning every row of the table; an array of the values is looked up through the index.
    QString fromRowsMatching(const QString& table, const QString& column, const QString& cte) const override
    {
        return QStringLiteral("from %1 t where t.%2=any(array(select code from %3))").arg(table, column, cte);
    }
    // The list unpacked in a subquery: the planner weighs each element of a literal array on its
    // own, which for 18,000 codes takes longer than looking them all up.
    QString fromRowsInBoundList(const QString& table, const QString& column) const override
    {
        return QStringLiteral("from %1 t where t.%2=any(array(select unnest(cast(? as text[]))))").arg(table, column);
    }
    // An array literal: every element quoted, its quotes and backslashes escaped.
    QString boundList(const QStringList& values) const override
    {
        QString out = QStringLiteral("{");
        for (qsizetype i = 0; i < values.size(); ++i) {
            if (i) out += QLatin1Char(',');
            QString v = values[i];
            v.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
            out += QLatin1Char('"') + v + QLatin1Char('"');
        }
        return out + QLatin1Char('}');
    }
    QString textSetSource() const override
    {
        return QStringLiteral("unnest(cast(? as text[])) AS keyset(value)");
    }
    // Left as a condition rather than a join: a lock table just written has no statistics, the
    // planner takes it for a row or two and would read the whole set once per row of it.
    QString inTextSet(const QString& column) const override
    {
        return QStringLiteral("(") + SqlDialect::inTextSet(column) + QStringLiteral(") IS TRUE");
    }
    // The save's cycle check must see every other save's committed lines before it writes:
    // one transaction-scoped advisory lock serializes those writers (the key is the help context
    // of the component, a number no other module uses).
    QString structureWriteLockStatement() const override
    {
        return QStringLiteral("SELECT pg_advisory_xact_lock(31100033)");
    }
    // The company tables' references are not made deferrable.
    QString deferReferencesStatement() const override { return QString(); }
};

}  // namespace

std::unique_ptr<SqlDialect> makePostgresDialect() { return std::make_unique<PostgresDialect>(); }

}  // namespace qx
