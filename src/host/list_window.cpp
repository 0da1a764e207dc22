#include "host/list_window.h"

#include "texts/texts.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/grid.h"

#include <QApplication>
#include <QPixmap>

namespace qx {

namespace {

void handOver(FrmPS& w, const QXProStru& host)
{
    w.setDatabase(host.db());
    w.setReadOnly(host.ReadOnly(), host.Unwritable());
    w.setRecordsets(host.parentRecords(), host.childRecords(), host.joinedRecords());
}

}  // namespace

void installListWindow()
{
    QXProStru::setShowHook(&showListWindow);
}

void showListWindow(QXProStru& host)
{
    FrmPS w;
    handOver(w, host);
    w.showModal();
}

int screenshotListWindow(QXProStru& host, const QString& png, QString* error)
{
    FrmPS w;
    handOver(w, host);
    w.show();
    QApplication::processEvents();
    const QPixmap picture = w.grab();
    w.close();
    if (picture.isNull() || !picture.save(png, "PNG"))
        return jobFailed(error, text::outputUnwritable(png), 1);
    return 0;
}

int jobFailed(QString* error, const QString& line, int status)
{
    if (error) *error = line;
    return status;
}

std::unique_ptr<FrmPS> loadHiddenListWindow(QXProStru& host)
{
    if (!host.db() || !host.parentRecords() || !host.childRecords() || !host.joinedRecords())
        return nullptr;
    auto w = std::make_unique<FrmPS>();
    handOver(*w, host);
    w->load();
    return w;
}

int selectStructure(FrmPS& window, const QString& code)
{
    Grid& parents = *window.SupPS1();
    const QString wanted = code.trimmed();
    for (int r = 1; r < parents.rows(); ++r) {
        if (parents.textMatrix(r, ParentColCode).trimmed() != wanted) continue;
        parents.setRow(r);
        window.Ffliter(wanted);
        return r;
    }
    return 0;
}

}  // namespace qx
