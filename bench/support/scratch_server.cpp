#include "support/scratch_server.h"

#include "platform/database.h"

#include <libpq-fe.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace qx::bench {

QString createScratchDatabase(const QString& maintenance, const QString& name)
{
    PGconn* conn = PQconnectdb(maintenance.toUtf8().constData());
    if (PQstatus(conn) != CONNECTION_OK) {
        std::fprintf(stderr, "cannot connect to %s: %s", qPrintable(maintenance), PQerrorMessage(conn));
        PQfinish(conn);
        return {};
    }
    PQclear(PQexec(conn, ("drop database if exists " + name.toStdString()).c_str()));
    PGresult* res = PQexec(conn, ("create database " + name.toStdString()).c_str());
    const bool ok = PQresultStatus(res) == PGRES_COMMAND_OK;
    if (!ok) std::fprintf(stderr, "create database: %s", PQerrorMessage(conn));
    PQclear(res);
    PQfinish(conn);
    if (!ok) return {};
    const ConnectionInfo info = parseConnectionString(maintenance);
    QString out = QStringLiteral("postgresql://") + info.user + QStringLiteral("@");
    if (!info.host.startsWith(QLatin1Char('/'))) out += info.host;
    if (info.port > 0) out += QLatin1Char(':') + QString::number(info.port);
    out += QLatin1Char('/') + name;
    if (info.host.startsWith(QLatin1Char('/'))) out += QStringLiteral("?host=") + info.host;
    return out;
}

void dropScratchDatabase(const QString& maintenance, const QString& name)
{
    PGconn* conn = PQconnectdb(maintenance.toUtf8().constData());
    PQclear(PQexec(conn, ("drop database if exists " + name.toStdString()).c_str()));
    PQfinish(conn);
}

double medianMs(int reps, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < reps; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace qx::bench
