#include "host/command_line.h"

#include "texts/texts.h"

#include <algorithm>

namespace qx {

namespace {

CommandLineResult fail(const QString& why) { return {std::nullopt, text::badCommandLine(why)}; }

// The options of the list window's job that only make sense together.
CommandLineResult checkMainOptions(const CommandLine& cmd)
{
    if (!cmd.card.isEmpty() && cmd.newCard) return fail(text::optionsExclusive("--card", "--new-card"));
    if (!cmd.card.isEmpty() && cmd.screenshot.isEmpty())
        return fail(text::optionNeedsOption("--card", "--screenshot"));
    if (cmd.newCard && cmd.screenshot.isEmpty())
        return fail(text::optionNeedsOption("--new-card", "--screenshot"));
    if (!cmd.pdf.isEmpty() && cmd.structure.isEmpty())
        return fail(text::optionNeedsOption("--pdf", "--structure"));
    if (!cmd.structure.isEmpty() && cmd.pdf.isEmpty())
        return fail(text::optionNeedsOption("--structure", "--pdf"));
    if (!cmd.pdf.isEmpty() && !cmd.screenshot.isEmpty())
        return fail(text::optionsExclusive("--pdf", "--screenshot"));
    return {cmd, {}};
}

}  // namespace

ReadArguments readArguments(const QStringList& args, qsizetype from,
                            const QList<KnownOption>& known, bool dashDashEndsOptions)
{
    ReadArguments read;
    auto refuse = [&](const QString& why) {
        read.error = why;
        return read;
    };
    bool optionsEnded = false;
    for (qsizetype i = from; i < args.size(); ++i) {
        const QString& a = args[i];
        if (optionsEnded || !a.startsWith(QLatin1String("--")) || a == QLatin1String("--")) {
            if (a == QLatin1String("--") && dashDashEndsOptions && !optionsEnded) {
                optionsEnded = true;
                continue;
            }
            if (read.positional.isEmpty()) read.firstIsData = optionsEnded;
            read.positional << a;
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
        const auto option = std::find_if(known.begin(), known.end(),
                                         [&](const KnownOption& o) { return o.name == name; });
        if (option == known.end()) return refuse(text::unknownOption(name));
        if (read.options.contains(name)) return refuse(text::optionRepeated(name));
        read.options << name;
        if (!option->takesValue) {
            if (inlineValue) return refuse(text::unknownOption(a));
            continue;
        }
        if (!inlineValue) {
            if (i + 1 >= args.size()) return refuse(text::optionNeedsValue(name));
            value = args[++i];
        }
        if (const QString why = option->judge ? option->judge(value) : QString(); !why.isEmpty())
            return refuse(why);
        if (value.isEmpty()) return refuse(text::optionNeedsValue(name));
        read.values.insert(name, value);
    }
    return read;
}

CommandLineResult parseCommandLine(const QStringList& args)
{
    const ReadArguments read = readArguments(args, 0,
                                             {{QStringLiteral("--screenshot"), true},
                                              {QStringLiteral("--card"), true},
                                              {QStringLiteral("--pdf"), true},
                                              {QStringLiteral("--structure"), true},
                                              {QStringLiteral("--read-only")},
                                              {QStringLiteral("--new-card")},
                                              {QStringLiteral("--help")}},
                                             /*dashDashEndsOptions=*/true);
    if (!read.error.isEmpty()) return fail(read.error);
    CommandLine cmd;
    cmd.readOnly = read.has(QStringLiteral("--read-only"));
    cmd.newCard = read.has(QStringLiteral("--new-card"));
    if (read.has(QStringLiteral("--help"))) cmd.job = CommandLine::Job::Help;
    cmd.screenshot = read.value(QStringLiteral("--screenshot"));
    cmd.card = read.value(QStringLiteral("--card"));
    cmd.pdf = read.value(QStringLiteral("--pdf"));
    cmd.structure = read.value(QStringLiteral("--structure"));
    const QStringList& positional = read.positional;

    if (cmd.job == CommandLine::Job::Help) return {cmd, {}};
    // No database named: the list window on the demo company of the user's data directory.
    if (positional.isEmpty()) return checkMainOptions(cmd);

    const QString first = positional.front();
    QString command;
    qsizetype expected = 1;
    if (read.firstIsData) {
        // a database named like a job
    } else if (first == QLatin1String("demo")) {
        cmd.job = CommandLine::Job::Demo;
        expected = 2;
    } else if (first == QLatin1String("verify")) {
        cmd.job = CommandLine::Job::Verify;
        expected = 2;
    } else if (first == QLatin1String("check-cycle")) {
        cmd.job = CommandLine::Job::CheckCycle;
        expected = 4;
    }
    if (cmd.job != CommandLine::Job::Main) {
        command = first;
        // The jobs that do not show anything take no options.
        if (!read.options.isEmpty())
            return fail(text::optionNotHere(read.options.front(), command));
        if (positional.size() != expected) return fail(text::wrongArgumentCount(command));
        cmd.database = positional[1];
        if (cmd.job == CommandLine::Job::CheckCycle) {
            cmd.parent = positional[2];
            cmd.child = positional[3];
        }
        return {cmd, {}};
    }

    if (positional.size() != 1) return fail(text::wrongArgumentCount(QStringLiteral("qxprostru")));
    cmd.database = first;
    if (cmd.database.isEmpty()) return fail(text::kMissingDatabase);
    return checkMainOptions(cmd);
}

}  // namespace qx
