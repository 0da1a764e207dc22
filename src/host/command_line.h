#pragma once

// The host executable's command line:
//   qxprostru [--read-only] [DB] [--screenshot PNG [--card CODE | --new-card]]
//     (no DB: the demo company of the user's data directory)
//   qxprostru [--read-only] DB --pdf FILE --structure CODE
//   qxprostru demo DB
//   qxprostru verify DB
//   qxprostru check-cycle DB PARENT CHILD

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace qx {

// One option a job of the host knows.
struct KnownOption {
    QString name;             // with its dashes: "--qty"
    bool takesValue = false;  // "--name value" or "--name=value"; otherwise a flag
    // Judges the value as it is read: a refusal is given as it stands, not as a bad command line.
    std::function<QString(const QString&)> judge = {};
};

// A job's arguments as the host's one reader reads them.
struct ReadArguments {
    QStringList positional;
    QStringList options;             // the options given, in order
    QHash<QString, QString> values;  // of the options that take one
    bool firstIsData = false;        // the first positional came after "--"
    QString error;                   // the first thing wrong; empty: nothing

    bool has(const QString& name) const { return options.contains(name); }
    QString value(const QString& name) const { return values.value(name); }
};

// Reads args from index `from` on. What does not start with "--" is positional, and so is "--"
// itself unless `dashDashEndsOptions`: then the first "--" ends the options and everything after
// it is positional. An unknown or repeated option, a flag given a value and a missing or empty
// value are refused; `error` names the first of them (without the "bad command line" prefix).
ReadArguments readArguments(const QStringList& args, qsizetype from,
                            const QList<KnownOption>& known, bool dashDashEndsOptions = false);

struct CommandLine {
    enum class Job { Main, Demo, Verify, CheckCycle, Help };

    Job job = Job::Main;
    QString database;  // connection string as given; empty: the default demo company
    bool readOnly = false;

    QString screenshot;  // PNG to render to, empty: none
    QString card;        // with screenshot: the card of this structure
    bool newCard = false;  // with screenshot: an empty new card

    QString pdf;        // PDF to print to, empty: none
    QString structure;  // with pdf: the structure to print

    QString parent;  // check-cycle
    QString child;

    bool wantsWindow() const { return job == Job::Main && pdf.isEmpty(); }
};

struct CommandLineResult {
    std::optional<CommandLine> command;
    QString error;  // one line naming what is wrong, when command is empty
};

// args without the program name.
CommandLineResult parseCommandLine(const QStringList& args);

}  // namespace qx
