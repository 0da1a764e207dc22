#pragma once

// Fresh company databases for tests, on SQLite (a new temporary file) and on PostgreSQL (a new
// database on the server named by $QX_TEST_PG, which scripts/test.sh starts).

#include "platform/database.h"
#include "platform/prompter.h"

#include <gtest/gtest.h>

#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace qx::test {

enum class TestBackend { Sqlite, Postgres };

// Every backend a database test runs on (PostgreSQL included even when no server is set: its
// cases then skip with a reason, so that the report shows what was not tried).
std::vector<TestBackend> Backends();
QString backendName(TestBackend backend);

// True when $QX_TEST_PG names a server.
bool postgresAvailable();

// Makes sure a QApplication exists (offscreen unless QT_QPA_PLATFORM says otherwise).
void ensureApplication();

// An empty database. connectionString (when given) receives the text that opens the same
// database again, e.g. for a second connection standing for another workstation.
// On PostgreSQL without $QX_TEST_PG this throws DbError; use BackendTest, which skips first.
std::unique_ptr<Database> openFreshDatabase(TestBackend backend,
                                            QString* connectionString = nullptr);

// A fresh database with every table of a company (schema::createCompany), without data.
std::unique_ptr<Database> openFreshCompany(TestBackend backend,
                                           QString* connectionString = nullptr);

// The first column of the first row of a statement ("<none>" without rows), and as a count.
QString firstValue(Database& db, const QString& sql, const QVariantList& params = {});
int countRows(Database& db, const QString& sql, const QVariantList& params = {});
// Writes bytes to a new file at path (the test fails when it cannot); returns path.
QString writeFile(const QString& path, const QByteArray& bytes);
// The bytes of a file (empty when it cannot be read).
QByteArray fileBytes(const QString& path);
// The rows of the record-lock table.
int lockRows(Database& db);

// What the scripted message boxes showed, one entry a box: "? text" for a question, the text alone
// for a notice, and " [title]" after it when the title is not the component's "提示！".
QStringList boxes(const ScriptedPrompter& prompter);

// The id of a process that ran a moment ago and has ended.
long long deadProcessId();

// A connection string for the parts of a PostgreSQL connection (user, host or socket
// directory, port, database), the inverse of parseConnectionString.
QString postgresConnectionString(const ConnectionInfo& info);

// Base of the tests that run once per backend; skips the PostgreSQL run when no server is set.
// A fixture that overrides SetUp calls BackendTest::SetUp() first and returns when IsSkipped().
class BackendTest : public ::testing::TestWithParam<TestBackend> {
protected:
    void SetUp() override;
    TestBackend backend() const { return GetParam(); }
};

// Base of the tests on a fresh company once per backend: the test's own system directory, the
// database, and the text that opens it again (another workstation). A fixture that adds to SetUp
// calls CompanyTest::SetUp() first and returns when IsSkipped().
class CompanyTest : public BackendTest {
protected:
    void SetUp() override;

    QTemporaryDir systemDir;
    QString connection;
    std::unique_ptr<Database> db;
};

struct BackendParamName {
    std::string operator()(const ::testing::TestParamInfo<TestBackend>& info) const
    {
        return backendName(info.param).toStdString();
    }
};

}  // namespace qx::test

// INSTANTIATE a BackendTest-derived suite over both backends.
#define QX_INSTANTIATE_BACKENDS(Suite)                                                  \
    INSTANTIATE_TEST_SUITE_P(Backends, Suite, ::testing::ValuesIn(qx::test::Backends()), \
                             qx::test::BackendParamName())
