#include "support/throwaway_server.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <unistd.h>

#include <algorithm>

namespace qx::test {

ThrowawayServer::ThrowawayServer()
{
    QStringList versions =
        QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(versions.begin(), versions.end(),
              [](const QString& a, const QString& b) { return a.toInt() < b.toInt(); });
    if (!versions.isEmpty())
        bin_ = QStringLiteral("/usr/lib/postgresql/%1/bin").arg(versions.last());
}

ThrowawayServer::~ThrowawayServer()
{
    if (initialised_)
        pgCtl({QStringLiteral("-m"), QStringLiteral("immediate"), QStringLiteral("stop")});
}

bool ThrowawayServer::asPostgres(const QString& program, const QStringList& args, int timeoutMs)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    // The server refuses to run as root.
    if (::geteuid() == 0)
        p.start(QStringLiteral("runuser"),
                QStringList{QStringLiteral("-u"), QStringLiteral("postgres"), QStringLiteral("--"),
                            program} +
                    args);
    else
        p.start(program, args);
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        why_ = program + QStringLiteral(" did not finish");
        return false;
    }
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        why_ = program + QStringLiteral(": ") + QString::fromLocal8Bit(p.readAll()).trimmed();
        return false;
    }
    return true;
}

bool ThrowawayServer::pgCtl(const QStringList& args, int timeoutMs)
{
    return asPostgres(bin_ + QStringLiteral("/pg_ctl"),
                      QStringList{QStringLiteral("-D"), dir_->filePath(QStringLiteral("data")),
                                  QStringLiteral("-w")} +
                          args,
                      timeoutMs);
}

bool ThrowawayServer::start()
{
    if (bin_.isEmpty() || !QFile::exists(bin_ + QStringLiteral("/initdb"))) {
        why_ = QStringLiteral("PostgreSQL is not installed under /usr/lib/postgresql");
        return false;
    }
    dir_ = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/qxpg-XXXXXX"));
    if (!dir_->isValid()) return false;
    if (::geteuid() == 0 &&
        !asPostgres(QStringLiteral("true"), {}, 10000))  // the postgres user exists
        return false;
    if (::geteuid() == 0) {
        QProcess::execute(QStringLiteral("chown"), {QStringLiteral("postgres:"), dir_->path()});
    }
    if (!asPostgres(
            bin_ + QStringLiteral("/initdb"),
            {QStringLiteral("-D"), dir_->filePath(QStringLiteral("data")), QStringLiteral("-U"),
             QStringLiteral("postgres"), QStringLiteral("-A"), QStringLiteral("trust"),
             QStringLiteral("-E"), QStringLiteral("UTF8"), QStringLiteral("--locale=C")},
            120000))
        return false;
    initialised_ = true;
    return launch();
}

bool ThrowawayServer::launch()
{
    return pgCtl(
        {QStringLiteral("-l"), dir_->filePath(QStringLiteral("server.log")), QStringLiteral("-o"),
         QStringLiteral("-c listen_addresses='' -c unix_socket_directories='%1' -c fsync=off "
                        "-c max_connections=100")
             .arg(dir_->path()),
         QStringLiteral("start")});
}

bool ThrowawayServer::stop()
{
    return pgCtl({QStringLiteral("-m"), QStringLiteral("fast"), QStringLiteral("stop")});
}

bool ThrowawayServer::restart()
{
    return stop() && launch();
}

QString ThrowawayServer::connectionString() const
{
    return QStringLiteral("postgresql://postgres@/postgres?host=") + dir_->path();
}

}  // namespace qx::test
