#include "platform/native_lookup.h"

#include "platform/database.h"

#include <QVarLengthArray>
#include <QVariant>

#include <sqlite3.h>

namespace qx {

sqlite3* sqliteHandle(Database& db)
{
    if (db.backend() != Backend::Sqlite) return nullptr;
    const QVariant h = db.nativeHandle();
    if (qstrcmp(h.typeName(), "sqlite3*") != 0) return nullptr;
    return *static_cast<sqlite3* const*>(h.constData());
}

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
    d->handle = sqliteHandle(db);
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

namespace {

// Steps `st` for `key`, handing every row to `row`; false on an error of the library.
template <class Row>
bool stepRows(sqlite3_stmt* st, const QByteArray& key, Row&& row)
{
    // The key stays where it is until the statement is reset below: it need not be copied.
    if (sqlite3_bind_text(st, 1, key.constData(), int(key.size()), SQLITE_STATIC) != SQLITE_OK) {
        sqlite3_reset(st);
        return false;
    }
    int rc;
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) row(st);
    sqlite3_reset(st);
    sqlite3_clear_bindings(st);
    return rc == SQLITE_DONE;
}

}  // namespace

bool NativeLookup::values(const QByteArray& key, QVariantList& out)
{
    if (!d->statement) return false;
    const int columns = sqlite3_column_count(d->statement);
    const bool done = stepRows(d->statement, key, [&](sqlite3_stmt* st) {
        for (int c = 0; c < columns; ++c) {
            switch (sqlite3_column_type(st, c)) {
                case SQLITE_INTEGER:
                    out.append(QVariant(qlonglong(sqlite3_column_int64(st, c))));
                    break;
                case SQLITE_FLOAT:
                    out.append(QVariant(sqlite3_column_double(st, c)));
                    break;
                case SQLITE_NULL:
                    out.append(QVariant());
                    break;
                default: {
                    const auto* t = static_cast<const char*>(
                        static_cast<const void*>(sqlite3_column_text(st, c)));
                    out.append(QVariant(QString::fromUtf8(t, sqlite3_column_bytes(st, c))));
                }
            }
        }
    });
    if (!done) d->finish();
    return done;
}

QByteArrayView NativeLookup::Row::text(int column) const
{
    auto* st = static_cast<sqlite3_stmt*>(statement_);
    const auto* t =
        static_cast<const char*>(static_cast<const void*>(sqlite3_column_text(st, column)));
    return QByteArrayView(t ? t : "", sqlite3_column_bytes(st, column));
}

qint64 NativeLookup::Row::integer(int column) const
{
    return sqlite3_column_int64(static_cast<sqlite3_stmt*>(statement_), column);
}

bool NativeLookup::visit(const QByteArray& key, const std::function<void(const Row&)>& row)
{
    if (!d->statement) return false;
    const bool done = stepRows(d->statement, key, [&](sqlite3_stmt* st) { row(Row(st)); });
    if (!done) d->finish();
    return done;
}

QByteArray jsonKeyArray(const std::vector<QByteArray>& keys, size_t from, size_t to)
{
    static const char hex[] = "0123456789abcdef";
    QByteArray out;
    out.reserve(qsizetype(2 + (to - from) * 12));
    out += '[';
    for (size_t k = from; k < to; ++k) {
        if (k > from) out += ',';
        out += '"';
        for (const char c : keys[k]) {
            const auto u = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\') {
                out += '\\';
                out += c;
            } else if (u < 0x20) {
                out += "\\u00";
                out += hex[u >> 4];
                out += hex[u & 0xf];
            } else {
                out += c;
            }
        }
        out += '"';
    }
    out += ']';
    return out;
}

QByteArray jsonKeyArray(const QStringList& keys)
{
    std::vector<QByteArray> utf8;
    utf8.reserve(size_t(keys.size()));
    for (const QString& k : keys) utf8.push_back(k.toUtf8());
    return jsonKeyArray(utf8, 0, utf8.size());
}

NativeStatement::NativeStatement(Database& db, const QString& sql) : db_(db), sql_(sql)
{
    if (!db.inTransaction()) return;
    sqlite3* handle = sqliteHandle(db);
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
    // Texts go over in UTF-8, the company file's own encoding, so that the library need not
    // convert them again; each is held here until the statement has run.
    QVarLengthArray<QByteArray, 16> texts;
    texts.reserve(params.size());
    for (int i = 0; i < params.size(); ++i) {
        const QVariant& p = params[i];
        const int type = p.metaType().id();
        int rc;
        if (p.isNull() || (type == QMetaType::QString && p.toString().isNull())) {
            rc = sqlite3_bind_null(st, i + 1);
        } else if (type == QMetaType::QString) {
            const QString& v = *static_cast<const QString*>(p.constData());
            if (v.isValidUtf16()) {
                texts.append(v.toUtf8());
                rc = sqlite3_bind_text(st, i + 1, texts.back().constData(),
                                       int(texts.back().size()), SQLITE_STATIC);
            } else {
                // A lone surrogate: the library's own conversion decides what is stored, as always.
                rc = sqlite3_bind_text16(st, i + 1, v.utf16(), int(v.size() * 2), SQLITE_TRANSIENT);
            }
        } else if (type == QMetaType::Double || type == QMetaType::Float) {
            rc = sqlite3_bind_double(st, i + 1, p.toDouble());
        } else if (type == QMetaType::Int || type == QMetaType::LongLong || type == QMetaType::Bool) {
            rc = sqlite3_bind_int64(st, i + 1, p.toLongLong());
        } else {
            rc = SQLITE_MISMATCH;  // a type the driver knows better
        }
        if (rc != SQLITE_OK) {
            sqlite3_clear_bindings(st);
            return false;
        }
    }
    const bool done = sqlite3_step(st) == SQLITE_DONE;
    auto* handle = static_cast<sqlite3*>(handle_);
    const int code = done ? SQLITE_OK : sqlite3_extended_errcode(handle);
    const QString message = done ? QString() : QString::fromUtf8(sqlite3_errmsg(handle));
    // The texts above go out of scope: the statement lets go of them first.
    sqlite3_reset(st);
    sqlite3_clear_bindings(st);
    if (done) return true;
    throw db_.nativeError(code, message, sql_);
}

}  // namespace qx
