#pragma once

// The explorer's command-line twins:
//   qxprostru explode DB CODE [--qty N] [--summary] [--xlsx FILE | --csv FILE]
//   qxprostru where-used DB CODE [--summary] [--xlsx FILE | --csv FILE]
// Without a file the indented tree (or, with --summary, the summary) goes to standard output as
// tab-separated text. An unknown code, a bad quantity or a bad command line: one line on
// standard error and exit 2; exit 0 otherwise.

#include <QStringList>

namespace qx {

// True when the first argument names one of these jobs.
bool isExplorerJob(const QStringList& args);

// Runs the job (a QCoreApplication must exist). Returns the exit code.
int runExplorerJob(const QStringList& args);

}  // namespace qx
