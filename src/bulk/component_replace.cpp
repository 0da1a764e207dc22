#include "bulk/component_replace.h"

#include "card/line_validation.h"
#include "data/texts.h"
#include "platform/database.h"
#include "platform/lock_service.h"
#include "platform/sql_dialect.h"
#include "shared/record_lock.h"

#include <QSet>

#include <algorithm>

namespace qx {

namespace {

QStringList parentsUsing(Database& db, const QString& child)
{
    auto rs = db.openRecordset(
        QStringLiteral("select distinct cPSPCode from ProductStructures where cPSCode=?"),
        RecordsetType::Snapshot, 0, {child});
    QStringList parents;
    for (int r = 0; r < rs->recordCount(); ++r) parents << rs->value(r, 0).toString();
    parents.sort();
    return parents;
}

// The codes the new item reaches once the old one is gone from every line: a parent among them
// would hold the new item below itself. One walk down from the new item, a generation per
// statement (a slice of codes each), as the cycle check walks up.
QSet<QString> reachedFrom(Database& db, const QString& newCode, const QString& oldCode)
{
    constexpr int kSlice = 100;
    QSet<QString> reached{newCode};
    QStringList generation{newCode};
    while (!generation.isEmpty()) {
        QStringList next;
        for (qsizetype from = 0; from < generation.size(); from += kSlice) {
            const QStringList slice = generation.mid(from, kSlice);
            QStringList marks;
            QVariantList params{oldCode};
            for (const QString& code : slice) {
                marks << QStringLiteral("?");
                params << code;
            }
            auto rs = db.openRecordset(
                QStringLiteral("select distinct cPSCode from ProductStructures where cPSCode<>? and "
                               "cPSPCode in (") +
                    marks.join(QLatin1Char(',')) + QLatin1Char(')'),
                RecordsetType::Snapshot, 0, params);
            for (int r = 0; r < rs->recordCount(); ++r) {
                const QString child = rs->value(r, 0).toString();
                if (reached.contains(child)) continue;  // a stored loop is walked once
                reached.insert(child);
                next << child;
            }
        }
        generation = next;
    }
    return reached;
}

void writeReplacement(Database& db, const ReplaceRequest& req, Transaction& tx,
                      ReplaceResult& result, int structures)
{
    result.structures = structures;
    result.lines = db.execute(
        QStringLiteral("update ProductStructures set cPSCode=?, iPSQuantity=iPSQuantity*? "
                       "where cPSCode=?"),
        {req.newCode, req.factor, req.oldCode});
    if (req.dryRun) {
        tx.rollback();
        result.outcome = ReplaceResult::Outcome::Checked;
    } else {
        tx.commit();
        result.outcome = ReplaceResult::Outcome::Written;
    }
}

}  // namespace

QStringList ReplaceResult::report() const
{
    QStringList out = refusals;
    switch (outcome) {
        case Outcome::Written:
            out << text::replaceDone(structures, lines);
            break;
        case Outcome::Checked:
            out << text::replaceChecked(structures, lines);
            break;
        case Outcome::Refused:
            out << text::replaceRefused(int(refusals.size()));
            break;
        case Outcome::Failed:
            out << error;
            break;
    }
    return out;
}

int ReplaceResult::exitCode() const
{
    switch (outcome) {
        case Outcome::Written:
        case Outcome::Checked:
            return 0;
        case Outcome::Refused:
            return 1;
        default:
            return 2;
    }
}

ReplaceResult replaceComponent(Database& db, const ReplaceRequest& req)
{
    ReplaceResult result;
    const auto refuseWhole = [&](const QString& message) {
        result.refusals << message;
        result.outcome = ReplaceResult::Outcome::Refused;
        return result;
    };
    if (hasIllegalChars(req.oldCode) || hasIllegalChars(req.newCode))
        return refuseWhole(text::kIllegalChars);
    if (req.oldCode.isEmpty() || req.newCode.isEmpty()) return refuseWhole(text::kChildEmpty);
    if (!(req.factor > 0)) return refuseWhole(text::kFactorNotPositive);

    QStringList locked;
    LockService locks(db);
    try {
        // Locks first, outside the transaction, as the list takes them before it edits.
        const QStringList candidates = parentsUsing(db, req.oldCode);
        if (candidates.isEmpty()) return refuseWhole(text::kNoStructureUses + QStringLiteral("：") + req.oldCode);
        // One commit for all the keys.
        LockService::ensureTable(db);
        {
            Transaction lockTx(db);
            const QStringList refused =
                locks.lockRecords(kLockCategory, kLockSystem, kLockMode, req.computer, candidates);
            const QSet<QString> refusedSet(refused.begin(), refused.end());
            for (const QString& p : candidates) {
                if (refusedSet.contains(p))
                    result.refusals << text::replaceRefusal(p, text::kLockedCannotModify);
                else
                    locked << p;
            }
            lockTx.commit();
        }

        Transaction tx(db);
        const QString serialize = db.dialect().structureWriteLockStatement();
        if (!serialize.isEmpty()) db.execute(serialize);
        const QStringList parents = parentsUsing(db, req.oldCode);
        // A structure that took the old item since the locks were taken is another
        // workstation's change under way.
        const QSet<QString> asked(candidates.begin(), candidates.end());
        for (const QString& p : parents)
            if (!asked.contains(p)) result.refusals << text::replaceRefusal(p, text::kConcurrentChange);

        auto item = db.openRecordset(
            QStringLiteral("select cInvCode, bService from inventory where cInvCode=?"),
            RecordsetType::Snapshot, 0, {req.newCode});
        const bool known = item->recordCount() > 0;
        const bool service = known && item->value(0, 1).toDouble() != 0;
        const QStringList holderList = parentsUsing(db, req.newCode);
        const QSet<QString> holders(holderList.begin(), holderList.end());
        const QSet<QString> reached = reachedFrom(db, req.newCode, req.oldCode);
        for (const QString& p : parents) {
            QString message;
            if (!known || service)
                message = text::kInvNotExist;  // a service is no item the card offers
            else if (holders.contains(p) || p.compare(req.newCode, Qt::CaseInsensitive) == 0)
                message = text::kProductRepeated;
            else if (reached.contains(p))
                message = text::kCycle;
            if (!message.isEmpty()) result.refusals << text::replaceRefusal(p, message);
        }
        if (!result.refusals.isEmpty()) {
            std::sort(result.refusals.begin(), result.refusals.end());
            tx.rollback();
            result.outcome = ReplaceResult::Outcome::Refused;
        } else {
            writeReplacement(db, req, tx, result, int(parents.size()));
        }
    } catch (const DbError& e) {
        result.error = e.description();
        result.outcome = ReplaceResult::Outcome::Failed;
    }
    try {
        if (!locked.isEmpty()) {
            Transaction unlockTx(db);
            locks.unlockRecords(kLockCategory, locked);
            unlockTx.commit();
        }
    } catch (const DbError&) {
    }
    return result;
}

}  // namespace qx
