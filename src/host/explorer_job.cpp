#include "host/explorer_job.h"

#include "data/texts.h"
#include "explorer/explorer_export.h"
#include "host/company_open.h"
#include "platform/database.h"

#include <QFileInfo>

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
    QStringList positional;
    QStringList seen;
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString& a = args[i];
        if (!a.startsWith(QLatin1String("--")) || a == QLatin1String("--")) {
            positional << a;
            continue;
        }
        QString name = a;
        QString value;
        bool inlineValue = false;
        if (const qsizetype eq = a.indexOf(QLatin1Char('=')); eq > 0) {
            name = a.left(eq);
            value = a.mid(eq + 1);
            inlineValue = true;
        }
        const bool down = cmd.direction == explorer::Direction::Down;
        const bool takesValue = name == QLatin1String("--xlsx") || name == QLatin1String("--csv") ||
                                (down && name == QLatin1String("--qty"));
        const bool flag = name == QLatin1String("--summary");
        if (!takesValue && !flag) return text::unknownOption(name);
        if (seen.contains(name)) return text::optionRepeated(name);
        seen << name;
        if (flag) {
            if (inlineValue) return text::unknownOption(a);
            cmd.summary = true;
            continue;
        }
        if (!inlineValue) {
            if (i + 1 >= args.size()) return text::optionNeedsValue(name);
            value = args[++i];
        }
        if (name == QLatin1String("--xlsx")) cmd.xlsx = value;
        else if (name == QLatin1String("--csv")) cmd.csv = value;
        else {
            const auto q = explorer::parseQuantity(value);
            if (!q) return text::kBadQuantity;
            cmd.quantity = *q;
        }
        if (value.isEmpty()) return text::optionNeedsValue(name);
    }
    if (!cmd.xlsx.isEmpty() && !cmd.csv.isEmpty()) return text::optionsExclusive("--xlsx", "--csv");
    if (positional.size() != 2) return text::wrongArgumentCount(job);
    cmd.database = positional[0];
    cmd.code = positional[1];
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
