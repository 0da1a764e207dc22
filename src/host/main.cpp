// qxprostru: stands in for the suite's host. It opens a company database, creates QXProStru,
// calls Init and Show; it also creates the demo company and runs the integrity checks.

#include "data/common.h"
#include "data/schema.h"
#include "texts/texts.h"
#include "data/verify.h"
#include "host/bulk_jobs.h"
#include "host/command_line.h"
#include "host/company_open.h"
#include "host/explorer_job.h"
#include "host/list_window.h"
#include "host/card_shot.h"
#include "host/pdf_job.h"
#include "host/qxprostru.h"
#include "platform/database.h"
#include "platform/db_error.h"
#include "platform/qt_translations.h"

#include <QApplication>
#include <QCoreApplication>

#include <cstdio>
#include <memory>

namespace {

using qx::CommandLine;

enum Exit { kOk = 0, kRefused = 1, kFailed = 2 };

void say(const QString& line)
{
    std::fputs(line.toUtf8().constData(), stdout);
    std::fputc('\n', stdout);
}

void complain(const QString& line)
{
    // One line, whatever the driver's description held.
    QString oneLine = line;
    oneLine.replace(QLatin1Char('\n'), QLatin1Char(' '));
    std::fputs(oneLine.trimmed().toUtf8().constData(), stderr);
    std::fputc('\n', stderr);
}

// Opens a company that must already exist (an absent SQLite file is an error, not a new
// company) for a job that only reads it, so that an archived company can be checked too.
std::unique_ptr<qx::Database> openForReading(const QString& connection)
{
    qx::OpenOptions options;
    options.create = false;
    options.readOnly = true;
    return qx::Database::open(connection, options);
}

int runDemo(const CommandLine& cmd)
{
    auto db = qx::Database::open(cmd.database);
    qx::schema::createCompany(*db);
    const bool hadStructures =
        db->openRecordset(QStringLiteral("select count(*) from ProductStructure"), qx::RecordsetType::Snapshot)
            ->field(0)
            .toInt() > 0;
    qx::schema::createDemoCompany(*db);
    say(hadStructures ? qx::text::demoKept(cmd.database) : qx::text::demoCreated(cmd.database));
    return kOk;
}

int runVerify(const CommandLine& cmd)
{
    auto db = openForReading(cmd.database);
    const qx::VerifyReport report = qx::verifyStructures(*db);
    for (const QString& line : report.lines) say(line);
    say(report.clean ? qx::text::kVerifyClean : qx::text::verifyProblems(report.lines.size()));
    return report.clean ? kOk : kRefused;
}

int runCheckCycle(const CommandLine& cmd)
{
    auto db = openForReading(cmd.database);
    // The routine leaves a child equal to its parent to its callers; a placement of a product
    // under itself is a loop all the same, whatever the letter case (as the card judges it).
    const bool allowed = cmd.parent.compare(cmd.child, Qt::CaseInsensitive) != 0 &&
                         qx::CheckCycle(cmd.parent, cmd.child, *db);
    say(allowed ? qx::text::placementAllowed(cmd.parent, cmd.child)
                : qx::text::placementCycle(cmd.parent, cmd.child));
    return allowed ? kOk : kRefused;
}

void reportOpened(const qx::QXProStru& host)
{
    const struct {
        const QString& name;
        qx::Recordset* rs;
    } sets[] = {{qx::text::kParentRecordset, host.parentRecords()},
                {qx::text::kChildRecordset, host.childRecords()},
                {qx::text::kJoinedRecordset, host.joinedRecords()}};
    for (const auto& s : sets)
        say(qx::text::openedRecordset(s.name, s.rs->type() == qx::RecordsetType::Snapshot, s.rs->recordCount()));
}

int runMain(const CommandLine& cmd)
{
    QString connection = cmd.database;
    if (connection.isEmpty()) {
        // No database named: the demo company in the user's data directory.
        bool created = false;
        connection = qx::defaultDemoCompany(&created);
        if (created) say(qx::text::demoCreated(connection));
    }
    qx::OpenedCompany company = qx::openCompany(connection, cmd.readOnly);
    if (company.unwritable) say(qx::text::openedUnwritable(connection));
    auto db = std::move(company.db);
    qx::QXProStru host;
    host.setUnwritable(company.unwritable);
    if (!host.Init(*db, cmd.readOnly || company.unwritable)) {
        complain(qx::text::kInitFailed);
        return kFailed;
    }
    if (!cmd.pdf.isEmpty()) {
        QString error;
        const int rc = qx::printStructureToPdf(host, cmd.structure, cmd.pdf, &error);
        if (rc != 0) complain(error);
        return rc == 0 ? kOk : kFailed;
    }
    if (!cmd.screenshot.isEmpty() && (cmd.newCard || !cmd.card.isEmpty())) {
        QString error;
        const int rc = qx::screenshotCard(host, cmd.card, cmd.newCard, cmd.screenshot, &error);
        if (rc != 0) complain(error);
        return rc == 0 ? kOk : kFailed;
    }
    if (!cmd.screenshot.isEmpty()) {
        QString error;
        const int rc = qx::screenshotListWindow(host, cmd.screenshot, &error);
        if (rc != 0) complain(error);
        return rc == 0 ? kOk : kFailed;
    }
    if (!qx::QXProStru::hasShowHook()) {
        reportOpened(host);
        say(qx::text::kNoListWindow);
        return kOk;
    }
    host.Show();
    return kOk;
}

}  // namespace

int main(int argc, char** argv)
{
    QStringList args;
    for (int i = 1; i < argc; ++i) args << QString::fromLocal8Bit(argv[i]);
    if (qx::isExplorerJob(args)) {
        QCoreApplication app(argc, argv);
        return qx::runExplorerJob(args);
    }
    // Structures in bulk (import, import-template, replace) have their own arguments.
    if (const auto rc = qx::runBulkJob(args, argc, argv)) return *rc;
    const qx::CommandLineResult parsed = qx::parseCommandLine(args);
    if (!parsed.command) {
        complain(parsed.error);
        return kFailed;
    }
    const CommandLine& cmd = *parsed.command;

    qx::installListWindow();
    // A screenshot is rendered without a screen.
    // So is a PDF: the page is painted from the list window, which is loaded but never shown.
    if ((!cmd.screenshot.isEmpty() || !cmd.pdf.isEmpty()) && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Windows need the widget application; every other job runs without a screen.
    std::unique_ptr<QCoreApplication> app;
    if ((cmd.wantsWindow() && qx::QXProStru::hasShowHook()) || !cmd.pdf.isEmpty())
        app = std::make_unique<QApplication>(argc, argv);
    else
        app = std::make_unique<QCoreApplication>(argc, argv);
    // Qt's own texts (buttons, dialogs, context menus) in Chinese like everything else.
    qx::installQtTranslations(*app);

    try {
        switch (cmd.job) {
        case CommandLine::Job::Help:
            say(qx::text::kUsage + QLatin1Char('\n') + qx::text::kBulkUsage);
            return kOk;
        case CommandLine::Job::Demo:
            return runDemo(cmd);
        case CommandLine::Job::Verify:
            return runVerify(cmd);
        case CommandLine::Job::CheckCycle:
            return runCheckCycle(cmd);
        case CommandLine::Job::Main:
            return runMain(cmd);
        }
    } catch (const qx::DbError& e) {
        complain(e.description());
    } catch (const std::exception& e) {
        complain(QString::fromLocal8Bit(e.what()));
    }
    return kFailed;
}
