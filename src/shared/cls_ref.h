#pragma once

// Handlers of the card's reference dialogs: each receives the recordset left on the picked row
// and copies a value of it into the card.

#include "shared/line_grid.h"

#include <QString>
#include <QVariant>

#include <functional>

namespace qx {

class Recordset;

class ClsRef {
public:
    // What a pick writes into the header fields; the line handlers write into `lines`.
    struct Targets {
        LineGrid* lines = nullptr;
        // Parent product pick: code, name, specification.
        std::function<void(const QString&, const QString&, const QString&)> parentPicked;
        // Department pick: the department's name.
        std::function<void(const QString&)> departmentPicked;
        // Child product pick: the picked code, checked by the card as if typed.
        std::function<void(const QString&)> childPicked;
    };

    explicit ClsRef(Targets targets) : t_(std::move(targets)) {}

    void Ref1_Selected(Recordset& rs);     // parent product -> header
    void Ref2_Selected(Recordset& rs);     // producing department -> header
    void Ref3_Selected(Recordset& rs);     // child product -> column 0
    void Ref4_Selected(Recordset& rs);     // warehouse -> column 11
    void Refnew1_Selected(Recordset& rs);  // free item 1 -> column 3
    void Refnew2_Selected(Recordset& rs);  // free item 2 -> column 4
    void Refnew3_Selected(Recordset& rs);  // issuing department -> column 13
    void Refnew4_Selected(Recordset& rs);  // storekeeper -> column 12
    void Refnew5_Selected(Recordset& rs);  // operation -> column 14

private:
    // The line handlers: the picked record's second field into `col` of the current row.
    void writeSecondField(Recordset& rs, int col);
    Targets t_;
};

}  // namespace qx
