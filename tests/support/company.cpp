#include "support/company.h"

#include "platform/lock_service.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>

namespace qx::test {
namespace {

QTemporaryDir& scratchDir()
{
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/qxtest-XXXXXX"));
    return dir;
}

int nextNumber()
{
    static int n = 0;
    return ++n;
}

// PostgreSQL databases made by this process, dropped when it ends (the cluster is thrown away
// by the test script anyway; this keeps a long-lived server tidy).
QStringList& createdDatabases()
{
    static QStringList names;
    return names;
}

void dropCreatedDatabases()
{
    if (createdDatabases().isEmpty() || !postgresAvailable()) return;
    try {
        auto admin = Database::open(qEnvironmentVariable("QX_TEST_PG"));
        for (const QString& name : createdDatabases())
            admin->executeIgnoringErrors(QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(name));
    } catch (const DbError&) {
    }
    createdDatabases().clear();
}

}  // namespace

std::vector<TestBackend> Backends() { return {TestBackend::Sqlite, TestBackend::Postgres}; }

QString backendName(TestBackend backend)
{
    return backend == TestBackend::Sqlite ? QStringLiteral("Sqlite") : QStringLiteral("Postgres");
}

QString firstValue(Database& db, const QString& sql, const QVariantList& params)
{
    auto rs = db.openRecordset(sql, RecordsetType::Snapshot, 0, params);
    return rs->recordCount() == 0 ? QStringLiteral("<none>") : rs->field(0).toString();
}

int countRows(Database& db, const QString& sql, const QVariantList& params)
{
    return firstValue(db, sql, params).toInt();
}

QString writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    EXPECT_TRUE(f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size()) << path.toStdString();
    return path;
}

QByteArray fileBytes(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

int lockRows(Database& db)
{
    return countRows(db, QStringLiteral("select count(*) from ") + LockService::tableName());
}

QStringList boxes(const ScriptedPrompter& prompter)
{
    QStringList out;
    for (const auto& box : prompter.shown)
        out << (box.question ? QStringLiteral("? ") : QString()) + box.text +
                   (box.title == QStringLiteral("提示！") ? QString() : " [" + box.title + "]");
    return out;
}

long long deadProcessId()
{
    const pid_t child = fork();
    if (child == 0) _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    return child;
}

bool postgresAvailable() { return !qEnvironmentVariable("QX_TEST_PG").isEmpty(); }

void ensureApplication()
{
    if (QCoreApplication::instance()) return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "qxtest";
    static char* argv[] = {name, nullptr};
    // Never destroyed: its destructor would run after QtSql's own globals are gone.
    static QApplication* app = new QApplication(argc, argv);
    (void)app;
}

QString postgresConnectionString(const ConnectionInfo& info)
{
    const auto enc = [](const QString& s) { return QString::fromUtf8(QUrl::toPercentEncoding(s)); };
    QString out = QStringLiteral("postgresql://");
    if (!info.user.isEmpty()) {
        out += enc(info.user);
        if (!info.password.isEmpty()) out += QLatin1Char(':') + enc(info.password);
        out += QLatin1Char('@');
    }
    const bool socketDir = info.host.startsWith(QLatin1Char('/'));
    if (!socketDir) out += info.host;
    if (!socketDir && info.port > 0) out += QLatin1Char(':') + QString::number(info.port);
    out += QLatin1Char('/') + enc(info.database);
    QStringList query;
    if (socketDir) query << QStringLiteral("host=") + enc(info.host);
    if (socketDir && info.port > 0) query << QStringLiteral("port=") + QString::number(info.port);
    if (!query.isEmpty()) out += QLatin1Char('?') + query.join(QLatin1Char('&'));
    return out;
}

std::unique_ptr<Database> openFreshDatabase(TestBackend backend, QString* connectionString)
{
    ensureApplication();
    QString cs;
    if (backend == TestBackend::Sqlite) {
        if (!scratchDir().isValid())
            throw DbError(DbErrorKind::Other, QStringLiteral("no temporary directory"));
        cs = QStringLiteral("sqlite:") +
             scratchDir().filePath(QStringLiteral("company%1.db").arg(nextNumber()));
    } else {
        const QString admin = qEnvironmentVariable("QX_TEST_PG");
        if (admin.isEmpty())
            throw DbError(DbErrorKind::Other, QStringLiteral("QX_TEST_PG is not set"));
        ConnectionInfo info = parseConnectionString(admin);
        // The name is made here from numbers, never from input: it may stand in the statement.
        const QString name =
            QStringLiteral("qxtest_%1_%2").arg(long(getpid())).arg(nextNumber());
        {
            auto maintenance = Database::open(admin);
            maintenance->execute(QStringLiteral("CREATE DATABASE %1 ENCODING 'UTF8' TEMPLATE template0").arg(name));
        }
        // The list first, so that it is still alive when the exit handler reads it.
        createdDatabases() << name;
        static std::once_flag registered;
        std::call_once(registered, [] { std::atexit(dropCreatedDatabases); });
        info.database = name;
        cs = postgresConnectionString(info);
    }
    if (connectionString) *connectionString = cs;
    return Database::open(cs);
}

void BackendTest::SetUp()
{
    if (GetParam() == TestBackend::Postgres && !postgresAvailable())
        GTEST_SKIP() << "PostgreSQL not tried: QX_TEST_PG is not set (scripts/test.sh sets it)";
    ensureApplication();
}

void CompanyTest::SetUp()
{
    BackendTest::SetUp();
    if (IsSkipped()) return;
    ASSERT_TRUE(systemDir.isValid());
    qputenv("QX_SYSTEM_DIR", systemDir.path().toUtf8());
    db = openFreshCompany(backend(), &connection);
}

}  // namespace qx::test
