#include "shared/cls_ref.h"

#include "platform/database.h"
#include "shared/code_to_name.h"

namespace qx {


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

}  // namespace qx
