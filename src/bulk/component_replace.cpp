#include "bulk/component_replace.h"

#include "card/free_items.h"
#include "card/line_validation.h"
#include "data/common.h"
#include "texts/texts.h"
#include "platform/database.h"
#include "platform/lock_service.h"
#include "platform/own_def.h"
#include "platform/sql_dialect.h"
#include "shared/code_to_name.h"
#include "shared/list_context.h"
#include "shared/record_lock.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace qx {

namespace {

QStringList parentsUsing(Database& db, const QString& child)
{
    const std::vector<QString> cells = db.selectTexts(
        QStringLiteral("select distinct cPSPCode from ProductStructures where cPSCode=?"), {child});
    QStringList parents(cells.begin(), cells.end());
    parents.sort();
    return parents;
}

// A line that holds the old item, as the rules for the new one need it.
struct UsingLine {
    QString parent, free1, free2, warehouse;
};

std::vector<UsingLine> linesUsing(Database& db, const QString& child)
{
    const std::vector<QString> cells = db.selectTexts(
        QStringLiteral("select cPSPCode, cFree1, cFree2, cWhCode from ProductStructures where cPSCode=?"),
        {child});
    std::vector<UsingLine> lines;
    lines.reserve(cells.size() / 4);
    for (size_t i = 0; i + 3 < cells.size(); i += 4)
        lines.push_back({cells[i], cells[i + 1], cells[i + 2], cells[i + 3]});
    return lines;
}

// The number the card gives the old item's line in each structure: the card lists a
// structure's lines by child code, those whose item is known. Asked only for the structures
// whose message names the line.
QHash<QString, int> cardLineNumbers(Database& db, const QString& child)
{
    const std::vector<QString> cells = db.selectTexts(
        QStringLiteral("select s.cPSPCode, count(*) from ProductStructures s "
                       "inner join Inventory i on i.cInvCode = s.cPSCode "
                       "inner join ProductStructures o on o.cPSPCode = s.cPSPCode and o.cPSCode = ? "
                       "where s.cPSCode < ? group by s.cPSPCode"),
        {child, child});
    QHash<QString, int> numbers;
    for (size_t i = 0; i + 1 < cells.size(); i += 2) numbers.insert(cells[i], cells[i + 1].toInt() + 1);
    return numbers;
}

// The new item as the card's line rules read it: a recordset standing on its row.
struct NewItem {
    std::unique_ptr<Recordset> row;
    ItemFlags flags;
    bool known = false;
};

NewItem readNewItem(Database& db, const QString& code)
{
    NewItem item;
    item.row = db.openRecordset(
        QStringLiteral("select cInvCode, bService, bFree1, bFree2, iInvRCost from inventory where cInvCode=?"),
        RecordsetType::Snapshot, 0, {code});
    item.known = item.row->recordCount() > 0;
    if (!item.known) return item;
    item.row->moveFirst();
    const auto flag = [&](const char* f) { return item.row->field(QString::fromLatin1(f)).toDouble() != 0; };
    item.flags = {flag("bFree1"), flag("bFree2"), flag("bService")};
    return item;
}

// The card's rules that depend on a line's item, applied to the new item on the lines that
// change: the free items the item does not use must be empty, and a warehouse valued at planned
// price needs an item with one. Returns each refused parent's message.
class NewItemRules {
public:
    NewItemRules(Database& db, NewItem& item) : db_(db), item_(item) {}

    // The card's message for the line, or an empty text. A free-item message names the line,
    // whose number is filled in by `finish`.
    QString judge(const UsingLine& line)
    {
        if ((!item_.flags.free1 && !line.free1.isEmpty()) || (!item_.flags.free2 && !line.free2.isEmpty())) {
            pending_.insert(line.parent, line);
            return QStringLiteral("?");
        }
        return warehouseVerdict(line.warehouse).message;
    }
    // The free-item messages, with the line each names.
    QHash<QString, QString> finish(const QString& oldCode)
    {
        QHash<QString, QString> messages;
        if (pending_.isEmpty()) return messages;
        ListContext names;
        try {
            OwnDefService ownDef(db_);
            names.FreeName1 = ownDef.name(QStringLiteral("20"));
            names.FreeName2 = ownDef.name(QStringLiteral("21"));
        } catch (const DbError&) {
            // The built-in names stay.
        }
        const QHash<QString, int> numbers = cardLineNumbers(db_, oldCode);
        for (auto it = pending_.cbegin(); it != pending_.cend(); ++it)
            messages.insert(it.key(), freeItemRefusalAt(numbers.value(it.key(), 1), it->free1, it->free2,
                                                        item_.flags, names));
        return messages;
    }

private:
    Verdict warehouseVerdict(const QString& code)
    {
        const auto it = warehouses_.constFind(code);
        if (it != warehouses_.constEnd()) return *it;
        if (!warehouseList_) warehouseList_ = db_.openRecordset(kWarehouseListSql, RecordsetType::Snapshot);
        // The card shows the warehouse's name and finds the line's warehouse by that name.
        Verdict v;
        const QString name = CodeToName_WareHouse(code, db_);
        if (!name.isEmpty() && FindRecord(name, *warehouseList_, QStringLiteral("cwhname")))
            v = checkPlannedPriceWarehouse(*warehouseList_, *item_.row);
        warehouses_.insert(code, v);
        return v;
    }

    Database& db_;
    NewItem& item_;
    std::unique_ptr<Recordset> warehouseList_;
    QHash<QString, Verdict> warehouses_;
    QHash<QString, UsingLine> pending_;
};

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

// Writes the replacement; a written one gives its locks back with the same commit, so that
// nobody can take a structure between the two.
void writeReplacement(Database& db, const ReplaceRequest& req, Transaction& tx,
                      ReplaceResult& result, int structures, LockService& locks, QStringList& locked)
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
        locks.unlockRecords(kLockCategory, locked);
        tx.commit();
        locked.clear();
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
        // Locks first, outside the transaction, as the list takes them before it edits; under
        // the key the list's commands use (the code without blanks on either side).
        const QStringList candidates = parentsUsing(db, req.oldCode);
        if (candidates.isEmpty()) return refuseWhole(text::kNoStructureUses + QStringLiteral("：") + req.oldCode);
        QStringList keys;
        keys.reserve(candidates.size());
        for (const QString& p : candidates) keys << lockKey(p);
        LockService::ensureTable(db);
        {
            // One commit for all the keys.
            Transaction lockTx(db);
            const QStringList refused =
                locks.lockRecords(kLockCategory, kLockSystem, kLockMode, req.computer, keys);
            const QSet<QString> refusedSet(refused.begin(), refused.end());
            for (qsizetype i = 0; i < candidates.size(); ++i) {
                if (refusedSet.contains(keys[i]))
                    result.refusals << text::replaceRefusal(candidates[i], text::kLockedCannotModify);
                else
                    locked << keys[i];
            }
            lockTx.commit();
        }

        Transaction tx(db);
        const QString serialize = db.dialect().structureWriteLockStatement();
        if (!serialize.isEmpty()) db.execute(serialize);
        const std::vector<UsingLine> lines = linesUsing(db, req.oldCode);
        QStringList parents;
        {
            QSet<QString> seen;
            for (const UsingLine& l : lines)
                if (!seen.contains(l.parent)) {
                    seen.insert(l.parent);
                    parents << l.parent;
                }
        }
        // A structure that took the old item since the locks were taken is another
        // workstation's change under way.
        const QSet<QString> asked(candidates.begin(), candidates.end());
        for (const QString& p : parents)
            if (!asked.contains(p)) result.refusals << text::replaceRefusal(p, text::kConcurrentChange);

        NewItem item = readNewItem(db, req.newCode);
        const bool service = item.known && item.flags.service;
        const QStringList holderList = parentsUsing(db, req.newCode);
        const QSet<QString> holders(holderList.begin(), holderList.end());
        const QSet<QString> reached = reachedFrom(db, req.newCode, req.oldCode);
        NewItemRules rules(db, item);
        QHash<QString, QString> refusedParents;  // the first message of each parent
        for (const UsingLine& line : lines) {
            const QString& p = line.parent;
            if (refusedParents.contains(p)) continue;
            QString message;
            if (!item.known || service)
                message = text::kInvNotExist;  // a service is no item the card offers
            else if (holders.contains(p) || p.compare(req.newCode, Qt::CaseInsensitive) == 0)
                message = text::kProductRepeated;
            else if (reached.contains(p))
                message = text::kCycle;
            else
                message = rules.judge(line);
            if (!message.isEmpty()) refusedParents.insert(p, message);
        }
        const QHash<QString, QString> lineMessages = rules.finish(req.oldCode);
        for (auto it = refusedParents.cbegin(); it != refusedParents.cend(); ++it)
            result.refusals << text::replaceRefusal(it.key(), lineMessages.value(it.key(), it.value()));
        if (!result.refusals.isEmpty()) {
            std::sort(result.refusals.begin(), result.refusals.end());
            tx.rollback();
            result.outcome = ReplaceResult::Outcome::Refused;
        } else {
            writeReplacement(db, req, tx, result, int(parents.size()), locks, locked);
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
