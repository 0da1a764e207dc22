#include "card/save_structure.h"

#include "card/card_columns.h"
#include "card/free_items.h"
#include "card/header_checks.h"
#include "card/line_validation.h"
#include "data/common.h"
#include "platform/database.h"
#include "platform/native_lookup.h"
#include "platform/prompter.h"
#include "platform/read_aside.h"
#include "platform/row_stream.h"
#include "platform/sql_dialect.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"
#include "shared/record_lock.h"
#include "texts/texts.h"

#include <algorithm>
#include <future>
#include <memory>
#include <optional>

namespace qx {

namespace {

QVariant wasteRate(const QString& text)
{
    // An empty waste rate is stored as NULL, never as an empty text.
    if (text.trimmed().isEmpty()) return QVariant(QMetaType::fromType<double>());
    return LeadingNumber(text);
}

}  // namespace

// A line's values as they are stored.
struct LineRow {
    QString child, warehouse, procedure, department, person, free1, free2;
    double quantity = 0;
    QVariant waste;
};

// The warehouse and department codes of names already turned into codes (name -> code).
struct LineCodes {
    QHash<QString, QString> warehouses, departments;
};

namespace {

// A name turned into its code once: the lists stay as they are while lines are written.
QString codeOfName(QHash<QString, QString>& known, const QString& name, Recordset* list,
                   QString (*nameToCode)(const QString&, Recordset*))
{
    auto it = known.constFind(name);
    if (it == known.constEnd()) it = known.insert(name, nameToCode(name, list));
    return *it;
}

LineRow lineRow(const CardLookups& lk, const LineGrid& lines, int i, LineCodes& codes)
{
    LineRow r;
    r.child = lines.cell(i, ColChildCode);
    r.warehouse = codeOfName(codes.warehouses, lines.cell(i, ColWarehouse), lk.warehouse,
                             NameToCode_WareHouse);
    r.quantity = LeadingNumber(lines.cell(i, ColQuantity));
    r.waste = wasteRate(lines.cell(i, ColWasteRate));
    r.procedure = lines.cell(i, ColOperation);
    r.department =
        codeOfName(codes.departments, lines.cell(i, ColDept), lk.department, NameToCode_Dep);
    // The person column is cut beforehand so that it always fits.
    r.person = CutByBytes(lines.cell(i, ColPerson), 10);
    r.free1 = lines.cell(i, ColFree1);
    r.free2 = lines.cell(i, ColFree2);
    return r;
}

// The flags of the items on the lines, from items read once by the caller.
QHash<QString, ItemFlags> itemFlagsOf(const LineGrid& lines, const QHash<QString, FreshItem>& items)
{
    QHash<QString, ItemFlags> flags;
    for (int i = 1; i < lines.rows(); ++i) {
        const auto it = items.constFind(lines.cell(i, ColChildCode));
        if (it != items.constEnd()) flags.insert(it.key(), {it->free1, it->free2, it->service});
    }
    return flags;
}

void requeryQuietly(Recordset* rs)
{
    if (!rs) return;
    try {
        rs->requery();
    } catch (const DbError&) {
    }
}

}  // namespace

QString saveFailureMessage(const DbError& e, bool editWriting)
{
    switch (e.kind()) {
        case DbErrorKind::Duplicate:
            return text::kStructureExists;
        case DbErrorKind::RecordDeleted:
            return text::kDeletedCannotSave;
        case DbErrorKind::TooLong:
            return text::kTooLong;
        case DbErrorKind::InUse:
            return editWriting ? text::kUsedCannotModifyEdit : text::kUsedCannotModifySave;
        case DbErrorKind::ConcurrentChange:
            return text::kConcurrentChange;
        case DbErrorKind::Other:
        default:
            return e.description();
    }
}

// The lines of a structure, in grid order, a slice of rows per statement: the rows stored are
// those the line recordset's AddNew/Update would store, without one statement per line.
namespace {

const QString kInsertLinesHead = QStringLiteral(
    "insert into ProductStructures (cPSPCode, cPSCode, cWhCode, ipsquantity, iWasteRate, "
    "cProcedureName, cDepCode, cPersonName, cFree1, cFree2) values ");
const QString kInsertLineMarks = QStringLiteral("(?,?,?,?,?,?,?,?,?,?)");

}  // namespace

struct LineWriter::Impl {
    explicit Impl(Database& db) : one(db, kInsertLinesHead + kInsertLineMarks) {}
    // In-process statements: one line per run of one statement prepared once.
    NativeStatement one;
    LineCodes codes;
};

LineWriter::LineWriter(const CardLookups& lk) : lk_(lk), d(std::make_unique<Impl>(*lk.db)) {}
LineWriter::~LineWriter() = default;

LineRow LineWriter::row(const LineGrid& lines, int i)
{
    return lineRow(lk_, lines, i, d->codes);
}

void LineWriter::insert(const LineGrid& lines, const QString& parent, const std::vector<int>& which)
{
    constexpr int kRowsPerStatement = 10;
    // A line the library refuses goes through the driver, which reports why.
    if (d->one.available()) {
        for (int i : which) {
            const LineRow r = row(lines, i);
            const QVariantList params{parent,      r.child,      r.warehouse, r.quantity, r.waste,
                                      r.procedure, r.department, r.person,    r.free1,    r.free2};
            if (!d->one.run(params)) lk_.db->execute(kInsertLinesHead + kInsertLineMarks, params);
        }
        return;
    }
    const int count = int(which.size());
    for (int from = 0; from < count; from += kRowsPerStatement) {
        const int to = std::min(count, from + kRowsPerStatement);
        QStringList tuples;
        QVariantList params;
        for (int k = from; k < to; ++k) {
            const LineRow r = row(lines, which[size_t(k)]);
            tuples << kInsertLineMarks;
            params << parent << r.child << r.warehouse << r.quantity << r.waste << r.procedure
                   << r.department << r.person << r.free1 << r.free2;
        }
        lk_.db->execute(kInsertLinesHead + tuples.join(QLatin1Char(',')), params);
    }
}

void LineWriter::insertAll(const LineGrid& lines, const QString& parent)
{
    std::vector<int> all;
    for (int i = 1; i < lines.rows(); ++i) all.push_back(i);
    insert(lines, parent, all);
}

void writeStructureLines(const CardLookups& lk, const LineGrid& lines, const QString& parent)
{
    LineWriter(lk).insertAll(lines, parent);
}

namespace {

// Would writing `fresh` leave `stored` as it is?
bool sameStored(const QVariant& stored, const QVariant& fresh)
{
    if (isNullValue(stored) || isNullValue(fresh)) return isNullValue(stored) == isNullValue(fresh);
    if (fresh.metaType().id() == QMetaType::Double) {
        bool number = false;
        const double value = stored.toDouble(&number);
        return number && value == fresh.toDouble();
    }
    return stored.metaType().id() == QMetaType::QString && stored.toString() == fresh.toString();
}

QVariantList storedValues(const LineRow& r)
{
    return {r.warehouse,  r.quantity, r.waste, r.procedure,
            r.department, r.person,   r.free1, r.free2};
}

// An edited structure's lines: the stored rows end as those of deleting every line of the parent
// and writing the grid's lines again, but a line whose child stays is changed in place (or left
// alone when nothing in it changed), so that an edit of a few lines writes a few rows. A grid
// that repeats a child is written the plain way, which refuses it as before.
void rewriteStructureLines(const CardLookups& lk, const LineGrid& lines, const QString& parent,
                           LineWriter& writer)
{
    Database& db = *lk.db;
    const auto rewriteAll = [&] {
        db.execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {parent});
        writer.insertAll(lines, parent);
    };
    QHash<QString, int> gridRow;
    bool repeated = false;
    for (int i = 1; i < lines.rows() && !repeated; ++i)
        repeated = gridRow.contains(lines.cell(i, ColChildCode)) ||
                   (gridRow.insert(lines.cell(i, ColChildCode), i), false);
    if (repeated) return rewriteAll();
    const auto stored = db.openRecordset(
        QStringLiteral(
            "select cPSCode, cWhCode, iPSQuantity, iWasteRate, cProcedureName, cDepCode, "
            "cPersonName, cFree1, cFree2 from ProductStructures where cPSPCode=?"),
        RecordsetType::Snapshot, 0, {parent});
    // What changes, before anything is written: the stored lines to go, and to change.
    QStringList gone;
    std::vector<QVariantList> changed;
    QSet<QString> kept;
    for (int r = 0; r < stored->recordCount(); ++r) {
        const QString child = stored->value(r, 0).toString();
        const auto it = gridRow.constFind(child);
        if (it == gridRow.constEnd()) {
            gone << child;
            continue;
        }
        kept.insert(child);
        const QVariantList fresh = storedValues(writer.row(lines, *it));
        bool same = true;
        for (int c = 0; c < fresh.size() && same; ++c)
            same = sameStored(stored->value(r, c + 1), fresh[c]);
        if (!same) changed.push_back(fresh + QVariantList{parent, child});
    }
    const QString update = QStringLiteral(
        "update ProductStructures set cWhCode=?, iPSQuantity=?, iWasteRate=?, cProcedureName=?, "
        "cDepCode=?, cPersonName=?, cFree1=?, cFree2=? where cPSPCode=? and cPSCode=?");
    NativeStatement inProcess(db, update);
    // Where each statement is a round trip to a server, many changed lines are written again
    // the plain way, a slice of lines per statement.
    constexpr qsizetype kFewLines = 10;
    if (!inProcess.available() && gone.size() + qsizetype(changed.size()) > kFewLines)
        return rewriteAll();
    for (const QString& child : gone)
        db.execute(QStringLiteral("delete from ProductStructures where cPSPCode=? and cPSCode=?"),
                   {parent, child});
    for (const QVariantList& params : changed)
        if (!inProcess.run(params)) db.execute(update, params);
    // The new lines, in grid order.
    std::vector<int> added;
    for (int i = 1; i < lines.rows(); ++i)
        if (!kept.contains(lines.cell(i, ColChildCode))) added.push_back(i);
    writer.insert(lines, parent, added);
}

// A new structure's header row.
void addHeader(const CardLookups& lk, const StructureWrite& w)
{
    const QString department = NameToCode_Dep(w.department, lk.department);
    if (w.headerRows) {
        // Through the recordset, so that its rows know the new structure at once.
        Recordset& head = *w.headerRows;
        head.addNew();
        head.setField(QStringLiteral("cPSPCode"), w.parent);
        head.setField(QStringLiteral("cDepCode"), department);
        head.update();
    } else {
        lk.db->execute(
            QStringLiteral("insert into ProductStructure (cPSPCode, cDepCode) values (?,?)"),
            {w.parent, department});
    }
}

}  // namespace

void writeStructure(const CardLookups& lk, const LineGrid& lines, const StructureWrite& w)
{
    Database& db = *lk.db;
    std::optional<LineWriter> own;
    LineWriter& writer = w.writer ? *w.writer : own.emplace(lk);
    if (w.adding) {
        addHeader(lk, w);
        writer.insertAll(lines, w.parent);
        return;
    }
    if (w.setDepartment &&
        db.execute(QStringLiteral("update ProductStructure set cDepCode=? where cPSPCode=?"),
                   {NameToCode_Dep(w.department, lk.department), w.parent}) == 0)
        throw DbError(DbErrorKind::RecordDeleted, text::kDeletedCannotSave);
    rewriteStructureLines(lk, lines, w.parent, writer);
}

namespace {

// Every line's child may go under the parent: its stored ancestors hold none of them (and no
// loop).
Verdict cycleChecks(const Ancestors& ancestors, const LineGrid& lines)
{
    for (int i = 1; i < lines.rows(); ++i)
        if (!ancestors.allows(lines.cell(i, ColChildCode)))
            return Verdict::refuse(text::cycleAtLine(i));
    return Verdict::ok();
}

// The checks between the cycle checks and the items' flags: the lines finished, the header
// again (the parent not yet a structure when adding, an item in any case; the department), no
// child equal to the parent. Only the lists the card holds are read.
Verdict headerChecks(const CardLookups& lk, const LineGrid& lines, const SaveRequest& req)
{
    for (int i = 1; i < lines.rows(); ++i)
        if (lineUnfinished(lines, i)) return Verdict::refuse(text::kIncomplete);

    if (req.parentCode.isEmpty()) return Verdict::refuse(text::kParentEmpty);
    if (req.adding && req.headerRows &&
        FindRecord(req.parentCode, *req.headerRows, QStringLiteral("cpspcode")))
        return Verdict::refuse(text::kParentDefined);
    if (!findItem(lk, req.parentCode)) return Verdict::refuse(text::kInvNotExist);
    QString department = req.department;
    if (Verdict v = checkDepartment(department, lk.department); !v) return v;

    for (int i = 1; i < lines.rows(); ++i)
        if (lines.cell(i, ColChildCode).compare(req.parentCode, Qt::CaseInsensitive) == 0)
            return Verdict::refuse(text::kChildEqualsParent);
    return Verdict::ok();
}

Verdict freeItemChecks(const CardLookups& lk, const LineGrid& lines,
                       const QHash<QString, ItemFlags>& items)
{
    if (!lk.list) return Verdict::ok();
    const QString message = freeItemRefusal(lines, *lk.list, items);
    return message.isEmpty() ? Verdict::ok() : Verdict::refuse(message);
}

// Each line judged as when it was typed: no quote or bar, free items in their lists, and (unless
// the lines were judged so already) the line's own checks, which may fill and reformat its cells.
Verdict lineChecks(const CardLookups& lk, LineGrid& lines, const SaveRequest& req,
                   const Ancestors& ancestors)
{
    // Lines that arrived without being typed (copied, never left) are judged as typed ones.
    const QHash<QString, int> counts =
        req.linesJudged ? QHash<QString, int>() : countChildCodes(lines);
    const WholeCard whole{&ancestors, &counts};
    for (int i = 1; i < lines.rows(); ++i) {
        for (int col : {int(ColChildCode), int(ColFree1), int(ColFree2), int(ColQuantity),
                        int(ColWarehouse), int(ColPerson), int(ColDept), int(ColOperation)}) {
            if (hasIllegalChars(lines.cell(i, col))) return Verdict::refuse(text::kIllegalChars);
        }
        // A free item that is not in its list names its line, as a cycle does.
        for (int col : {int(ColFree1), int(ColFree2)}) {
            QString value = lines.cell(i, col);
            if (!checkFreeItem(lk, col, value)) {
                const QString name = !lk.list          ? QString()
                                     : col == ColFree1 ? lk.list->FreeName1
                                                       : lk.list->FreeName2;
                return Verdict::refuse(text::freeItemNotExistAtLine(i, name));
            }
        }
        if (req.linesJudged) continue;
        if (Verdict v = validateLine(lk, lines, req.parentCode, i, whole); !v) return v;
    }
    return Verdict::ok();
}

// The items were asked for afresh: one deleted from the master data (or made a service) since
// the card was loaded is refused here, not written.
Verdict storedItemChecks(const LineGrid& lines, const QHash<QString, ItemFlags>& items)
{
    for (int i = 1; i < lines.rows(); ++i) {
        const auto it = items.constFind(lines.cell(i, ColChildCode));
        if (it == items.constEnd() || it->service) return Verdict::refuse(text::kInvNotExist);
    }
    return Verdict::ok();
}

Verdict firstChecks(const CardLookups& lk, const LineGrid& lines, const SaveRequest& req)
{
    if (!req.department.isEmpty() &&
        !(lk.department && FindRecord(req.department, *lk.department, QStringLiteral("cdepName"))))
        return Verdict::refuse(text::kProduceDeptNotExist);
    if (lines.rows() < 2) return Verdict::refuse(text::kNoLines);
    return Verdict::ok();
}

}  // namespace

Verdict checkStructure(const CardLookups& lk, LineGrid& lines, const SaveRequest& req)
{
    if (Verdict v = firstChecks(lk, lines, req); !v) return v;
    // Every line has the same parent: one walk of its stored ancestors judges every child, with
    // the answers one walk per line would give.
    QStringList children;
    if (!req.ancestors) children = distinctChildCodes(lines);
    const Ancestors ancestors =
        req.ancestors ? *req.ancestors : CollectAncestors(req.parentCode, *lk.db, &children);
    if (Verdict v = cycleChecks(ancestors, lines); !v) return v;
    if (Verdict v = headerChecks(lk, lines, req); !v) return v;
    const QHash<QString, ItemFlags> items =
        lk.freshItems ? itemFlagsOf(lines, *lk.freshItems) : readItemFlags(lines, *lk.db);
    if (Verdict v = freeItemChecks(lk, lines, items); !v) return v;
    if (Verdict v = lineChecks(lk, lines, req, ancestors); !v) return v;
    return storedItemChecks(lines, items);
}

namespace {

// The lines as the checks change them, the first text of every cell changed kept: they are put
// back as they were when it goes, unless kept; before() shows them as they were.
class LineChanges : public LineGrid {
public:
    explicit LineChanges(LineGrid& lines) : lines_(lines), before_(*this) {}
    ~LineChanges() override
    {
        for (auto it = first_.cbegin(); it != first_.cend(); ++it)
            lines_.setCell(it.key().first, it.key().second, it.value());
    }
    LineChanges(const LineChanges&) = delete;
    LineChanges& operator=(const LineChanges&) = delete;
    int rows() const override { return lines_.rows(); }
    QString cell(int row, int col) const override { return lines_.cell(row, col); }
    void setCell(int row, int col, const QString& text) override
    {
        const auto key = std::make_pair(row, col);
        if (!first_.contains(key)) first_.insert(key, lines_.cell(row, col));
        lines_.setCell(row, col, text);
    }
    int currentRow() const override { return lines_.currentRow(); }

    const LineGrid& before() const { return before_; }
    void keep() { first_.clear(); }

private:
    class Before : public LineGrid {
    public:
        explicit Before(const LineChanges& changes) : changes_(changes) {}
        int rows() const override { return changes_.rows(); }
        QString cell(int row, int col) const override
        {
            const auto it = changes_.first_.constFind(std::make_pair(row, col));
            return it != changes_.first_.cend() ? *it : changes_.cell(row, col);
        }
        void setCell(int, int, const QString&) override {}
        int currentRow() const override { return changes_.currentRow(); }

    private:
        const LineChanges& changes_;
    };

    LineGrid& lines_;
    QHash<std::pair<int, int>, QString> first_;
    Before before_;
};

// What the checks read of the stored rows, read aside.
struct StoredFacts {
    Ancestors ancestors;
    QHash<QString, ItemFlags> items;
    bool read = false;
};

// The structure written while the checks that read stored rows (the cycle walk, the items'
// flags) run aside, on a connection of their own, inside the caller's write transaction: true
// when every check passed and the structure is written. Otherwise nothing counts: the caller
// rolls the transaction back, the lines are as they were, and the plain save, checks first,
// gives the refusal or failure in its order.
bool writtenBesideChecks(const CardLookups& lk, LineGrid& lines, const SaveRequest& req,
                         ReadAside& aside)
{
    Database& db = *lk.db;
    const QString defer = db.dialect().deferReferencesStatement();
    if ((req.adding && defer.isEmpty()) || !firstChecks(lk, lines, req)) return false;

    auto stored = std::make_shared<StoredFacts>();
    std::future<void> reading = aside.start(
        [stored, parent = req.parentCode, codes = distinctChildCodes(lines)](Database* side) {
            if (!side) return;
            stored->ancestors = CollectAncestors(parent, *side, &codes);
            stored->items = readItemFlags(codes, *side);
            stored->read = true;
        });
    LineChanges changes(lines);
    bool passed = false;
    try {
        // The walk is not in yet: every child passes it here and is judged by it below.
        const Ancestors noneYet;
        passed = headerChecks(lk, changes, req) && lineChecks(lk, changes, req, noneYet);
        if (passed) {
            if (req.adding) {
                // The lines before their header, which goes through the header recordset only
                // once every check has passed.
                db.execute(defer);
                writeStructureLines(lk, changes, req.parentCode);
            } else {
                writeStructure(lk, changes, {req.parentCode, req.department, false, nullptr});
            }
        }
        reading.get();
        passed = passed && stored->read && cycleChecks(stored->ancestors, lines) &&
                 freeItemChecks(lk, changes.before(), stored->items) &&
                 storedItemChecks(lines, stored->items);
        if (passed && req.adding)
            addHeader(lk, {req.parentCode, req.department, true, req.headerRows});
    } catch (const DbError&) {
        passed = false;
    }
    if (reading.valid()) reading.wait();
    if (passed) changes.keep();
    return passed;
}

}  // namespace

bool saveStructure(const CardLookups& lk, LineGrid& lines, const SaveRequest& req)
{
    if (!lk.db || !req.headerRows || !req.lineRows) return false;
    Database& db = *lk.db;
    QString message;
    bool writing = false;
    bool again = false;
    // One attempt: the lock confirmed, then checks and write in one transaction. Returns the
    // refusal message, empty when the structure was written.
    const auto attempt = [&]() -> QString {
        writing = false;
        if (again) {
            // The lost transaction's rows are not in the table: the sets forget them too.
            requeryQuietly(req.headerRows);
            requeryQuietly(req.lineRows);
        }
        again = true;
        // Asked again at every save, under the key the edit command locked (the same trimmed
        // code, so no second lock is made), also after the connection came back: a lock another
        // workstation took over meanwhile refuses the save.
        if (!req.adding && req.lock && !req.lock->lockRecord(req.parentCode, KeyTrim::Both))
            return text::kLockedCannotModify;
        const QString serialize = db.dialect().structureWriteLockStatement();
        // Where the stored rows can be read aside, the checks that read them overlap the write.
        if (ReadAside* aside = !req.ancestors && !lk.freshItems ? db.readAside() : nullptr) {
            Transaction tx(db);
            if (!serialize.isEmpty()) db.execute(serialize);
            if (writtenBesideChecks(lk, lines, req, *aside)) {
                writing = true;
                tx.commit();
                return QString();
            }
        }
        Transaction tx(db);
        if (!serialize.isEmpty()) db.execute(serialize);
        // Checked inside the transaction, after the write lock, so that what the cycle checks
        // saw is what the write lands on.
        const Verdict v = checkStructure(lk, lines, req);
        if (!v) {
            tx.rollback();
            return v.message;
        }
        writing = true;
        writeStructure(lk, lines, {req.parentCode, req.department, req.adding, req.headerRows});
        tx.commit();
        return QString();
    };
    try {
        message = retryOnceOnLostConnection(db, attempt);
        if (message.isEmpty()) return true;
        Prompter::current().inform(message, text::kTitle);
        return false;
    } catch (const DbError& e) {
        message = saveFailureMessage(e, writing && !req.adding);
    }
    // The transaction is rolled back; the recordsets forget any row it had added.
    requeryQuietly(req.headerRows);
    requeryQuietly(req.lineRows);
    Prompter::current().inform(message, text::kTitle);
    return false;
}

bool structureInUse(const QString& parentCode, Database& db)
{
    try {
        Transaction tx(db);
        db.execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {parentCode});
        db.execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"), {parentCode});
        tx.rollback();
        return false;
    } catch (const DbError& e) {
        if (e.kind() == DbErrorKind::ConnectionLost) throw;  // not an answer either way
        return true;
    }
}

}  // namespace qx
