#pragma once

// The host's jobs for structures in bulk:
//   qxprostru import DB FILE [--replace] [--dry-run]
//   qxprostru import-template [DB] FILE.xlsx
//   qxprostru replace DB OLD NEW [--factor F] [--dry-run]
// Exit codes: 0 written (or checked), 1 refused (the report on standard output), 2 an
// unreadable file, a database that cannot be opened, or bad arguments.

#include <QStringList>

#include <optional>

namespace qx {

// Runs the job when args (without the program name) name one of them; nothing otherwise.
std::optional<int> runBulkJob(const QStringList& args, int& argc, char** argv);

}  // namespace qx
