#pragma once

#include <QString>

namespace qx {

// This workstation's name (the host name, or $QX_COMPUTER_NAME when set, which tests use to
// stand for a second computer), cut to 30 bytes on a whole character.
QString computerName();

// The component's data directory (help files, the scratch print database): $QX_SYSTEM_DIR when
// set, else the user's application data directory. Created when missing.
QString systemDirectory();

}  // namespace qx
