#include "shared/cls_ref.h"

#include "platform/database.h"
#include "shared/code_to_name.h"

namespace qx {

namespace {
// Line grid columns the handlers write (the card's column enum lives above this library).
constexpr int kColChildCode = 0;
constexpr int kColFree1 = 3;
constexpr int kColFree2 = 4;
constexpr int kColWarehouse = 11;
constexpr int kColPerson = 12;
constexpr int kColDept = 13;
constexpr int kColOperation = 14;
}  // namespace

void ClsRef::writeSecondField(Recordset& rs, int col)
{
    if (!t_.lines || rs.fieldCount() < 2) return;
    const int row = t_.lines->currentRow();
    if (row < 1) return;
    t_.lines->setCell(row, col, NullToText(rs.field(1)));
}

void ClsRef::Ref1_Selected(Recordset& rs)
{
    if (!t_.parentPicked) return;
    t_.parentPicked(NullToText(rs.field(QStringLiteral("cInvCode"))),
                    NullToText(rs.field(QStringLiteral("cInvName"))),
                    NullToText(rs.field(QStringLiteral("cInvStd"))));
}

void ClsRef::Ref2_Selected(Recordset& rs)
{
    if (t_.departmentPicked) t_.departmentPicked(NullToText(rs.field(QStringLiteral("cDepName"))));
}

void ClsRef::Ref3_Selected(Recordset& rs)
{
    if (t_.childPicked) {
        t_.childPicked(NullToText(rs.field(QStringLiteral("cInvCode"))));
    } else if (t_.lines && t_.lines->currentRow() >= 1) {
        t_.lines->setCell(t_.lines->currentRow(), kColChildCode,
                          NullToText(rs.field(QStringLiteral("cInvCode"))));
    }
}

void ClsRef::Ref4_Selected(Recordset& rs)
{
    writeSecondField(rs, kColWarehouse);
}
void ClsRef::Refnew1_Selected(Recordset& rs)
{
    writeSecondField(rs, kColFree1);
}
void ClsRef::Refnew2_Selected(Recordset& rs)
{
    writeSecondField(rs, kColFree2);
}
void ClsRef::Refnew3_Selected(Recordset& rs)
{
    writeSecondField(rs, kColDept);
}
void ClsRef::Refnew4_Selected(Recordset& rs)
{
    writeSecondField(rs, kColPerson);
}
void ClsRef::Refnew5_Selected(Recordset& rs)
{
    writeSecondField(rs, kColOperation);
}

}  // namespace qx
