#include "card/card_screenshot.h"

#include "card/frm_pro_stru.h"

#include <QApplication>
#include <QFileInfo>
#include <QPixmap>

namespace qx {

bool saveCardPng(FrmProStru& card, const QString& png, QString* error)
{
    if (!card.isVisible()) card.show();
    QApplication::processEvents();
    const QPixmap shot = card.grab();
    if (shot.isNull() || !shot.save(png, "PNG")) {
        if (error) *error = QFileInfo(png).absoluteFilePath();
        return false;
    }
    return true;
}

}  // namespace qx
