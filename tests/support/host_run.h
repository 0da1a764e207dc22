#pragma once

// The built qxprostru (QXPROSTRU_EXE, which ctest sets) run as a separate process, the way the
// operators and the people who look after company databases run it.

#include "platform/database.h"

#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>

namespace qx::test {

// The executable, or empty when QXPROSTRU_EXE is not set (the caller skips).
QString hostExe();

struct HostRun {
    int exitCode = -1;  // -1: crashed or did not finish
    QString out;
    QString err;
};

// Runs the executable with `args` and the "NAME=value" entries of `env` added to this process's
// environment ("NAME" alone removes it), under `user` when given; Qt gets a runtime directory of
// its own, so that what stands on standard error is the program's.
HostRun runHost(const QStringList& args, const QStringList& env = {}, const QString& user = {});

// Starts it without waiting (the caller kills it or waits).
std::unique_ptr<QProcess> startHost(const QStringList& args, const QStringList& env = {});

// True once the process holds a record lock in db; false when it ended first or after a minute.
bool waitForLockOf(Database& db, QProcess& p);

// The lines of standard error without Qt's own notices.
QStringList errorLines(const QString& err);

// The text of a PDF file (pdftotext -layout).
QString pdfText(const QString& file);

}  // namespace qx::test
