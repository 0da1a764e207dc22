#pragma once

#include <QString>

#include <memory>

namespace qx {

class FrmPS;
class QXProStru;

// Registers the list window as what QXProStru::Show shows.
void installListWindow();

// The list window of the host's company, shown modally; returns when it has closed.
void showListWindow(QXProStru& host);

// Loads the list window (offscreen when no screen is wanted), renders it to a PNG file and
// closes it. 0 when the file was written; otherwise `error` names what failed.
int screenshotListWindow(QXProStru& host, const QString& png, QString* error);

// A windowless job's failure: `line` becomes its one error line, `status` its result.
int jobFailed(QString* error, const QString& line, int status);

// The list window loaded from the host's recordsets as Show loads it, but never shown: the
// windowless jobs work through it so that they give exactly what the window would. Null when
// the host has not been through Init. Install a prompter first: loading may have to say
// something.
std::unique_ptr<FrmPS> loadHiddenListWindow(QXProStru& host);

// Selects the structure `code` (trimmed) as a click on its row does, so that the line grid
// holds its lines. Its row in the parent grid; 0 when the list has no such structure.
int selectStructure(FrmPS& window, const QString& code);

}  // namespace qx
