#include "support/backend_runs.h"

#include "support/scratch_server.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <exception>

namespace qx::bench {

int runOnBackends(int argc, char** argv, const char* name, const BackendRun& run)
{
    QCoreApplication app(argc, argv);
    QString pg;
    int reps = 5;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--pg") && i + 1 < args.size())
            pg = args[++i];
        else if (args[i] == QLatin1String("--reps") && i + 1 < args.size())
            reps = std::max(1, args[++i].toInt());
        else {
            std::fprintf(stderr, "usage: %s [--pg URL] [--reps N]\n", name);
            return 2;
        }
    }
    bool ok = true;
    try {
        QTemporaryDir dir;
        const QString file = qEnvironmentVariableIsSet("QX_BENCH_DB") ? qEnvironmentVariable("QX_BENCH_DB")
                                                                      : dir.filePath(QStringLiteral("large.db"));
        ok = run(QStringLiteral("sqlite:") + file, "SQLite", reps);
        if (!pg.isEmpty()) {
            const QString scratch =
                QStringLiteral("qx_%1_%2").arg(QString::fromLatin1(name)).arg(QCoreApplication::applicationPid());
            const QString connection = createScratchDatabase(pg, scratch);
            if (connection.isEmpty()) return 2;
            ok = run(connection, "PostgreSQL", reps) && ok;
            dropScratchDatabase(pg, scratch);
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
    return ok ? 0 : 1;
}

}  // namespace qx::bench
