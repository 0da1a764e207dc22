#include "platform/own_def.h"

#include "texts/texts.h"
#include "platform/database.h"

namespace qx {

QString OwnDefService::name(const QString& id)
{
    QString builtIn;
    if (id == QLatin1String("20"))
        builtIn = text::kFreeDefault1;
    else if (id == QLatin1String("21"))
        builtIn = text::kFreeDefault2;
    else
        return {};

    try {
        if (!db_.tableExists(QStringLiteral("UserDefItem"))) return builtIn;
        auto rs = db_.openRecordset(QStringLiteral("select cName from UserDefItem where cID=?"),
                                    RecordsetType::Snapshot, 0, {id});
        if (!rs || rs->recordCount() == 0) return builtIn;
        rs->moveFirst();
        const QVariant v = rs->field(0);
        const QString stored = v.isNull() ? QString() : v.toString();
        return stored.trimmed().isEmpty() ? builtIn : stored;
    } catch (const DbError&) {
        // An unreadable table counts as nothing configured; the list still opens.
        return builtIn;
    }
}

}  // namespace qx
