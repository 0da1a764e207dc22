#include "platform/row_stream.h"

#include "platform/database.h"

#include <QSqlDriver>
#include <QSqlQuery>

#include <libpq-fe.h>
#include <sqlite3.h>

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace qx {

namespace {

enum Kind { kSqlite, kPostgres, kRecordset };

// Only texts and NULLs are bound on the direct paths; anything else goes through a recordset.
bool onlyTexts(const QVariantList& params)
{
    for (const QVariant& p : params)
        if (!p.isNull() && p.metaType().id() != QMetaType::QString) return false;
    return true;
}

std::optional<double> finite(double d) { return std::isfinite(d) ? std::optional<double>(d) : std::nullopt; }

// A text that reads whole as a number, as a recordset's variant would convert it.
std::optional<double> textNumber(std::string_view t)
{
    bool ok = false;
    const double d = QByteArray(t.data(), qsizetype(t.size())).trimmed().toDouble(&ok);
    return ok ? finite(d) : std::nullopt;
}

}  // namespace

bool isNullValue(const QVariant& p) { return p.isNull() || p.toString().isNull(); }

struct RowSource {
    static RowView view(const void* source, int kind, int row = 0)
    {
        RowView v;
        v.source_ = source;
        v.kind_ = kind;
        v.row_ = row;
        return v;
    }
};

bool RowView::isNull(int c) const
{
    switch (kind_) {
        case kSqlite:
            return sqlite3_column_type(static_cast<sqlite3_stmt*>(const_cast<void*>(source_)), c) == SQLITE_NULL;
        case kPostgres:
            return PQgetisnull(static_cast<const PGresult*>(source_), row_, c);
        default:
            return static_cast<const Recordset*>(source_)->value(row_, c).isNull();
    }
}

std::string_view RowView::text(int c) const
{
    switch (kind_) {
        case kSqlite: {
            auto* st = static_cast<sqlite3_stmt*>(const_cast<void*>(source_));
            const auto* t = reinterpret_cast<const char*>(sqlite3_column_text(st, c));
            return t ? std::string_view(t, size_t(sqlite3_column_bytes(st, c))) : std::string_view();
        }
        case kPostgres: {
            const auto* res = static_cast<const PGresult*>(source_);
            return std::string_view(PQgetvalue(res, row_, c), size_t(PQgetlength(res, row_, c)));
        }
        default: {
            if (texts_.size() <= size_t(c)) texts_.resize(size_t(c) + 1);
            texts_[size_t(c)] = static_cast<const Recordset*>(source_)->value(row_, c).toString().toUtf8();
            return std::string_view(texts_[size_t(c)].constData(), size_t(texts_[size_t(c)].size()));
        }
    }
}

std::optional<double> RowView::number(int c) const
{
    if (isNull(c)) return std::nullopt;
    switch (kind_) {
        case kSqlite: {
            auto* st = static_cast<sqlite3_stmt*>(const_cast<void*>(source_));
            const int type = sqlite3_column_type(st, c);
            if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) return finite(sqlite3_column_double(st, c));
            return textNumber(text(c));
        }
        case kPostgres: {
            // The server writes numbers in the C locale; anything that does not read whole is no number.
            const std::string_view t = text(c);
            double d = 0;
            const auto [end, error] = std::from_chars(t.data(), t.data() + t.size(), d);
            if (error == std::errc() && end == t.data() + t.size()) return finite(d);
            return textNumber(t);
        }
        default: {
            bool ok = false;
            const double d = static_cast<const Recordset*>(source_)->value(row_, c).toDouble(&ok);
            return ok ? finite(d) : std::nullopt;
        }
    }
}

namespace {

// The connection's own handle of the driver named, or null.
void* driverHandle(Database& db, const char* type1, const char* type2)
{
    QSqlQuery probe = db.run(QStringLiteral("SELECT 1"), {});
    const QVariant h = probe.driver()->handle();
    if (qstrcmp(h.typeName(), type1) != 0 && qstrcmp(h.typeName(), type2) != 0) return nullptr;
    return *static_cast<void* const*>(h.constData());
}

bool readSqlite(Database& db, const QString& sql, const QVariantList& params, const std::function<void()>& start,
                const std::function<void(const RowView&)>& take)
{
    auto* handle = static_cast<sqlite3*>(driverHandle(db, "sqlite3*", "sqlite3*"));
    if (!handle) return false;
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(handle, text.constData(), int(text.size()), &st, nullptr) != SQLITE_OK || !st ||
        !sqlite3_stmt_readonly(st)) {
        sqlite3_finalize(st);
        return false;
    }
    for (int i = 0; i < params.size(); ++i) {
        int rc = SQLITE_OK;
        if (isNullValue(params[i])) {
            rc = sqlite3_bind_null(st, i + 1);
        } else {
            const QByteArray v = params[i].toString().toUtf8();
            rc = sqlite3_bind_text(st, i + 1, v.constData(), int(v.size()), SQLITE_TRANSIENT);
        }
        if (rc != SQLITE_OK) {
            sqlite3_finalize(st);
            return false;
        }
    }
    start();
    const RowView row = RowSource::view(st, kSqlite);
    int rc;
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) take(row);
    sqlite3_finalize(st);
    return rc == SQLITE_DONE;
}

bool readPostgres(Database& db, const QString& sql, const QVariantList& params, const std::function<void()>& start,
                  const std::function<void(const RowView&)>& take)
{
    auto* conn = static_cast<PGconn*>(driverHandle(db, "PGconn*", "pg_conn*"));
    // Outside a transaction only: a failing statement must not abort one before the driver can
    // report the failure.
    if (!conn || PQtransactionStatus(conn) != PQTRANS_IDLE || PQisBusy(conn)) return false;
    const QByteArray text = postgresPlaceholders(sql, params.size());
    if (text.isEmpty()) return false;
    std::vector<QByteArray> values;
    std::vector<const char*> pointers;
    values.reserve(size_t(params.size()));
    for (const QVariant& p : params) values.push_back(isNullValue(p) ? QByteArray() : p.toString().toUtf8());
    for (const QByteArray& v : values) pointers.push_back(v.isNull() ? nullptr : v.constData());
    PGresult* res = PQexecParams(conn, text.constData(), int(pointers.size()), nullptr, pointers.data(), nullptr,
                                 nullptr, 0);
    if (PQresultStatus(res) != PGRES_TUPLES_OK) {
        PQclear(res);
        return false;
    }
    start();
    const int rows = PQntuples(res);
    for (int r = 0; r < rows; ++r) take(RowSource::view(res, kPostgres, r));
    PQclear(res);
    return true;
}

}  // namespace

void readRows(Database& db, const QString& sql, const QVariantList& params, const std::function<void()>& start,
              const std::function<void(const RowView&)>& take)
{
    if (!db.inTransaction() && onlyTexts(params)) {
        const bool direct = db.backend() == Backend::Sqlite ? readSqlite(db, sql, params, start, take)
                                                            : readPostgres(db, sql, params, start, take);
        if (direct) return;
    }
    const auto rs = db.openRecordset(sql, RecordsetType::Snapshot, 0, params);
    start();
    const int rows = rs->recordCount();
    for (int r = 0; r < rows; ++r) take(RowSource::view(rs.get(), kRecordset, r));
}

QByteArray postgresPlaceholders(const QString& sql, qsizetype params)
{
    QByteArray text;
    int marks = 0;
    char quote = 0;
    for (const char c : sql.toUtf8()) {
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == '?') {
            text += '$' + QByteArray::number(++marks);
            continue;
        }
        text += c;
    }
    return marks == params ? text : QByteArray();
}

}  // namespace qx
