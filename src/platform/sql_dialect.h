#pragma once

#include "platform/db_error.h"

#include <QString>
#include <QStringList>

class QSqlError;

namespace qx {

// Where SQLite and PostgreSQL differ, this object answers; nothing else asks which backend it is.
class SqlDialect {
public:
    virtual ~SqlDialect() = default;

    virtual QString name() const = 0;  // "sqlite" or "postgresql"
    // The statement that starts a write transaction.
    virtual QString beginStatement() const = 0;
    // Statements run once after connecting (foreign keys, WAL, busy timeout, ...). A read-only
    // connection gets only those that write nothing.
    virtual QStringList connectStatements(bool readOnly) const = 0;
    // Column type names used by the schema.
    // A text column definition "name varchar(width)" with the width enforced by the database.
    virtual QString textColumn(const QString& column, int width) const = 0;
    virtual QString doubleType() const = 0;
    virtual QString integerType() const = 0;
    // Maps a driver error to the kind the commands understand. `statement` is the failing
    // statement's text, so that e.g. a foreign-key failure of an INSERT (the referenced row is
    // gone) is told apart from one of a DELETE (the row is still referred to).
    virtual DbErrorKind classify(const QSqlError& error, const QString& statement) const = 0;
    // A statement that serializes writers that must see each other's committed work before
    // writing (the save's cycle check): empty when beginStatement() already does.
    virtual QString structureWriteLockStatement() const = 0;
    // A statement that makes the current transaction check its references at the commit rather
    // than row by row (rows may then be written before the row they refer to): empty where
    // there is none.
    virtual QString deferReferencesStatement() const = 0;
    // "column <null-safe equals> ?": true when both are NULL or both equal (the row key of a
    // table without a primary key).
    // A table of texts given as one bound value, boundList() of the texts, its one column named
    // value: many keys in one statement without one bound value each.
    virtual QString textSetSource() const = 0;
    // "column is one of the texts of that one bound value", the set read once and looked up
    // by hash whatever the planner guesses of the table's size.
    virtual QString inTextSet(const QString& column) const
    {
        return column + QStringLiteral(" IN (SELECT value FROM ") + textSetSource() + QLatin1Char(')');
    }
    virtual QString nullSafeEquals(const QString& column) const
    {
        return column + QStringLiteral(" IS NOT DISTINCT FROM ?");
    }
    // "from ... where ..." of the rows of `table` (named t) whose `column` equals a value of the
    // one-column common table `cte` (its column named code).
    virtual QString fromRowsMatching(const QString& table, const QString& column, const QString& cte) const = 0;
    // "from ... where ..." of the rows of `table` (named t) whose `column` equals a text of one
    // bound value, and that value made of a list of texts: a list of any length costs one
    // statement. A list in ascending order is looked up the fastest.
    virtual QString fromRowsInBoundList(const QString& table, const QString& column) const = 0;
    // The one bound value of textSetSource() and fromRowsInBoundList(): any texts, quotes and
    // backslashes among them.
    virtual QString boundList(const QStringList& values) const = 0;
};

}  // namespace qx
