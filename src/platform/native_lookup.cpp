#include "platform/native_lookup.h"

#include "platform/database.h"

#include <QVariant>

#include <sqlite3.h>

namespace qx {

struct NativeLookup::Impl {
    sqlite3* handle = nullptr;
    sqlite3_stmt* statement = nullptr;
    bool ownTransaction = false;

    void finish()
    {
        sqlite3_finalize(statement);
        statement = nullptr;
        if (ownTransaction) sqlite3_exec(handle, "COMMIT", nullptr, nullptr, nullptr);
        ownTransaction = false;
    }
};

NativeLookup::NativeLookup(Database& db, const QString& sql) : d(std::make_unique<Impl>())
{
    if (db.backend() != Backend::Sqlite) return;
    const QVariant h = db.nativeHandle();
    if (qstrcmp(h.typeName(), "sqlite3*") != 0) return;
    d->handle = *static_cast<sqlite3* const*>(h.constData());
    if (!d->handle) return;
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(d->handle, text.constData(), int(text.size()), &d->statement, nullptr) != SQLITE_OK ||
        !d->statement || !sqlite3_stmt_readonly(d->statement)) {
        d->finish();
        return;
    }
    // One read transaction for all the questions: without it each one would begin and end its
    // own, which costs more than the question.
    if (sqlite3_get_autocommit(d->handle)) {
        if (sqlite3_exec(d->handle, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK) {
            d->finish();
            return;
        }
        d->ownTransaction = true;
    }
}

NativeLookup::~NativeLookup() { d->finish(); }

bool NativeLookup::available() const { return d->statement != nullptr; }

bool NativeLookup::rows(const QByteArray& key, std::vector<QByteArray>& out)
{
    if (!d->statement) return false;
    sqlite3_stmt* st = d->statement;
    sqlite3_reset(st);
    if (sqlite3_bind_text(st, 1, key.constData(), int(key.size()), SQLITE_TRANSIENT) != SQLITE_OK) {
        d->finish();
        return false;
    }
    const int columns = sqlite3_column_count(st);
    int rc;
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
        for (int c = 0; c < columns; ++c) {
            const auto* t = static_cast<const char*>(static_cast<const void*>(sqlite3_column_text(st, c)));
            out.emplace_back(t ? t : "", sqlite3_column_bytes(st, c));
        }
    }
    if (rc != SQLITE_DONE) {
        d->finish();
        return false;
    }
    return true;
}

NativeStatement::NativeStatement(Database& db, const QString& sql) : db_(db), sql_(sql)
{
    if (db.backend() != Backend::Sqlite || !db.inTransaction()) return;
    const QVariant h = db.nativeHandle();
    if (qstrcmp(h.typeName(), "sqlite3*") != 0) return;
    sqlite3* handle = *static_cast<sqlite3* const*>(h.constData());
    if (!handle) return;
    const QByteArray text = sql.toUtf8();
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(handle, text.constData(), int(text.size()), &st, nullptr) != SQLITE_OK) {
        sqlite3_finalize(st);
        return;
    }
    statement_ = st;
    handle_ = handle;
}

NativeStatement::~NativeStatement() { sqlite3_finalize(static_cast<sqlite3_stmt*>(statement_)); }

bool NativeStatement::available() const { return statement_ != nullptr; }

bool NativeStatement::run(const QVariantList& params)
{
    auto* st = static_cast<sqlite3_stmt*>(statement_);
    if (!st) return false;
    sqlite3_reset(st);
    for (int i = 0; i < params.size(); ++i) {
        const QVariant& p = params[i];
        const int type = p.metaType().id();
        int rc;
        if (p.isNull() || (type == QMetaType::QString && p.toString().isNull())) {
            rc = sqlite3_bind_null(st, i + 1);
        } else if (type == QMetaType::QString) {
            const QString v = p.toString();
            rc = sqlite3_bind_text16(st, i + 1, v.utf16(), int(v.size() * 2), SQLITE_TRANSIENT);
        } else if (type == QMetaType::Double || type == QMetaType::Float) {
            rc = sqlite3_bind_double(st, i + 1, p.toDouble());
        } else if (type == QMetaType::Int || type == QMetaType::LongLong || type == QMetaType::Bool) {
            rc = sqlite3_bind_int64(st, i + 1, p.toLongLong());
        } else {
            return false;  // a type the driver knows better
        }
        if (rc != SQLITE_OK) return false;
    }
    if (sqlite3_step(st) == SQLITE_DONE) return true;
    auto* handle = static_cast<sqlite3*>(handle_);
    const int code = sqlite3_extended_errcode(handle);
    const QString message = QString::fromUtf8(sqlite3_errmsg(handle));
    sqlite3_reset(st);
    throw db_.nativeError(code, message, sql_);
}

}  // namespace qx
