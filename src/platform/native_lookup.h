#pragma once

// A one-value query asked again and again (a walk over stored lines, one code at a time),
// prepared once and stepped by the database library itself, without a statement round of the
// driver per question. Offered where statements run in-process (SQLite); elsewhere, or when the
// statement cannot be prepared, available() is false and the caller asks its own way.

#include <QByteArray>
#include <QStringList>
#include <QVariantList>

#include <functional>
#include <memory>
#include <vector>

struct sqlite3;

namespace qx {

class Database;

// The SQLite library's own connection of `db` (after the checks nativeHandle() makes); null on
// another backend.
sqlite3* sqliteHandle(Database& db);

class NativeLookup {
public:
    // `sql` has one "?". Outside a transaction the questions share
    // one read transaction, ended when the lookup goes: every answer sees the same stored rows.
    NativeLookup(Database& db, const QString& sql);
    ~NativeLookup();
    NativeLookup(const NativeLookup&) = delete;
    NativeLookup& operator=(const NativeLookup&) = delete;

    bool available() const;
    // Appends every column of every row for `key` (UTF-8) to `out`, each cell as the library
    // holds it: an integer or a real as a number, a text as a text, NULL as a null value. False
    // when the library reported an error: the lookup is then unavailable and nothing it answered
    // counts (the caller asks through the driver, which reports the failure as every statement
    // does).
    bool values(const QByteArray& key, QVariantList& out);
    // The same, each row handed to `row` as the library holds it, nothing copied: a text cell
    // stays valid only during the call.
    class Row {
    public:
        QByteArrayView text(int column) const;
        qint64 integer(int column) const;

    private:
        friend class NativeLookup;
        explicit Row(void* statement) : statement_(statement) {}
        void* statement_;
    };
    bool visit(const QByteArray& key, const std::function<void(const Row&)>& row);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

// Many keys as the one bound value of a lookup whose statement reads them with "json_each(?)"
// (each row's "key" is then the key's place among them): the texts keys[from, to) (UTF-8) as a
// JSON array, quotes, backslashes and control characters escaped. One statement answers for all
// of them, without a round of the statement per key.
QByteArray jsonKeyArray(const std::vector<QByteArray>& keys, size_t from, size_t to);
// The same for texts, each in UTF-8.
QByteArray jsonKeyArray(const QStringList& keys);

// A statement that changes rows, run again and again inside the caller's transaction (the lines
// of a structure), prepared once and stepped by the database library itself. Offered on SQLite
// inside a transaction only; elsewhere available() is false.
class NativeStatement {
public:
    NativeStatement(Database& db, const QString& sql);
    ~NativeStatement();
    NativeStatement(const NativeStatement&) = delete;
    NativeStatement& operator=(const NativeStatement&) = delete;

    bool available() const;
    // Runs it with these values (texts, numbers, nulls). A failure is thrown as the driver's
    // would be (the library may have ended the transaction: nothing more may run in it). False,
    // with nothing run, for a value of another type: the caller runs it through the driver.
    bool run(const QVariantList& params);

private:
    Database& db_;
    QString sql_;
    void* handle_ = nullptr;
    void* statement_ = nullptr;
};

}  // namespace qx
