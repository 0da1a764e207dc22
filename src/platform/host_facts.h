#pragma once

#include <QString>

namespace qx {

// This workstation's name (the host name, or $QX_COMPUTER_NAME when set, which tests use to
// stand for a second computer), cut to 30 bytes on a whole character.
QString computerName();

// The machine as far as process ids mean anything: its machine id, its full host name and this
// process's pid namespace (two containers of one host name are two machines here).
// $QX_MACHINE_ID, when set, stands for the machine id (tests: another machine of the same name).
QString machineIdentity();

// This boot of the machine (the kernel's boot id): a process of another boot has ended.
QString bootIdentity();

// When the process started, in clock ticks after boot; 0 when it is not running (or unknown).
// With the boot and the pid it tells a process apart from a later one that reuses its id.
long long processStartTime(long long pid);

// The component's data directory (help files, the scratch print database): $QX_SYSTEM_DIR when
// set, else the user's application data directory. Created when missing.
QString systemDirectory();

}  // namespace qx
