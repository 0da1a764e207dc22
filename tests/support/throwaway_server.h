#pragma once

// A PostgreSQL cluster of the test's own, on a Unix socket in its own directory, that the test
// may stop, start and restart without disturbing the server the other tests use.

#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace qx::test {

class ThrowawayServer {
public:
    ThrowawayServer();
    ~ThrowawayServer();  // stops the cluster and removes it

    // Creates and starts the cluster; false (with why()) when PostgreSQL is not installed or
    // does not start.
    bool start();
    bool stop();     // fast shutdown: open sessions are ended
    bool restart();  // stop, then start again on the same socket
    bool launch();   // start an initialised, stopped cluster
    const QString& why() const { return why_; }

    // The connection string of the cluster's "postgres" database.
    QString connectionString() const;

private:
    bool pgCtl(const QStringList& args, int timeoutMs = 60000);
    bool asPostgres(const QString& program, const QStringList& args, int timeoutMs);

    std::unique_ptr<QTemporaryDir> dir_;
    QString bin_;
    QString why_;
    bool initialised_ = false;
};

}  // namespace qx::test
