#pragma once

#include <QString>

namespace qx {

class QXProStru;

// `qxprostru DB --pdf FILE --structure CODE`: prints the page of one structure to a PDF for
// batch printing, without showing a window. The list window is loaded (never shown) so that the
// page holds exactly what print would give from it. 0 when the file was written; otherwise
// `error` gets one line naming what failed (an unknown structure, a file that cannot be
// written, the scratch database) and the result is not 0.
// `host` has been through Init.
int printStructureToPdf(QXProStru& host, const QString& code, const QString& file, QString* error);

}  // namespace qx
