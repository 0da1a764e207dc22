#pragma once

// How the host opens a company: an absent file is an error, never a new company; a company
// that cannot be written opens for reading instead of failing.

#include "platform/database.h"

#include <QString>

#include <memory>

namespace qx {

struct OpenedCompany {
    std::unique_ptr<Database> db;
    // Opened for reading because the company cannot be written (not because it was asked).
    bool unwritable = false;
};

// readOnly: asked for (--read-only); nothing is then written. Throws DbError naming what failed.
OpenedCompany openCompany(const QString& connection, bool readOnly);

// The demo company opened when no database is named: in the user's data directory, created
// (with the demo data) on first use. `created` tells whether this call made it.
QString defaultDemoCompany(bool* created);

}  // namespace qx
