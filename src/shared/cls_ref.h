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

    void Ref1_Selected(Recordset& rs);  // parent product -> header
    void Ref2_Selected(Recordset& rs);  // producing department -> header
    void Ref3_Selected(Recordset& rs);  // child product -> line
    // The other line handlers: the picked record's second field into a column of the current row.
    void Ref4_Selected(Recordset& rs) { writeSecondField(rs, kColWarehouse); }
    void Refnew1_Selected(Recordset& rs) { writeSecondField(rs, kColFree1); }
    void Refnew2_Selected(Recordset& rs) { writeSecondField(rs, kColFree2); }
    void Refnew3_Selected(Recordset& rs) { writeSecondField(rs, kColDept); }  // issuing department
    void Refnew4_Selected(Recordset& rs) { writeSecondField(rs, kColPerson); }  // storekeeper
    void Refnew5_Selected(Recordset& rs) { writeSecondField(rs, kColOperation); }

private:
    // Line grid columns the handlers write (the card's column enum lives above this library).
    static constexpr int kColChildCode = 0;
    static constexpr int kColFree1 = 3;
    static constexpr int kColFree2 = 4;
    static constexpr int kColWarehouse = 11;
    static constexpr int kColPerson = 12;
    static constexpr int kColDept = 13;
    static constexpr int kColOperation = 14;

    void writeSecondField(Recordset& rs, int col);
    Targets t_;
};

}  // namespace qx
