#include "host/explorer_job.h"

#include "texts/texts.h"
#include "explorer/explorer_export.h"
#include "host/command_line.h"
#include "host/company_open.h"
#include "platform/database.h"

#include <cstdio>

namespace qx {

namespace {

constexpr int kOk = 0;
constexpr int kFailed = 2;

void complain(const QString& line)
{
    QString oneLine = line;
    oneLine.replace(QLatin1Char('\n'), QLatin1Char(' '));
    std::fputs(oneLine.trimmed().toUtf8().constData(), stderr);
    std::fputc('\n', stderr);
}

void write(const QByteArray& bytes) { std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout); }

struct ExplorerCommand {
    explorer::Direction direction = explorer::Direction::Down;
    QString database;
    QString code;
    double quantity = 1;
    bool summary = false;
    QString xlsx;
    QString csv;
};

// Empty error: the command is good.
QString parse(const QStringList& args, ExplorerCommand& cmd)
{
    const QString job = args.front();
    cmd.direction = job == QLatin1String("explode") ? explorer::Direction::Down : explorer::Direction::Up;
    QList<KnownOption> known{{QStringLiteral("--xlsx"), true},
                            {QStringLiteral("--csv"), true},
                            {QStringLiteral("--summary")}};
    // Only an explosion is of a quantity; where-used does not know the option.
    if (cmd.direction == explorer::Direction::Down)
        known.append({QStringLiteral("--qty"), true, [&cmd](const QString& value) {
                          const auto q = explorer::parseQuantity(value);
                          if (!q) return text::kBadQuantity;
                          cmd.quantity = *q;
                          return QString();
                      }});
    const ReadArguments read = readArguments(args, 1, known);
    if (!read.error.isEmpty()) return read.error;
    cmd.summary = read.has(QStringLiteral("--summary"));
    cmd.xlsx = read.value(QStringLiteral("--xlsx"));
    cmd.csv = read.value(QStringLiteral("--csv"));
    if (!cmd.xlsx.isEmpty() && !cmd.csv.isEmpty()) return text::optionsExclusive("--xlsx", "--csv");
    if (read.positional.size() != 2) return text::wrongArgumentCount(job);
    cmd.database = read.positional[0];
    cmd.code = read.positional[1];
    return {};
}

}  // namespace

bool isExplorerJob(const QStringList& args)
{
    return !args.isEmpty() && (args.front() == QLatin1String("explode") || args.front() == QLatin1String("where-used"));
}

int runExplorerJob(const QStringList& args)
{
    ExplorerCommand cmd;
    if (const QString why = parse(args, cmd); !why.isEmpty()) {
        complain(why == text::kBadQuantity ? why : text::badCommandLine(why));
        return kFailed;
    }
    if (const QString why = explorer::checkItemCode(cmd.code); !why.isEmpty()) {
        complain(why);
        return kFailed;
    }
    try {
        // The explorer only reads: an archived company that cannot be written explodes too.
        auto db = openCompany(cmd.database, /*readOnly=*/true).db;
        // A summary alone needs the names of the items it lists, not those of the whole tree.
        const explorer::Detail detail =
            cmd.summary && cmd.xlsx.isEmpty() ? explorer::Detail::Summary : explorer::Detail::Tree;
        const explorer::Report report(*db, cmd.code, cmd.direction, cmd.quantity,
                                      explorer::readQuantityDecimals(*db), detail);
        if (report.unknown()) {
            complain(text::unknownItemCode(cmd.code));
            return kFailed;
        }
        if (!cmd.xlsx.isEmpty() || !cmd.csv.isEmpty()) {
            const explorer::ExportOutcome out = cmd.xlsx.isEmpty()
                                                    ? explorer::writeCsv(cmd.csv, report, cmd.summary)
                                                    : explorer::writeXlsx(cmd.xlsx, report);
            if (!out.written) {
                complain(out.error);
                return kFailed;
            }
            if (out.treeOmitted) complain(text::treeTooLarge(report.treeSheetName(), explorer::maxTreeRows()));
            return kOk;
        }
        if (!cmd.summary) {
            if (const auto tree = explorer::treeTsv(report, explorer::maxTreeRows())) {
                write(*tree);
                return kOk;
            }
            // Too many rows to list: the summary says what is needed all the same.
            complain(text::treeTooLarge(report.treeSheetName(), explorer::maxTreeRows()));
        }
        write(explorer::tsvLines(report.summaryCaptions(), report.summaryRows()));
        return kOk;
    } catch (const DbError& e) {
        complain(e.description());
    }
    return kFailed;
}

}  // namespace qx
