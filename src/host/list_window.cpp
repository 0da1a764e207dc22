#include "host/list_window.h"

#include "data/texts.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"

#include <QApplication>
#include <QPixmap>

namespace qx {

namespace {

void handOver(FrmPS& w, QXProStru& host)
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
    if (picture.isNull() || !picture.save(png, "PNG")) {
        if (error) *error = text::outputUnwritable(png);
        return 1;
    }
    return 0;
}

}  // namespace qx
