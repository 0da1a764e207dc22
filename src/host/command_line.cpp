#include "host/command_line.h"

#include "data/texts.h"

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

CommandLineResult parseCommandLine(const QStringList& args)
{
    CommandLine cmd;
    QStringList positional;
    QStringList seenOptions;
    bool optionsEnded = false;
    bool firstIsData = false;  // the first positional came after "--": a database, never a job

    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (optionsEnded || !a.startsWith(QLatin1String("--")) || a == QLatin1String("--")) {
            if (a == QLatin1String("--") && !optionsEnded) {
                optionsEnded = true;
                continue;
            }
            if (positional.isEmpty()) firstIsData = optionsEnded;
            positional << a;
            continue;
        }
        // "--name=value" and "--name value" both work.
        QString name = a;
        QString value;
        bool inlineValue = false;
        if (const qsizetype eq = a.indexOf(QLatin1Char('=')); eq > 0) {
            name = a.left(eq);
            value = a.mid(eq + 1);
            inlineValue = true;
        }
        const bool takesValue = name == QLatin1String("--screenshot") || name == QLatin1String("--card") ||
                                name == QLatin1String("--pdf") || name == QLatin1String("--structure");
        const bool flag = name == QLatin1String("--read-only") || name == QLatin1String("--new-card") ||
                          name == QLatin1String("--help");
        if (!takesValue && !flag) return fail(text::unknownOption(name));
        if (seenOptions.contains(name)) return fail(text::optionRepeated(name));
        seenOptions << name;
        if (flag) {
            if (inlineValue) return fail(text::unknownOption(a));
            if (name == QLatin1String("--read-only")) cmd.readOnly = true;
            else if (name == QLatin1String("--new-card")) cmd.newCard = true;
            else cmd.job = CommandLine::Job::Help;
            continue;
        }
        if (!inlineValue) {
            if (i + 1 >= args.size()) return fail(text::optionNeedsValue(name));
            value = args[++i];
        }
        if (value.isEmpty()) return fail(text::optionNeedsValue(name));
        if (name == QLatin1String("--screenshot")) cmd.screenshot = value;
        else if (name == QLatin1String("--card")) cmd.card = value;
        else if (name == QLatin1String("--pdf")) cmd.pdf = value;
        else cmd.structure = value;
    }

    if (cmd.job == CommandLine::Job::Help) return {cmd, {}};
    // No database named: the list window on the demo company of the user's data directory.
    if (positional.isEmpty()) return checkMainOptions(cmd);

    const QString first = positional.front();
    QString command;
    qsizetype expected = 1;
    if (firstIsData) {
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
        if (!seenOptions.isEmpty()) return fail(text::optionNotHere(seenOptions.front(), command));
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
