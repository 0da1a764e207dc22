#pragma once

// Reads of the company database that run beside the caller's own work: on a second, read-only
// connection to the same company file, in a thread of its own, both kept for the next time.
// Offered on SQLite files, where a write transaction stops every other writer: asked inside the
// caller's write transaction, the connection aside sees exactly what the caller saw before it
// wrote anything. Elsewhere (PostgreSQL, a database in memory, a read-only connection) none is
// offered and the caller reads on its own connection.

#include <QString>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

namespace qx {

class Database;

class ReadAside {
public:
    // Null when `db` offers none.
    static std::unique_ptr<ReadAside> offer(Database& db);
    ~ReadAside();  // waits for the work started, then closes the connection in its thread
    ReadAside(const ReadAside&) = delete;
    ReadAside& operator=(const ReadAside&) = delete;

    // Runs `work` on the connection aside, in its thread, after any work started before it; the
    // future is ready when it has run. `work` gets null when the connection cannot be opened,
    // and whatever it throws is kept in the future.
    std::future<void> start(std::function<void(Database*)> work);

private:
    explicit ReadAside(QString connectionString);
    void serve();

    QString connectionString_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::packaged_task<void(Database*)>> queue_;
    bool closing_ = false;
    std::thread thread_;
};

}  // namespace qx
