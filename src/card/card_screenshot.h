#pragma once

#include <QString>

namespace qx {

class FrmProStru;

// Lays the card out at its size (shown offscreen when no screen is wanted) and writes what it
// shows to a PNG file. False with `error` naming what failed.
bool saveCardPng(FrmProStru& card, const QString& png, QString* error);

}  // namespace qx
