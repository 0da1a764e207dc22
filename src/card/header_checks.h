#pragma once

#include "card/card_lookups.h"

#include <QString>

namespace qx {

class Recordset;

// The parent-code check of the card's header. On acceptance of a new parent, `name` and `spec`
// receive the product's name and specification (filled = true).
struct ParentCheck {
    Verdict verdict;
    bool filled = false;
    QString name;
    QString spec;
};

// adding = false (an existing structure is edited): any non-empty code passes unlooked-up.
// parentRecords: the header rows the list handed over (searched on cpspcode); inventory: the
// card's item list (searched on cInvcode).
ParentCheck checkParentCode(const QString& code, bool adding, Recordset* parentRecords,
                            Recordset* inventory);

// The department check: an empty text passes; a name passes as typed; a code passes and `text`
// becomes its name; anything else is refused. departments: the card's end-level departments.
Verdict checkDepartment(QString& text, Recordset* departments);

}  // namespace qx
