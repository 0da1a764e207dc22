#include "platform/read_aside.h"

#include "platform/database.h"
#include "platform/native_lookup.h"

#include <QVariant>

#include <sqlite3.h>

namespace qx {

namespace {

// The company file of a SQLite connection: null elsewhere, empty for a database in memory.
const char* companyFile(sqlite3* handle)
{
    return handle ? sqlite3_db_filename(handle, "main") : nullptr;
}

// A file opened as one nobody changes (when its directory could not be written) would not see
// the other workstations' changes: no use for reading aside.
bool readsChanges(Database& db)
{
    const char* file = companyFile(sqliteHandle(db));
    return file && !sqlite3_uri_boolean(file, "immutable", 0);
}

}  // namespace

std::unique_ptr<ReadAside> ReadAside::offer(Database& db)
{
    if (db.readOnly()) return nullptr;
    sqlite3* handle = sqliteHandle(db);
    const char* file = companyFile(handle);
    if (!file || !*file) return nullptr;  // a database in memory has no file to open again
    // Only a file in WAL mode lets a reader go on beside the writer.
    sqlite3_stmt* st = nullptr;
    bool wal = false;
    if (sqlite3_prepare_v2(handle, "PRAGMA journal_mode", -1, &st, nullptr) == SQLITE_OK &&
        sqlite3_step(st) == SQLITE_ROW)
        wal = qstricmp(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)), "wal") == 0;
    sqlite3_finalize(st);
    if (!wal) return nullptr;
    return std::unique_ptr<ReadAside>(
        new ReadAside(QStringLiteral("sqlite:") + QString::fromUtf8(file)));
}

ReadAside::ReadAside(QString connectionString)
    : connectionString_(std::move(connectionString)), thread_([this] { serve(); })
{
}

ReadAside::~ReadAside()
{
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

std::future<void> ReadAside::start(std::function<void(Database*)> work)
{
    std::packaged_task<void(Database*)> task(std::move(work));
    std::future<void> done = task.get_future();
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(task));
    }
    wake_.notify_one();
    return done;
}

void ReadAside::serve()
{
    // The connection belongs to this thread: opened here when first needed, closed here.
    std::unique_ptr<Database> db;
    bool tried = false;
    for (;;) {
        std::packaged_task<void(Database*)> task;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return closing_ || !queue_.empty(); });
            if (queue_.empty()) break;
            task = std::move(queue_.front());
            queue_.pop_front();
        }
        if (!tried) {
            tried = true;
            try {
                db = Database::open(connectionString_, {true, false});
                if (!readsChanges(*db)) db.reset();
            } catch (const DbError&) {
                db.reset();
            }
        }
        // A connection lost aside (and not made again by its own statement) is not opened again
        // here: the caller's connection decides which company file is the one, and makes its
        // reads aside anew when it connects again.
        if (db && db->connectionLost()) db.reset();
        task(db.get());
    }
}

}  // namespace qx
