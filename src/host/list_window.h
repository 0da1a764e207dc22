#pragma once

#include <QString>

namespace qx {

class QXProStru;

// Registers the list window as what QXProStru::Show shows.
void installListWindow();

// The list window of the host's company, shown modally; returns when it has closed.
void showListWindow(QXProStru& host);

// Loads the list window (offscreen when no screen is wanted), renders it to a PNG file and
// closes it. 0 when the file was written; otherwise `error` names what failed.
int screenshotListWindow(QXProStru& host, const QString& png, QString* error);

}  // namespace qx
