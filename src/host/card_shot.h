#pragma once

#include <QString>

namespace qx {

class QXProStru;

// `qxprostru DB --screenshot PNG --card CODE | --new-card`: loads the list window (never shown),
// opens the card of CODE as the edit command opens it (or an empty new card as the add command
// does), renders it to PNG and closes it. 0 when the file was written; otherwise `error` gets
// one line naming what failed (an unknown structure, a file that cannot be written).
int screenshotCard(QXProStru& host, const QString& code, bool newCard, const QString& png,
                   QString* error);

}  // namespace qx
