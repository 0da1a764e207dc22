#include "host/bulk_jobs.h"

#include "bulk/component_replace.h"
#include "bulk/structure_import.h"
#include "texts/texts.h"
#include "host/command_line.h"
#include "host/company_open.h"
#include "host/list_window.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/database.h"
#include "platform/host_facts.h"
#include "platform/prompter.h"
#include "platform/xlsx_template.h"
#include "shared/list_context.h"

#include <QApplication>

#include <cstdio>
#include <memory>

namespace qx {

namespace {

void out(const QString& line)
{
    std::fputs(line.toUtf8().constData(), stdout);
    std::fputc('\n', stdout);
}

int fail(const QString& line)
{
    std::fputs(line.toUtf8().constData(), stderr);
    std::fputc('\n', stderr);
    return 2;
}

// Import and replace write: a company that could only be opened for reading refuses them.
std::unique_ptr<Database> openForWriting(const QString& connection)
{
    OpenedCompany company = openCompany(connection, /*readOnly=*/false);
    if (company.unwritable) throw DbError(DbErrorKind::Other, text::cannotWriteCompany(connection));
    return std::move(company.db);
}

// The list window's caches, loaded as the window loads them, without showing it.
struct LoadedList {
    QXProStru host;
    std::unique_ptr<FrmPS> window;
};

std::unique_ptr<LoadedList> loadList(Database& db)
{
    auto l = std::make_unique<LoadedList>();
    if (!l->host.Init(db, false)) return nullptr;
    l->window = loadHiddenListWindow(l->host);
    return l;
}

int runImport(const QStringList& args)
{
    const ReadArguments p =
        readArguments(args, 1, {{QStringLiteral("--replace")}, {QStringLiteral("--dry-run")}});
    if (!p.error.isEmpty()) return fail(text::badCommandLine(p.error));
    if (p.positional.size() != 2) return fail(text::badCommandLine(text::wrongArgumentCount(args[0])));
    auto db = openForWriting(p.positional[0]);
    CollectingPrompter quiet;
    auto list = loadList(*db);
    if (!list) return fail(text::kInitFailed);
    ImportOptions options;
    options.replace = p.has(QStringLiteral("--replace"));
    options.dryRun = p.has(QStringLiteral("--dry-run"));
    options.computer = list->window->context().ComputerName;
    const ImportResult result = importFile(list->window->context(), p.positional[1], options);
    const QStringList lines = result.report();
    if (result.outcome == ImportResult::Outcome::Unreadable) return fail(lines.join(QLatin1Char('\n')));
    for (const QString& line : lines) out(line);
    return result.exitCode();
}

int runTemplate(const QStringList& args)
{
    const ReadArguments p = readArguments(args, 1, {});
    if (!p.error.isEmpty()) return fail(text::badCommandLine(p.error));
    if (p.positional.size() != 1 && p.positional.size() != 2)
        return fail(text::badCommandLine(text::wrongArgumentCount(args[0])));
    ListContext defaults;
    std::unique_ptr<Database> db;
    std::unique_ptr<LoadedList> list;
    const ListContext* ctx = &defaults;
    if (p.positional.size() == 2) {
        db = openCompany(p.positional[0], /*readOnly=*/true).db;
        CollectingPrompter quiet;
        list = loadList(*db);
        if (!list) return fail(text::kInitFailed);
        ctx = &list->window->context();
    }
    const QString file = p.positional.back();
    QString error;
    if (!writeWorkbook(file, {importTemplateCaptions(*ctx)}, {text::kTemplateSheet}, &error))
        return fail(error);
    out(text::templateWritten(file));
    return 0;
}

int runReplace(const QStringList& args)
{
    const ReadArguments p =
        readArguments(args, 1, {{QStringLiteral("--dry-run")}, {QStringLiteral("--factor"), true}});
    if (!p.error.isEmpty()) return fail(text::badCommandLine(p.error));
    if (p.positional.size() != 3) return fail(text::badCommandLine(text::wrongArgumentCount(args[0])));
    ReplaceRequest req;
    req.oldCode = p.positional[1];
    req.newCode = p.positional[2];
    req.dryRun = p.has(QStringLiteral("--dry-run"));
    req.computer = computerName();
    if (const QString factor = p.value(QStringLiteral("--factor")); !factor.isEmpty()) {
        bool ok = false;
        req.factor = factor.toDouble(&ok);
        if (!ok)
            return fail(text::badCommandLine(QStringLiteral("--factor ") + factor +
                                             QStringLiteral("：") + text::kNotANumber));
    }
    auto db = openForWriting(p.positional[0]);
    const ReplaceResult result = replaceComponent(*db, req);
    const QStringList lines = result.report();
    if (result.outcome == ReplaceResult::Outcome::Failed) return fail(lines.join(QLatin1Char('\n')));
    for (const QString& line : lines) out(line);
    return result.exitCode();
}

}  // namespace

std::optional<int> runBulkJob(const QStringList& args, int& argc, char** argv)
{
    if (args.isEmpty()) return std::nullopt;
    const QString job = args.front();
    if (job != QLatin1String("import") && job != QLatin1String("import-template") &&
        job != QLatin1String("replace"))
        return std::nullopt;
    try {
        if (job == QLatin1String("replace")) {
            QCoreApplication app(argc, argv);
            return runReplace(args);
        }
        // The list window's loading runs offscreen: nothing is shown.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        QApplication app(argc, argv);
        return job == QLatin1String("import") ? runImport(args) : runTemplate(args);
    } catch (const DbError& e) {
        return fail(e.description());
    }
}

}  // namespace qx
