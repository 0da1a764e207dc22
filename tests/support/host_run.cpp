#include "support/host_run.h"

#include "platform/lock_service.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace qx::test {

namespace {

QProcessEnvironment hostEnvironment(const QStringList& env, bool ownRuntime = true)
{
    static QTemporaryDir runtime;
    QProcessEnvironment e = QProcessEnvironment::systemEnvironment();
    if (ownRuntime) e.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
    for (const QString& entry : env) {
        if (entry.contains(QLatin1Char('=')))
            e.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
        else
            e.remove(entry);
    }
    return e;
}

}  // namespace

QString hostExe()
{
    return qEnvironmentVariable("QXPROSTRU_EXE");
}

HostRun runHost(const QStringList& args, const QStringList& env, const QString& user)
{
    HostRun r;
    if (hostExe().isEmpty()) {
        ADD_FAILURE() << "QXPROSTRU_EXE is not set (ctest sets it)";
        return r;
    }
    QProcess p;
    p.setProcessEnvironment(hostEnvironment(env, user.isEmpty()));
    if (user.isEmpty())
        p.start(hostExe(), args);
    else  // runuser resets the environment: hand the entries over explicitly
        p.start(
            QStringLiteral("runuser"),
            QStringList{QStringLiteral("-u"), user, QStringLiteral("--"), QStringLiteral("env")} +
                env + QStringList{hostExe()} + args);
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        ADD_FAILURE() << "qxprostru did not finish: " << args.join(' ').toStdString();
        return r;
    }
    r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

std::unique_ptr<QProcess> startHost(const QStringList& args, const QStringList& env)
{
    auto p = std::make_unique<QProcess>();
    p->setProcessEnvironment(hostEnvironment(env));
    p->start(hostExe(), args);
    p->waitForStarted();
    return p;
}

bool waitForLockOf(Database& db, QProcess& p)
{
    const QString sql = QStringLiteral("select count(*) from ") + LockService::tableName() +
                        QStringLiteral(" where iPid=?");
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < 60000 && p.state() == QProcess::Running) {
        if (db.openRecordset(sql, RecordsetType::Snapshot, 0, {p.processId()})->field(0).toInt() >
            0)
            return true;
        QThread::msleep(1);
    }
    return false;
}

QStringList errorLines(const QString& err)
{
    QStringList lines;
    for (const QString& l : err.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        if (!l.startsWith(QLatin1String("QStandardPaths:"))) lines << l;
    return lines;
}

QString pdfText(const QString& file)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")});
    p.waitForFinished(30000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

}  // namespace qx::test
