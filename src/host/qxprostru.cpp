#include "host/qxprostru.h"

#include "data/schema.h"
#include "texts/texts.h"
#include "platform/db_error.h"

#include <exception>

namespace qx {

namespace {

QXProStru::ShowHook& showHook()
{
    static QXProStru::ShowHook hook;
    return hook;
}

}  // namespace

std::unique_ptr<Recordset> OpenRecordset(Database& db, const QString& query, bool readOnly,
                                         const QString& /*caption*/)
{
    try {
        return db.openRecordset(query, readOnly ? RecordsetType::Snapshot : RecordsetType::Dynaset);
    } catch (const std::exception&) {  // DbError and anything else the driver raises
        return nullptr;
    }
}

void QXProStru::setShowHook(ShowHook hook) { showHook() = std::move(hook); }
bool QXProStru::hasShowHook() { return static_cast<bool>(showHook()); }

QXProStru::QXProStru() = default;
QXProStru::~QXProStru() = default;

bool QXProStru::Init(Database& dbase, bool blnread)
{
    db_ = &dbase;
    if (!blnread) schema::upgradeWasteRate(dbase);
    readOnly_ = blnread;
    parent_ = OpenRecordset(dbase, kParentQuery, blnread, text::kParentRecordset);
    child_ = OpenRecordset(dbase, kChildQuery, blnread, text::kChildRecordset);
    // The joined rows are kept for the host; the list window never reads them: fetched when
    // first asked for.
    try {
        joined_ = dbase.openRecordset(kJoinedQuery, blnread ? RecordsetType::Snapshot : RecordsetType::Dynaset,
                                      kFetchOnFirstUse);
    } catch (const std::exception&) {
        joined_.reset();
    }
    return parent_ && child_ && joined_;
}

void QXProStru::Show()
{
    if (showHook()) showHook()(*this);
}

}  // namespace qx
