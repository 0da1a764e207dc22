#pragma once

// The host executable's command line:
//   qxprostru [--read-only] [DB] [--screenshot PNG [--card CODE | --new-card]]
//     (no DB: the demo company of the user's data directory)
//   qxprostru [--read-only] DB --pdf FILE --structure CODE
//   qxprostru demo DB
//   qxprostru verify DB
//   qxprostru check-cycle DB PARENT CHILD

#include <QString>
#include <QStringList>

#include <optional>

namespace qx {

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
