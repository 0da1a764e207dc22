#include "card/header_checks.h"

#include "data/common.h"
#include "texts/texts.h"
#include "platform/database.h"
#include "shared/code_to_name.h"

namespace qx {

namespace {
bool found(const QString& value, Recordset* rs, const QString& field)
{
    return rs && FindRecord(value, *rs, field);
}
}  // namespace

ParentCheck checkParentCode(const QString& code, bool adding, Recordset* parentRecords,
                            Recordset* inventory)
{
    ParentCheck r;
    if (code.isEmpty()) {
        r.verdict = Verdict::refuse(text::kParentEmpty);
        return r;
    }
    if (!adding) return r;
    // A parent that already has a structure cannot be added twice, even when it is a valid item.
    if (found(code, parentRecords, QStringLiteral("cpspcode"))) {
        r.verdict = Verdict::refuse(text::kParentDefined);
        return r;
    }
    if (found(code, inventory, QStringLiteral("cInvcode"))) {
        r.filled = true;
        r.name = NullToText(inventory->field(QStringLiteral("cInvName")));
        r.spec = NullToText(inventory->field(QStringLiteral("cInvStd")));
        return r;
    }
    r.verdict = Verdict::refuse(text::kInvNotExist);
    return r;
}

Verdict checkDepartment(QString& text, Recordset* departments)
{
    if (text.isEmpty()) return Verdict::ok();
    // The name is tried first, so that a name that is also another department's code stays a name.
    if (found(text, departments, QStringLiteral("cdepName"))) return Verdict::ok();
    if (found(text, departments, QStringLiteral("cdepcode"))) {
        departments->findFirst(Criteria::eq(QStringLiteral("cdepcode"), text));
        if (!departments->noMatch())
            text = NullToText(departments->field(QStringLiteral("cdepName")));
        return Verdict::ok();
    }
    return Verdict::refuse(text::kProduceDeptNotExist);
}

}  // namespace qx
