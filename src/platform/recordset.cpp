// Recordsets: rows read through the databases' own C APIs, kept in compact columns, with
// navigation, find, filter and the writes of an updatable set.
#include "platform/database.h"

#include "texts/texts.h"
#include "platform/cell_store.h"
#include "platform/native_lookup.h"
#include "platform/row_stream.h"
#include "platform/sql_dialect.h"

#include <QHash>
#include <QSqlQuery>
#include <QSqlRecord>

#include <libpq-fe.h>
#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace qx {

namespace {

bool isNumeric(const QVariant& v)
{
    switch (v.metaType().id()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

// A value as a number, when it is one: a numeric variant, or a text that is a whole number text.
bool asNumber(const QVariant& v, double& out)
{
    if (isNumeric(v)) {
        out = v.toDouble();
        return true;
    }
    if (v.metaType().id() != QMetaType::QString) return false;
    bool ok = false;
    out = v.toString().trimmed().toDouble(&ok);
    return ok;
}

// The text of a text cell without a copy (nullptr for any other type).
const QString* textOf(const QVariant& v)
{
    return v.metaType().id() == QMetaType::QString ? static_cast<const QString*>(v.constData())
                                                   : nullptr;
}

// Exact comparison as the databases' "=" makes it: numbers numerically when both sides are
// numbers and the cell is a numeric column; otherwise as text; NULL never matches.
bool cellMatches(const QVariant& cell, const QVariant& wanted)
{
    if (cell.isNull() || wanted.isNull()) return false;
    const QString* cellText = textOf(cell);
    const QString* wantedText = textOf(wanted);
    if (cellText && wantedText) return *cellText == *wantedText;
    double a = 0, b = 0;
    if (isNumeric(cell) && asNumber(wanted, b)) {
        a = cell.toDouble();
        return a == b;
    }
    if (isNumeric(cell) && isNumeric(wanted)) return cell.toDouble() == wanted.toDouble();
    if (isNumeric(wanted) && asNumber(cell, a)) return a == wanted.toDouble();
    return cell.toString() == wanted.toString();
}

// A number of a PostgreSQL row, from its text: the same value strtod and strtol give, read
// without their locale and error handling (which the server's texts never need); anything the
// quick reading does not take whole goes to them.
double realOf(const char* v, int length)
{
    double x = 0;
    const auto [end, ec] = std::from_chars(v, v + length, x);
    return ec == std::errc() && end == v + length ? x : std::strtod(v, nullptr);
}

qlonglong integerOf(const char* v, int length)
{
    qlonglong n = 0;
    const auto [end, ec] = std::from_chars(v, v + length, n);
    return ec == std::errc() && end == v + length ? n : qlonglong(std::strtoll(v, nullptr, 10));
}

enum class EditMode { None, Add, Edit };

// The visible rows, in order: while they are simply all the rows (no filter, none deleted) they
// take no memory.
class RowList {
public:
    size_t size() const { return all_ ? size_t(count_) : rows_.size(); }
    bool empty() const { return size() == 0; }
    int operator[](size_t i) const { return all_ ? int(i) : rows_[i]; }
    void clear()
    {
        all_ = true;
        count_ = 0;
        std::vector<int>().swap(rows_);
    }
    void reserve(size_t) {}
    void push_back(int r)
    {
        if (all_ && r == count_) {
            ++count_;
            return;
        }
        spell();
        rows_.push_back(r);
    }
    void eraseAt(size_t i)
    {
        spell();
        rows_.erase(rows_.begin() + qsizetype(i));
    }

private:
    void spell()
    {
        if (!all_) return;
        rows_.resize(size_t(count_));
        for (int i = 0; i < count_; ++i) rows_[size_t(i)] = i;
        all_ = false;
    }
    bool all_ = true;
    int count_ = 0;
    std::vector<int> rows_;
};

// Rows by the value of one column, for the filter: the rows whose cell may equal a value (the
// caller compares each one). Text cells (and any other cell that is no number) are found by
// their text, numeric cells by their number, never one by the other. No object per row or per
// value: one chain of row numbers per hash bucket, the chains in a single array.
class RowIndex {
public:
    int column() const { return column_; }
    void clear()
    {
        column_ = -1;
        std::vector<int>().swap(heads_);
        std::vector<int>().swap(next_);
        std::vector<char>().swap(kind_);
    }
    void build(const CellStore& rows, int column)
    {
        clear();
        column_ = column;
        size_t buckets = 1024;
        while (buckets * 4 < rows.rows()) buckets *= 2;  // chains of a few rows: little memory
        heads_.assign(buckets, -1);
        next_.reserve(rows.rows());
        kind_.reserve(rows.rows());
        for (size_t r = 0; r < rows.rows(); ++r) add(rows, int(r));
    }
    // Rows are added in order: r is the next row of the store.
    void add(const CellStore& rows, int r)
    {
        size_t h = 0;
        const char kind = keyOf(rows, r, h);
        next_.push_back(-1);
        kind_.push_back(kind);
        if (kind == kNone) return;
        int& head = heads_[h & (heads_.size() - 1)];
        next_[size_t(r)] = head;
        head = r;
    }
    void textRows(QStringView text, std::vector<int>& out) const { collect(kText, qHash(text), out); }
    void numberRows(double n, std::vector<int>& out) const { collect(kNumber, numberHash(n), out); }
    // A numeric value also finds text cells that read as the same number.
    void allTextRows(std::vector<int>& out) const
    {
        for (size_t r = 0; r < kind_.size(); ++r)
            if (kind_[r] == kText) out.push_back(int(r));
    }

private:
    static constexpr char kNone = 0, kText = 1, kNumber = 2;
    static size_t numberHash(double n)
    {
        if (n == 0) n = 0;  // -0 and 0 are one number
        return qHash(std::bit_cast<quint64>(n), 0x9e3779b9U);
    }
    char keyOf(const CellStore& rows, int r, size_t& h) const
    {
        QStringView view;
        if (rows.textView(size_t(r), column_, view)) {
            h = qHash(view);
            return kText;
        }
        const QVariant v = rows.at(size_t(r), column_);
        if (v.isNull()) return kNone;
        if (isNumeric(v)) {
            h = numberHash(v.toDouble());
            return kNumber;
        }
        if (const QString* text = textOf(v))
            h = qHash(*text);
        else
            h = qHash(v.toString());
        return kText;
    }
    void collect(char kind, size_t h, std::vector<int>& out) const
    {
        if (heads_.empty()) return;
        for (int r = heads_[h & (heads_.size() - 1)]; r >= 0; r = next_[size_t(r)])
            if (kind_[size_t(r)] == kind) out.push_back(r);
    }

    int column_ = -1;
    std::vector<int> heads_;  // the last row of each bucket's chain
    std::vector<int> next_;   // per row: the row before it in its bucket's chain
    std::vector<char> kind_;  // per row: none (a null cell), text or number
};

}  // namespace

struct Recordset::Impl {
    Database* db = nullptr;
    QString source;
    QVariantList params;
    RecordsetType type = RecordsetType::Dynaset;
    int options = 0;
    bool open = false;
    bool isTable = false;
    bool pending = false;  // opened with kFetchOnFirstUse, rows not fetched yet

    QStringList names;
    QHash<QString, int> byName;  // as the database spells them, tried first (no lower-casing)
    QHash<QString, int> byLowerName;
    CellStore rows;
    std::vector<char> alive;   // a deleted row stays in `rows` so that indexes stay valid
    RowList visible;  // indices into rows, in order
    int pos = 0;               // index into visible; -1 = BOF, visible.size() = EOF
    bool noMatch = false;

    Criteria filter;
    bool filtered = false;
    RowIndex index;  // built on the filter's first field when the filter needs it

    EditMode mode = EditMode::None;
    std::vector<QVariant> buffer;
    std::vector<char> changed;
    QStringList keyColumns;  // primary key of the base table (looked up on first write)
    bool keyLooked = false;

    int count() const { return int(visible.size()); }
    bool onRow() const { return pos >= 0 && pos < count(); }

    void requireOpen() const
    {
        if (!open) throw DbError(DbErrorKind::Other, text::kRecordsetClosed);
    }
    int lookup(const QString& name) const
    {
        if (const auto exact = byName.constFind(name); exact != byName.cend()) return exact.value();
        return byLowerName.value(name.toLower(), -1);
    }
    int fieldIndexOrThrow(const QString& name) const
    {
        const int f = lookup(name);
        if (f < 0) throw DbError(DbErrorKind::Other, text::unknownField(name));
        return f;
    }
    int currentIndex() const
    {
        requireOpen();
        if (!onRow()) throw DbError(DbErrorKind::Other, text::kNoCurrentRecord);
        return visible[size_t(pos)];
    }
    std::vector<QVariant> currentRow() const { return rows.row(size_t(currentIndex())); }
    bool writable() const
    {
        return isTable && type == RecordsetType::Dynaset && !(options & kReadOnly);
    }
    void requireWritable() const
    {
        requireOpen();
        if (!writable()) throw DbError(DbErrorKind::Other, text::kReadOnlyRecordset);
    }

    void setNames(const QStringList& fieldNames)
    {
        names.clear();
        byName.clear();
        byLowerName.clear();
        for (int i = 0; i < fieldNames.size(); ++i) {
            const QString& name = fieldNames[i];
            names << name;
            const QString lower = name.toLower();
            if (!byLowerName.contains(lower)) byLowerName.insert(lower, i);  // the first wins
            if (!byName.contains(name)) byName.insert(name, i);
        }
    }

    // SQLite: the rows straight from the library, each cell what the driver would make of it (a
    // text as a string, an integer as a 64-bit integer, a real as a double, a blob as bytes, NULL
    // as a null string), without a variant per cell on the way. False when it cannot serve (the
    // driver then reads the rows and reports any error).
    bool fetchDirect(const QString& sql)
    {
        if (db->backend() != Backend::Sqlite) return false;
        for (const QVariant& p : params) {
            switch (p.metaType().id()) {
                case QMetaType::UnknownType:
                case QMetaType::QString:
                case QMetaType::Int:
                case QMetaType::LongLong:
                case QMetaType::Double:
                case QMetaType::Bool:
                    break;
                default:
                    return false;
            }
        }
        sqlite3* handle = sqliteHandle(*db);
        if (!handle) return false;
        const QByteArray text = sql.toUtf8();
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(handle, text.constData(), int(text.size()), &st, nullptr) != SQLITE_OK || !st ||
            !sqlite3_stmt_readonly(st)) {
            sqlite3_finalize(st);
            return false;
        }
        for (int i = 0; i < params.size(); ++i) {
            const QVariant& p = params[i];
            int rc = SQLITE_OK;
            if (p.isNull() || (p.metaType().id() == QMetaType::QString && p.toString().isNull()))
                rc = sqlite3_bind_null(st, i + 1);
            else if (p.metaType().id() == QMetaType::QString) {
                const QString v = p.toString();
                rc = sqlite3_bind_text16(st, i + 1, v.utf16(), int(v.size() * 2), SQLITE_TRANSIENT);
            } else if (p.metaType().id() == QMetaType::Double)
                rc = sqlite3_bind_double(st, i + 1, p.toDouble());
            else
                rc = sqlite3_bind_int64(st, i + 1, p.toLongLong());
            if (rc != SQLITE_OK) {
                sqlite3_finalize(st);
                return false;
            }
        }
        const int n = sqlite3_column_count(st);
        QStringList fieldNames;
        for (int i = 0; i < n; ++i)
            fieldNames << QString(reinterpret_cast<const QChar*>(sqlite3_column_name16(st, i)))
                              .remove(QLatin1Char('"'));
        rows.reset(n);
        int rc;
        while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
            for (int i = 0; i < n; ++i) {
                switch (sqlite3_column_type(st, i)) {
                    case SQLITE_INTEGER:
                        rows.pushInteger(i, qlonglong(sqlite3_column_int64(st, i)));
                        break;
                    case SQLITE_FLOAT:
                        rows.pushReal(i, sqlite3_column_double(st, i));
                        break;
                    case SQLITE_NULL:
                        rows.pushNull(i, QMetaType::fromType<QString>());
                        break;
                    case SQLITE_BLOB:
                        rows.push(i, QVariant(QByteArray(static_cast<const char*>(sqlite3_column_blob(st, i)),
                                                         sqlite3_column_bytes(st, i))));
                        break;
                    default: {
                        const auto* t = reinterpret_cast<const char*>(sqlite3_column_text(st, i));
                        rows.pushText(i, t ? t : "", sqlite3_column_bytes(st, i));
                    }
                }
            }
            rows.endRow();
        }
        sqlite3_finalize(st);
        // The rows are held here now: the connection's cached pages of them are given back, so
        // that a large reading does not keep a second copy of what it read.
        sqlite3_db_release_memory(handle);
        if (rc != SQLITE_DONE) return false;
        setNames(fieldNames);
        return true;
    }

    // PostgreSQL: the rows straight from libpq, each cell what the driver would
    // make of it for the column types a company uses (texts, integers, doubles, Booleans; NULL as
    // a null of the column's type). False when it cannot serve (another type, an error): the
    // driver then reads the rows and reports any error.
    bool fetchPostgres(const QString& sql)
    {
        if (db->backend() != Backend::PostgreSql) return false;
        PGconn* conn = nullptr;
        {
            // A broken connection is found by the statement itself: the driver's reading below
            // reports it (and connects again) like any other failure.
            const QVariant h = db->nativeHandle();
            if (qstrcmp(h.typeName(), "PGconn*") != 0 && qstrcmp(h.typeName(), "pg_conn*") != 0) return false;
            conn = *static_cast<PGconn* const*>(h.constData());
        }
        // Outside a transaction only: a failing statement must not abort one before the driver
        // can report the failure.
        if (!conn || PQtransactionStatus(conn) != PQTRANS_IDLE || PQisBusy(conn)) return false;
        // "?" placeholders become $1, $2, ... (none inside quotes).
        const QByteArray text = postgresPlaceholders(sql, params.size());
        if (text.isEmpty()) return false;
        std::vector<QByteArray> values;
        std::vector<const char*> pointers;
        for (const QVariant& p : params) {
            const int type = p.metaType().id();
            if (p.isNull() || (type == QMetaType::QString && p.toString().isNull())) {
                values.emplace_back();
            } else if (type == QMetaType::QString) {
                values.push_back(p.toString().toUtf8());
            } else if (type == QMetaType::Double) {
                values.push_back(QByteArray::number(p.toDouble(), 'g', 17));
            } else if (type == QMetaType::Int || type == QMetaType::LongLong) {
                values.push_back(QByteArray::number(p.toLongLong()));
            } else if (type == QMetaType::Bool) {
                values.push_back(p.toBool() ? "true" : "false");
            } else {
                return false;
            }
        }
        for (const QByteArray& v : values) pointers.push_back(v.isNull() ? nullptr : v.constData());
        if (!PQsendQueryParams(conn, text.constData(), int(pointers.size()), nullptr, pointers.data(), nullptr,
                               nullptr, 0))
            return false;
        // Row by row: each row is converted while the server sends the next ones, and the whole
        // result is never held twice (once by libpq, once here).
        PQsetSingleRowMode(conn);
        enum Kind { Text, Int, Long, Real, Flag };
        std::vector<Kind> kinds;
        bool ok = true, started = false, ended = false;
        while (PGresult* res = PQgetResult(conn)) {
            const ExecStatusType status = PQresultStatus(res);
            if (ok && !started && (status == PGRES_SINGLE_TUPLE || status == PGRES_TUPLES_OK)) {
                started = true;
                QStringList fieldNames;
                const int n = PQnfields(res);
                for (int i = 0; i < n && ok; ++i) {
                    fieldNames << QString::fromUtf8(PQfname(res, i));
                    switch (PQftype(res, i)) {
                        case 18: case 19: case 25: case 1042: case 1043: kinds.push_back(Text); break;
                        case 21: case 23: kinds.push_back(Int); break;
                        case 20: kinds.push_back(Long); break;
                        case 700: case 701: case 1700: kinds.push_back(Real); break;
                        case 16: kinds.push_back(Flag); break;
                        default: ok = false;
                    }
                }
                if (ok) {
                    setNames(fieldNames);
                    rows.reset(n);
                }
            }
            const int tuples = ok && (status == PGRES_SINGLE_TUPLE || status == PGRES_TUPLES_OK) ? PQntuples(res) : 0;
            for (int t = 0; t < tuples; ++t) {
                for (int i = 0; i < int(kinds.size()); ++i) {
                    const char* v = PQgetvalue(res, t, i);
                    const int length = PQgetlength(res, t, i);
                    // A null has no characters: only an empty value needs asking.
                    const bool null = length == 0 && PQgetisnull(res, t, i);
                    switch (kinds[size_t(i)]) {
                        case Text:
                            if (null)
                                rows.pushNull(i, QMetaType::fromType<QString>());
                            else
                                rows.pushText(i, v, length);
                            break;
                        case Int:
                            if (null)
                                rows.pushNull(i, QMetaType::fromType<int>());
                            else
                                rows.pushInt(i, int(integerOf(v, length)));
                            break;
                        case Long:
                            if (null)
                                rows.pushNull(i, QMetaType::fromType<qlonglong>());
                            else
                                rows.pushInteger(i, integerOf(v, length));
                            break;
                        case Real:
                            if (null)
                                rows.pushNull(i, QMetaType::fromType<double>());
                            else
                                rows.pushReal(i, realOf(v, length));
                            break;
                        case Flag:
                            if (null)
                                rows.pushNull(i, QMetaType::fromType<bool>());
                            else
                                rows.push(i, QVariant(v[0] == 't'));
                            break;
                    }
                }
                rows.endRow();
            }
            if (status == PGRES_TUPLES_OK)
                ended = true;
            else if (status != PGRES_SINGLE_TUPLE)
                ok = false;
            PQclear(res);
        }
        return ok && started && ended;
    }

    void fetch()
    {
        const QString sql = isTable ? QStringLiteral("SELECT * FROM ") + source : source;
        if (fetchDirect(sql) || fetchPostgres(sql)) {
            rows.finish();
            alive.assign(rows.rows(), 1);
            dropIndex();
            mode = EditMode::None;
            applyFilter();
            return;
        }
        QSqlQuery q = db->run(sql, params);
        const QSqlRecord rec = q.record();
        const int n = rec.count();
        QStringList fieldNames;
        for (int i = 0; i < n; ++i) fieldNames << rec.fieldName(i);
        setNames(fieldNames);
        rows.reset(n);
        while (q.next()) {
            for (int i = 0; i < n; ++i) rows.push(i, q.value(i));
            rows.endRow();
        }
        rows.finish();
        alive.assign(rows.rows(), 1);
        dropIndex();
        mode = EditMode::None;
        applyFilter();
    }

    // The rows of a recordset opened for fetching on first use; a failed fetch is tried again
    // at the next use.
    // The first visible row from the top (or, for the next, below the current one) that meets
    // the criteria becomes current; none leaves the position and says so.
    void find(const Criteria& criteria, bool next)
    {
        ensureFetched();
        requireOpen();
        const auto terms = resolve(criteria);
        for (int i = next ? std::max(pos + 1, 0) : 0; i < count(); ++i) {
            if (rowMatches(visible[size_t(i)], terms)) {
                mode = EditMode::None;
                pos = i;
                noMatch = false;
                return;
            }
        }
        noMatch = true;
    }

    void ensureFetched()
    {
        if (!pending) return;
        fetch();
        pending = false;
    }

    // Whether the statement would run, without running it: SQLite prepares it, PostgreSQL has
    // the server prepare it (outside a transaction). False when it cannot tell.
    bool statementChecks()
    {
        const QByteArray text = (isTable ? QStringLiteral("SELECT * FROM ") + source : source).toUtf8();
        if (!params.isEmpty()) return false;
        const QVariant h = db->nativeHandle();
        if (qstrcmp(h.typeName(), "sqlite3*") == 0) {
            sqlite3* handle = *static_cast<sqlite3* const*>(h.constData());
            sqlite3_stmt* st = nullptr;
            const bool ok = handle && sqlite3_prepare_v2(handle, text.constData(), int(text.size()), &st,
                                                         nullptr) == SQLITE_OK && st && sqlite3_stmt_readonly(st);
            sqlite3_finalize(st);
            return ok;
        }
        if (qstrcmp(h.typeName(), "PGconn*") == 0 || qstrcmp(h.typeName(), "pg_conn*") == 0) {
            PGconn* conn = *static_cast<PGconn* const*>(h.constData());
            if (!conn || PQtransactionStatus(conn) != PQTRANS_IDLE || PQisBusy(conn)) return false;
            PGresult* res = PQprepare(conn, "", text.constData(), 0, nullptr);
            const bool ok = PQresultStatus(res) == PGRES_COMMAND_OK;
            PQclear(res);
            return ok;
        }
        return false;
    }

    bool rowMatches(int r, const std::vector<std::pair<int, QVariant>>& terms) const
    {
        for (const auto& [f, v] : terms) {
            // A text cell against a text: compared in place (the common find and filter).
            QStringView cell;
            if (const QString* wanted = textOf(v); wanted && !v.isNull() && rows.textView(size_t(r), f, cell)) {
                if (cell != *wanted) return false;
                continue;
            }
            if (!cellMatches(rows.at(size_t(r), f), v)) return false;
        }
        return true;
    }

    std::vector<std::pair<int, QVariant>> resolve(const Criteria& c) const
    {
        std::vector<std::pair<int, QVariant>> out;
        for (const auto& t : c.terms()) out.emplace_back(fieldIndexOrThrow(t.field), t.value);
        return out;
    }

    void dropIndex() { index.clear(); }
    void applyFilter()
    {
        visible.clear();
        if (!filtered) {
            visible.reserve(rows.rows());
            for (int r = 0; r < int(rows.rows()); ++r)
                if (alive[size_t(r)]) visible.push_back(r);
        } else {
            const auto terms = resolve(filter);
            if (index.column() != terms.front().first) index.build(rows, terms.front().first);
            const QVariant& wanted = terms.front().second;
            std::vector<int> candidates;
            if (!wanted.isNull()) {
                double n = 0;
                if (asNumber(wanted, n)) index.numberRows(n, candidates);
                if (!isNumeric(wanted))
                    index.textRows(wanted.toString(), candidates);
                else
                    index.allTextRows(candidates);
                std::sort(candidates.begin(), candidates.end());
                candidates.erase(std::unique(candidates.begin(), candidates.end()),
                                 candidates.end());
            }
            for (int r : candidates)
                if (alive[size_t(r)] && rowMatches(r, terms)) visible.push_back(r);
        }
        pos = visible.empty() ? -1 : 0;
    }

    // Row key of the base table for UPDATE/DELETE: the primary key, else every column.
    QString whereClause(const std::vector<QVariant>& original, QVariantList& params)
    {
        if (!keyLooked) {
            keyColumns = db->primaryKey(source);
            keyLooked = true;
        }
        QStringList parts;
        if (!keyColumns.isEmpty()) {
            for (const QString& k : keyColumns) {
                const int f = fieldIndexOrThrow(k);
                parts << names[f] + QStringLiteral(" = ?");
                params << original[size_t(f)];
            }
        } else {
            for (int f = 0; f < int(names.size()); ++f) {
                parts << db->dialect().nullSafeEquals(names[f]);
                params << original[size_t(f)];
            }
        }
        if (parts.isEmpty()) throw DbError(DbErrorKind::Other, text::kNoRowKey);
        return parts.join(QStringLiteral(" AND "));
    }
};

Recordset::Recordset() : d(std::make_unique<Impl>()) {}
Recordset::~Recordset() = default;

std::unique_ptr<Recordset> Database::openRecordset(const QString& source, RecordsetType type,
                                                   int options, const QVariantList& params)
{
    std::unique_ptr<Recordset> rs(new Recordset());
    Recordset::Impl& r = *rs->d;
    r.db = this;
    r.source = source.trimmed();
    r.params = params;
    r.type = type;
    r.options = options;
    r.isTable = !r.source.isEmpty() &&
                std::none_of(r.source.begin(), r.source.end(), [](QChar c) { return c.isSpace(); });
    // A statement that does not check is run at once, so that its failure is reported here as
    // ever.
    r.pending = (options & kFetchOnFirstUse) && r.statementChecks();
    if (!r.pending) r.fetch();
    r.open = true;
    return rs;
}

RecordsetType Recordset::type() const { return d->type; }
bool Recordset::isOpen() const { return d->open; }
bool Recordset::updatable() const { return d->open && d->writable(); }

bool Recordset::bof() const
{
    d->ensureFetched();
    return d->visible.empty() || d->pos < 0;
}
bool Recordset::eof() const
{
    d->ensureFetched();
    return d->visible.empty() || d->pos >= d->count();
}

void Recordset::moveFirst()
{
    d->ensureFetched();
    d->requireOpen();
    d->mode = EditMode::None;
    d->pos = d->visible.empty() ? -1 : 0;
}
void Recordset::moveLast()
{
    d->ensureFetched();
    d->requireOpen();
    d->mode = EditMode::None;
    d->pos = d->visible.empty() ? -1 : d->count() - 1;
}
void Recordset::moveNext()
{
    d->ensureFetched();
    d->requireOpen();
    if (eof() && !d->visible.empty()) throw DbError(DbErrorKind::Other, text::kNoCurrentRecord);
    d->mode = EditMode::None;
    d->pos = std::min(d->pos + 1, d->count());
}
void Recordset::movePrevious()
{
    d->ensureFetched();
    d->requireOpen();
    if (bof() && !d->visible.empty()) throw DbError(DbErrorKind::Other, text::kNoCurrentRecord);
    d->mode = EditMode::None;
    d->pos = std::max(d->pos - 1, -1);
}
int Recordset::recordCount() const
{
    d->ensureFetched();
    return d->count();
}
int Recordset::absolutePosition() const
{
    d->ensureFetched();
    return d->onRow() ? d->pos : -1;
}
void Recordset::setAbsolutePosition(int position)
{
    d->ensureFetched();
    d->requireOpen();
    if (position < 0 || position >= d->count())
        throw DbError(DbErrorKind::Other, text::kNoCurrentRecord);
    d->mode = EditMode::None;
    d->pos = position;
}

int Recordset::fieldCount() const
{
    d->ensureFetched();
    return int(d->names.size());
}
QString Recordset::fieldName(int index) const
{
    d->ensureFetched();
    return d->names.value(index);
}
bool Recordset::hasField(const QString& name) const
{
    d->ensureFetched();
    return d->lookup(name) >= 0;
}
int Recordset::fieldIndex(const QString& name) const
{
    d->ensureFetched();
    return d->lookup(name);
}

QVariant Recordset::field(const QString& name) const
{
    d->ensureFetched();
    return field(d->fieldIndexOrThrow(name));
}

QVariant Recordset::field(int index) const
{
    d->ensureFetched();
    if (index < 0 || index >= fieldCount())
        throw DbError(DbErrorKind::Other, text::unknownField(QString::number(index)));
    // While a row is being added or edited, its fields read back what was set.
    if (d->mode != EditMode::None) return d->buffer[size_t(index)];
    return d->rows.at(size_t(d->currentIndex()), index);
}

QVariant Recordset::value(int row, int fieldIndex) const
{
    d->ensureFetched();
    return d->rows.at(size_t(d->visible[size_t(row)]), fieldIndex);
}

void Recordset::findFirst(const Criteria& criteria)
{
    d->find(criteria, false);
}

void Recordset::findFirst(const QString& criterionText) { findFirst(Criteria::parse(criterionText)); }

void Recordset::findNext(const Criteria& criteria)
{
    d->find(criteria, true);
}

bool Recordset::noMatch() const { return d->noMatch; }

void Recordset::setFilter(const Criteria& criteria)
{
    d->ensureFetched();
    d->requireOpen();
    if (criteria.empty()) {
        clearFilter();
        return;
    }
    d->resolve(criteria);  // an unknown field is refused before anything changes
    d->filter = criteria;
    d->filtered = true;
    d->mode = EditMode::None;
    d->applyFilter();
}

void Recordset::clearFilter()
{
    d->ensureFetched();
    d->requireOpen();
    d->filtered = false;
    d->filter = Criteria();
    d->mode = EditMode::None;
    d->applyFilter();
}

void Recordset::addNew()
{
    d->ensureFetched();
    d->requireWritable();
    d->mode = EditMode::Add;
    d->buffer.assign(d->names.size(), QVariant());
    d->changed.assign(d->names.size(), 0);
}

void Recordset::edit()
{
    d->ensureFetched();
    d->requireWritable();
    d->buffer = d->currentRow();
    d->changed.assign(d->names.size(), 0);
    d->mode = EditMode::Edit;
}

void Recordset::setField(const QString& name, const QVariant& value)
{
    d->ensureFetched();
    d->requireWritable();
    if (d->mode == EditMode::None) throw DbError(DbErrorKind::Other, text::kNotEditing);
    const int f = d->fieldIndexOrThrow(name);
    d->buffer[size_t(f)] = value;
    d->changed[size_t(f)] = 1;
}

void Recordset::update()
{
    d->ensureFetched();
    d->requireWritable();
    if (d->mode == EditMode::None) throw DbError(DbErrorKind::Other, text::kNotEditing);
    QStringList cols;
    QVariantList params;
    for (int f = 0; f < int(d->names.size()); ++f) {
        if (!d->changed[size_t(f)]) continue;
        cols << d->names[f];
        params << d->buffer[size_t(f)];
    }
    if (d->mode == EditMode::Add) {
        QString sql;
        if (cols.isEmpty()) {
            sql = QStringLiteral("INSERT INTO %1 DEFAULT VALUES").arg(d->source);
        } else {
            QStringList marks;
            for (qsizetype i = 0; i < cols.size(); ++i) marks << QStringLiteral("?");
            sql = QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                      .arg(d->source, cols.join(QStringLiteral(", ")),
                           marks.join(QStringLiteral(", ")));
        }
        d->db->execute(sql, params);
        // The new row joins the fetched rows (at the end, as a dynaset shows added rows); the
        // current row stays the one before addNew.
        const int r = int(d->rows.rows());
        d->rows.appendRow(d->buffer);
        d->alive.push_back(1);
        if (d->index.column() >= 0) d->index.add(d->rows, r);
        if (!d->filtered || d->rowMatches(r, d->resolve(d->filter))) {
            const bool wasEmpty = d->visible.empty();
            const bool wasEof = d->pos >= d->count();
            d->visible.push_back(r);
            if (wasEmpty)
                d->pos = 0;
            else if (wasEof)
                d->pos = d->count();
        }
    } else {
        const int r = d->visible[size_t(d->pos)];
        if (!cols.isEmpty()) {
            QVariantList whereParams;
            const QString where = d->whereClause(d->rows.row(size_t(r)), whereParams);
            QStringList sets;
            for (const QString& c : cols) sets << c + QStringLiteral(" = ?");
            const QString sql = QStringLiteral("UPDATE %1 SET %2 WHERE %3")
                                    .arg(d->source, sets.join(QStringLiteral(", ")), where);
            if (d->db->execute(sql, params + whereParams) == 0)
                throw DbError(DbErrorKind::RecordDeleted, text::kRecordDeleted);
            if (d->index.column() >= 0 && d->changed[size_t(d->index.column())])
                d->dropIndex();  // rebuilt on the next filter
            d->rows.setRow(size_t(r), d->buffer);
        }
    }
    d->mode = EditMode::None;
}

void Recordset::cancelUpdate()
{
    d->mode = EditMode::None;
}

void Recordset::deleteCurrent()
{
    d->ensureFetched();
    d->requireWritable();
    d->mode = EditMode::None;
    (void)d->currentRow();
    const int r = d->visible[size_t(d->pos)];
    QVariantList params;
    const QString where = d->whereClause(d->rows.row(size_t(r)), params);
    if (d->db->execute(QStringLiteral("DELETE FROM %1 WHERE %2").arg(d->source, where), params) == 0)
        throw DbError(DbErrorKind::RecordDeleted, text::kRecordDeleted);
    d->alive[size_t(r)] = 0;
    d->visible.eraseAt(size_t(d->pos));
    // The deleted row is no longer current; a following moveNext lands on the row after it.
    d->pos -= 1;
}

void Recordset::requery()
{
    d->requireOpen();
    d->fetch();
    d->pending = false;
}

void Recordset::close()
{
    d->open = false;
    d->pending = false;
    d->rows.clear();
    d->alive.clear();
    d->visible.clear();
    d->dropIndex();
    d->pos = -1;
    d->mode = EditMode::None;
}

}  // namespace qx