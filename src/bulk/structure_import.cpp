#include "bulk/structure_import.h"

#include "card/card_columns.h"
#include "card/card_lookup_lists.h"
#include "card/free_items.h"
#include "card/header_checks.h"
#include "card/line_validation.h"
#include "card/save_structure.h"
#include "data/code_graph.h"
#include "data/common.h"
#include "texts/texts.h"
#include "platform/database.h"
#include "platform/lock_service.h"
#include "platform/sql_dialect.h"
#include "shared/code_to_name.h"
#include "shared/grid_captions.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"
#include "shared/record_lock.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>

namespace qx {

namespace {

// What a column of the file is.
enum class Role { ParentCode, ParentDept, Derived, Line };

struct Column {
    Role role = Role::Derived;
    int lineCol = -1;  // Role::Line: the line column
    QString caption;
};

// The cells of a line in the order the card's user fills them: the item first (it fills the
// rate that pieces and quantity follow), the quantity after the pieces so that a quantity the
// file gives is the one kept.
constexpr int kEntryOrder[] = {ColChildCode, ColFree1,     ColFree2,  ColPieces,
                               ColQuantity,  ColWasteRate, ColWarehouse, ColPerson,
                               ColDept,      ColOperation};
constexpr int kRequiredLineCols[] = {ColChildCode, ColQuantity, ColWarehouse};
constexpr int kTypedLineCols[] = {ColChildCode, ColFree1,  ColFree2,  ColPieces,  ColQuantity,
                                  ColWasteRate, ColWarehouse, ColPerson, ColDept, ColOperation};

bool isNumberColumn(int col) { return col == ColPieces || col == ColQuantity || col == ColWasteRate; }

// A cell looked up in a list only: the same text always gets the same answer.
bool isListColumn(int col)
{
    return col == ColFree1 || col == ColFree2 || col == ColWarehouse || col == ColPerson || col == ColDept ||
           col == ColOperation;
}

bool hasControlChars(const QString& s)
{
    for (QChar ch : s)
        if (ch.unicode() < 0x20 || ch.unicode() == 0x7F) return true;
    return false;
}

// A spreadsheet number as text: a plain decimal, or one with thousands separators ("1,200.5"),
// which are taken out. Anything else is not a number (the card would read "1,200" as 1).
bool plainNumber(QString& text)
{
    // Digits alone (the common case) are a plain number without asking the patterns.
    if (!text.isEmpty() &&
        std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; }))
        return true;
    static const QRegularExpression plain(
        QStringLiteral("^[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?$"));
    static const QRegularExpression grouped(QStringLiteral("^[+-]?\\d{1,3}(,\\d{3})+(\\.\\d*)?$"));
    if (plain.match(text).hasMatch()) return true;
    if (grouped.match(text).hasMatch()) {
        text.remove(QLatin1Char(','));
        return true;
    }
    return false;
}

struct Layout {
    std::vector<Column> columns;  // by file column
    int parentCol = -1;
    int deptCol = -1;
    int lineCols[17];  // line column -> file column (-1: absent)
    Layout() { std::fill(std::begin(lineCols), std::end(lineCols), -1); }
};

// The captions of the first row against the list window's own.
Layout readCaptions(const ListContext& ctx, const SheetRow& header, ImportResult& result)
{
    const QStringList parentCaps = parentGridCaptions(ctx);
    const QStringList childCaps = childGridCaptions(ctx);
    QHash<QString, Column> known;
    for (int c = 0; c < childCaps.size(); ++c) {
        const bool typed = std::find(std::begin(kTypedLineCols), std::end(kTypedLineCols), c) !=
                           std::end(kTypedLineCols);
        known.insert(childCaps[c], typed ? Column{Role::Line, c, childCaps[c]}
                                         : Column{Role::Derived, -1, childCaps[c]});
    }
    known.insert(parentCaps[0], {Role::ParentCode, -1, parentCaps[0]});
    known.insert(parentCaps[2], {Role::ParentDept, -1, parentCaps[2]});
    for (int c : {1, 3})
        if (!known.contains(parentCaps[c])) known.insert(parentCaps[c], {Role::Derived, -1, parentCaps[c]});

    Layout layout;
    QSet<QString> seen;
    for (int f = 0; f < header.cells.size(); ++f) {
        const QString caption = header.cells[f].trimmed();
        Column col{Role::Derived, -1, caption};
        if (caption.isEmpty()) {
            layout.columns.push_back({Role::Derived, -1, text::columnLetter(f)});
            layout.columns.back().lineCol = -2;  // no caption: its cells must stay empty
            continue;
        }
        if (!known.contains(caption)) {
            result.refusals.push_back({header.fileRow, caption, caption, text::kUnknownCaption});
        } else if (seen.contains(caption)) {
            result.refusals.push_back({header.fileRow, caption, caption, text::kRepeatedCaption});
        } else {
            col = known.value(caption);
            if (col.role == Role::ParentCode) layout.parentCol = f;
            if (col.role == Role::ParentDept) layout.deptCol = f;
            if (col.role == Role::Line) layout.lineCols[col.lineCol] = f;
        }
        seen.insert(caption);
        layout.columns.push_back(col);
    }
    if (layout.parentCol < 0)
        result.refusals.push_back({header.fileRow, parentCaps[0], QString(),
                                   text::missingCaption(parentCaps[0])});
    for (int c : kRequiredLineCols)
        if (layout.lineCols[c] < 0)
            result.refusals.push_back({header.fileRow, childCaps[c], QString(),
                                       text::missingCaption(childCaps[c])});
    return layout;
}

// The caption a refusal of the card's line rules belongs to.
int lineColOfMessage(const QString& message, const MemoryLineGrid& grid, int line)
{
    if (message == text::kWarehouseNotExist || message == text::kWarehouseEmpty ||
        message == text::kPlannedPriceRule)
        return ColWarehouse;
    if (message == text::kQuantityEmpty || message == text::kQuantityNotPositive) return ColQuantity;
    if (message == text::kPiecesEmpty || message == text::kPiecesNotPositive) return ColPieces;
    if (message == text::kContentNotExist)
        return grid.cell(line, ColFree1).isEmpty() ? ColFree2 : ColFree1;
    if (message == text::kDeptNotExist) return ColDept;
    if (message == text::kPersonNotExist) return ColPerson;
    if (message == text::kOperationNotExist) return ColOperation;
    return ColChildCode;
}

// One parent of the file and the rows that make its structure.
struct Group {
    QString parent;
    std::vector<int> rows;        // indexes into the data rows, file order
    std::vector<int> lineRows;    // line i (1-based) -> index of its data row
    MemoryLineGrid grid;
    QString department;           // as accepted (a name)
    bool adding = true;
    bool refused = false;
};

// The whole file's lines over all stored structures, judged in one pass: a line closes a
// loop when its child reaches its parent, that is when both stand in one group of codes that
// reach each other.
class FileGraph {
public:
    void add(const QString& parent, const QString& child) { graph_.addEdge(parent, child); }
    void judge() { groups_ = graph_.components(&groupOf_); }

    Ancestors ancestorsOf(const QString& parent) const
    {
        Ancestors a;
        const int n = graph_.find(parent);
        if (n < 0) return a;
        const int g = groupOf_[size_t(n)];
        if (CodeGraph::onLoop(groups_, graph_, g))
            for (int m : groups_[size_t(g)]) a.codes.insert(graph_.code(m));
        return a;
    }

private:
    CodeGraph graph_;
    std::vector<int> groupOf_;
    std::vector<std::vector<int>> groups_;
};

class Importer {
public:
    Importer(ListContext& ctx, const std::vector<SheetRow>& rows, const ImportOptions& options)
        : ctx_(ctx), db_(*ctx.dbase), rows_(rows), options_(options)
    {
    }

    ImportResult run();

private:
    bool step(int n = 1)
    {
        done_ += n;
        if (!options_.progress || (done_ % 100 != 0 && done_ < total_)) return true;
        return options_.progress(done_, total_);
    }
    void refuse(int dataRow, int fileCol, const QString& message, const QString& caption = {})
    {
        const SheetRow& r = rows_[size_t(dataRow)];
        result_.refusals.push_back({r.fileRow,
                                    caption.isEmpty() ? layout_.columns[size_t(fileCol)].caption
                                                      : caption,
                                    fileCol >= 0 ? r.cells.value(fileCol).trimmed() : QString(),
                                    message});
    }
    QString cell(int dataRow, int fileCol) const
    {
        return fileCol < 0 ? QString() : rows_[size_t(dataRow)].cells.value(fileCol).trimmed();
    }
    bool checkRowShape(int dataRow);
    void groupRows();
    bool takeLocks();
    void releaseLocks();
    void collectCodes();
    QSet<QString> storedAmong(const QStringList& parents);
    void readStored();
    void checkGroup(Group& g, CardLookups lk);
    void checkLine(Group& g, const CardLookups& lk, int dataRow, const Ancestors& ancestors);
    Verdict resolveListCell(const CardLookups& lk, LineGrid& grid, const QString& parent, int line, int col,
                            QString& text);
    void writeGroup(const Group& g, const CardLookups& lk, LineWriter& writer);

    ListContext& ctx_;
    Database& db_;
    std::vector<SheetRow> rows_;  // data rows (header removed)
    const ImportOptions& options_;
    ImportResult result_;
    Layout layout_;
    std::vector<Group> groups_;
    QStringList parents_;   // the file's parents, each once, ascending
    QStringList children_;  // the file's children, each once, ascending
    QSet<QString> storedParents_;
    QHash<QString, FreshItem> freshItems_;
    std::unique_ptr<LockService> locks_;
    QStringList locked_;
    FileGraph graph_;
    // Each distinct text of a list column, looked up once: its verdict and the text it becomes.
    struct Resolved {
        Verdict verdict;
        QString text;
    };
    QHash<QString, Resolved> resolved_[ColHidden + 1];
    int done_ = 0;
    int total_ = 0;
};

bool Importer::checkRowShape(int dataRow)
{
    const QStringList& cells = rows_[size_t(dataRow)].cells;
    for (int f = 0; f < cells.size(); ++f) {
        const QString value = cells[f];
        if (value.trimmed().isEmpty()) continue;
        if (f >= int(layout_.columns.size()) || layout_.columns[size_t(f)].lineCol == -2) {
            refuse(dataRow, -1, text::kCellWithoutCaption, text::columnLetter(f));
            result_.refusals.back().value = value;
            return false;
        }
        if (hasControlChars(value)) {
            refuse(dataRow, f, text::kControlChars);
            return false;
        }
    }
    return true;
}

void Importer::groupRows()
{
    QHash<QString, int> index;
    for (int i = 0; i < int(rows_.size()); ++i) {
        if (!checkRowShape(i)) continue;
        const QString parent = cell(i, layout_.parentCol);
        auto it = index.constFind(parent);
        if (it == index.constEnd()) {
            it = index.insert(parent, int(groups_.size()));
            groups_.emplace_back();
            groups_.back().parent = parent;
        }
        groups_[size_t(*it)].rows.push_back(i);
    }
}

bool Importer::takeLocks()
{
    if (!options_.replace) return true;
    const QSet<QString> stored = storedAmong(parents_);
    locks_ = std::make_unique<LockService>(db_);
    LockService& locks = *locks_;
    bool all = true;
    // One transaction for all the keys, so that many structures are locked in one commit.
    LockService::ensureTable(db_);
    Transaction tx(db_);
    QStringList wanted;
    for (const Group& g : groups_)
        if (stored.contains(g.parent)) wanted << g.parent;
    const QStringList refusedList =
        locks.lockRecords(kLockCategory, kLockSystem, kLockMode, options_.computer, wanted);
    const QSet<QString> refused(refusedList.begin(), refusedList.end());
    for (Group& g : groups_) {
        if (!stored.contains(g.parent)) continue;
        if (!refused.contains(g.parent)) {
            locked_ << g.parent;
            continue;
        }
        all = false;
        g.refused = true;
        for (int i : g.rows) refuse(i, layout_.parentCol, text::kLockedCannotModify);
    }
    tx.commit();
    return all;
}

void Importer::releaseLocks()
{
    if (locked_.isEmpty() || !locks_) return;
    try {
        // The same holder that took them (computer and process) gives them back.
        Transaction tx(db_);
        locks_->unlockRecords(kLockCategory, locked_);
        tx.commit();
    } catch (const DbError&) {
        // A lock left behind is taken over when this process is gone.
    }
    locked_.clear();
}

void Importer::collectCodes()
{
    QSet<QString> parents, children;
    for (const Group& g : groups_) {
        parents.insert(g.parent);
        for (int i : g.rows) {
            const QString child = cell(i, layout_.lineCols[ColChildCode]);
            if (!child.isEmpty()) children.insert(child);
        }
    }
    // Ascending: a bound list in order is looked up the fastest.
    parents_ = QStringList(parents.begin(), parents.end());
    parents_.sort();
    children_ = QStringList(children.begin(), children.end());
    children_.sort();
}

QSet<QString> Importer::storedAmong(const QStringList& parents)
{
    const std::vector<QString> cells = db_.selectTexts(
        QStringLiteral("select t.cPSPCode ") +
            db_.dialect().fromRowsInBoundList(QStringLiteral("ProductStructure"), QStringLiteral("cPSPCode")),
        {db_.dialect().boundList(parents)});
    return QSet<QString>(cells.begin(), cells.end());
}

void Importer::readStored()
{
    // Read inside the transaction, after the structure write lock: what is judged here is what
    // the write lands on.
    storedParents_ = storedAmong(parents_);

    // A loop the file closes runs from one of its parents through its lines down and back up to
    // that parent. Each step enters its code by a line of the file (the code is one of the file's
    // children) or by a stored line from a code reached before. So the stored lines that can be on
    // such a loop are those below the file's children: one recursive statement reads them. (A
    // parent kept as it is, refused for being defined already, is judged no further; its stored
    // lines count once the loop of another parent reaches it.) The stored lines of a structure
    // being replaced are gone once the file is written.
    QSet<QString> replaced;
    if (options_.replace)
        for (const QString& parent : parents_)
            if (storedParents_.contains(parent)) replaced.insert(parent);
    const SqlDialect& sql = db_.dialect();
    const std::vector<QString> edges = db_.selectTexts(
        QStringLiteral("with recursive reach(code) as (select distinct t.cPSPCode ") +
            sql.fromRowsInBoundList(QStringLiteral("ProductStructures"), QStringLiteral("cPSPCode")) +
            QStringLiteral(" union select s.cPSCode from ProductStructures s inner join reach on "
                           "s.cPSPCode=reach.code) select t.cPSPCode,t.cPSCode ") +
            sql.fromRowsMatching(QStringLiteral("ProductStructures"), QStringLiteral("cPSPCode"),
                                 QStringLiteral("reach")),
        {sql.boundList(children_)});
    for (size_t e = 0; e + 1 < edges.size(); e += 2)
        if (!replaced.contains(edges[e])) graph_.add(edges[e], edges[e + 1]);
    for (const Group& g : groups_)
        for (int i : g.rows) {
            const QString child = cell(i, layout_.lineCols[ColChildCode]);
            if (!g.parent.isEmpty() && !child.isEmpty()) graph_.add(g.parent, child);
        }
    graph_.judge();
}

Verdict Importer::resolveListCell(const CardLookups& lk, LineGrid& grid, const QString& parent, int line,
                                  int col, QString& text)
{
    QHash<QString, Resolved>& known = resolved_[col];
    auto it = known.constFind(text);
    if (it == known.constEnd()) {
        QString resolved = text;
        const Verdict v = validateCell(lk, grid, parent, line, col, resolved, {});
        it = known.insert(text, {v, resolved});
    }
    text = it->text;
    return it->verdict;
}

void Importer::checkLine(Group& g, const CardLookups& lk, int dataRow, const Ancestors& ancestors)
{
    MemoryLineGrid& grid = g.grid;
    const int line = grid.addLine();
    const WholeCard whole{&ancestors, nullptr};
    for (int col : kEntryOrder) {
        const int f = layout_.lineCols[col];
        if (f < 0) continue;
        QString value = cell(dataRow, f);
        const bool required = col == ColChildCode || col == ColQuantity || col == ColWarehouse;
        // An empty optional cell is a cell the user never typed in; an empty quantity that the
        // pieces have filled through the rate is one the user need not type.
        if (value.isEmpty() && !required) continue;
        if (value.isEmpty() && col == ColQuantity && !grid.cell(line, col).isEmpty()) continue;
        if (isNumberColumn(col) && !value.isEmpty() && !hasIllegalChars(value) && !plainNumber(value)) {
            refuse(dataRow, f, text::kNotANumber);
            grid.removeLine(line);
            g.refused = true;
            return;
        }
        const Verdict v = isListColumn(col) ? resolveListCell(lk, grid, g.parent, line, col, value)
                                            : validateCell(lk, grid, g.parent, line, col, value, whole);
        if (!v) {
            refuse(dataRow, f, v.message);
            grid.removeLine(line);
            g.refused = true;
            return;
        }
        grid.setCell(line, col, value);
    }
    // The second pass, before another line is entered.
    const Verdict v = validateLine(lk, grid, g.parent, line, whole);
    if (!v) {
        const int col = lineColOfMessage(v.message, grid, line);
        refuse(dataRow, layout_.lineCols[col] >= 0 ? layout_.lineCols[col] : layout_.lineCols[0],
               v.message);
        grid.removeLine(line);
        g.refused = true;
        return;
    }
    g.lineRows.push_back(dataRow);
}

void Importer::checkGroup(Group& g, CardLookups lk)
{
    lk.freshItems = &freshItems_;
    const int first = g.rows.front();
    const auto refuseAll = [&](int fileCol, const QString& message) {
        for (int i : g.rows) refuse(i, fileCol, message);
        g.refused = true;
    };
    // The header's checks: illegal characters, an empty code, a parent already defined (unless
    // replacing), a parent that is no item; then the producing department.
    if (hasIllegalChars(g.parent)) return refuseAll(layout_.parentCol, text::kIllegalChars);
    const bool stored = storedParents_.contains(g.parent);
    g.adding = !(stored && options_.replace);
    if (g.parent.isEmpty()) return refuseAll(layout_.parentCol, text::kParentEmpty);
    if (!g.adding && !locked_.contains(g.parent))
        return refuseAll(layout_.parentCol, text::kLockedCannotModify);
    if (stored && !options_.replace) return refuseAll(layout_.parentCol, text::kParentDefined);
    if (!findItem(lk, g.parent)) return refuseAll(layout_.parentCol, text::kInvNotExist);

    if (layout_.deptCol >= 0) {
        for (int i : g.rows) {
            QString dept = cell(i, layout_.deptCol);
            if (dept.isEmpty()) continue;
            if (hasIllegalChars(dept)) {
                refuse(i, layout_.deptCol, text::kIllegalChars);
                g.refused = true;
                continue;
            }
            if (const Verdict v = checkDepartment(dept, lk.department); !v) {
                refuse(i, layout_.deptCol, v.message);
                g.refused = true;
            } else if (g.department.isEmpty()) {
                g.department = dept;
            } else if (dept != g.department) {
                refuse(i, layout_.deptCol, text::kDepartmentDiffers);
                g.refused = true;
            }
        }
    }

    const Ancestors ancestors = graph_.ancestorsOf(g.parent);
    for (int i : g.rows) {
        checkLine(g, lk, i, ancestors);
        if (!step()) return;
    }
    if (g.refused) return;

    // The save's own checks over the whole structure, in the save's order.
    SaveRequest req;
    req.parentCode = g.parent;
    req.department = g.department;
    req.adding = g.adding;
    req.ancestors = &ancestors;
    req.linesJudged = true;  // each line passed checkLine, the card's judgement of a line left
    const Verdict v = checkStructure(lk, g.grid, req);
    if (v) return;
    g.refused = true;
    for (int line = 1; line < g.grid.rows(); ++line) {
        const int dataRow = g.lineRows[size_t(line - 1)];
        if (v.message == text::cycleAtLine(line)) return refuse(dataRow, layout_.lineCols[ColChildCode], v.message);
        if (v.message.startsWith(QStringLiteral("第") + QString::number(line) + QStringLiteral("条"))) {
            // The message names the free item.
            const int col = !g.grid.cell(line, ColFree1).isEmpty() &&
                                    v.message.contains(ctx_.FreeName1 + QStringLiteral(",请清空"))
                                ? ColFree1
                                : ColFree2;
            return refuse(dataRow, layout_.lineCols[col] >= 0 ? layout_.lineCols[col] : layout_.lineCols[0],
                          v.message);
        }
    }
    refuse(first, v.message == text::kProduceDeptNotExist && layout_.deptCol >= 0 ? layout_.deptCol
                                                                                  : layout_.parentCol,
           v.message);
}

void Importer::writeGroup(const Group& g, const CardLookups& lk, LineWriter& writer)
{
    // The card's own write; a file without a department column leaves a stored one as it is.
    writeStructure(lk, g.grid, {g.parent, g.department, g.adding, nullptr, layout_.deptCol >= 0, &writer});
}


ImportResult Importer::run()
{
    // The first row names the columns.
    const SheetRow header = rows_.front();
    rows_.erase(rows_.begin());
    layout_ = readCaptions(ctx_, header, result_);
    if (!result_.refusals.empty()) {
        result_.outcome = ImportResult::Outcome::Refused;
        return result_;
    }
    if (rows_.empty()) {
        result_.refusals.push_back({header.fileRow, layout_.columns.front().caption, QString(),
                                    text::kNoDataRows});
        result_.outcome = ImportResult::Outcome::Refused;
        return result_;
    }
    total_ = int(rows_.size()) * (options_.dryRun ? 1 : 2);
    groupRows();
    collectCodes();

    CardLookupLists lists;
    CardLookups lk;
    const Group* writing = nullptr;
    bool cancelled = false;
    try {
        takeLocks();
        Transaction tx(db_);
        const QString serialize = db_.dialect().structureWriteLockStatement();
        if (!serialize.isEmpty()) db_.execute(serialize);
        readStored();
        // The card's lookup lists, read as the checks judge and the write lands: the items only
        // those the file names, each with what the rules read of it afresh.
        QStringList items;  // ascending, each once
        items.reserve(parents_.size() + children_.size());
        std::set_union(parents_.cbegin(), parents_.cend(), children_.cbegin(), children_.cend(),
                       std::back_inserter(items));
        lists.open(db_, RecordsetType::Snapshot, &items);
        freshItems_ = lists.freshItems();
        lk = lists.lookups(ctx_);
        for (Group& g : groups_) {
            if (g.refused) continue;  // refused when its lock was asked for
            checkGroup(g, lk);
            if (options_.progress && !options_.progress(done_, total_)) {
                cancelled = true;
                break;
            }
        }
        std::stable_sort(result_.refusals.begin(), result_.refusals.end(),
                  [](const ImportRefusal& a, const ImportRefusal& b) { return a.fileRow < b.fileRow; });
        for (const Group& g : groups_) {
            if (g.refused) continue;
            ++result_.parents;
            result_.lines += g.grid.rows() - 1;
        }
        if (cancelled) {
            result_.outcome = ImportResult::Outcome::Cancelled;
        } else if (!result_.refusals.empty()) {
            result_.outcome = ImportResult::Outcome::Refused;
        } else if (options_.dryRun) {
            result_.outcome = ImportResult::Outcome::Checked;
        } else {
            LineWriter writer(lk);  // one statement and one map of names for every structure
            for (const Group& g : groups_) {
                writing = &g;
                writeGroup(g, lk, writer);
                if (!step(int(g.rows.size()))) {
                    cancelled = true;
                    break;
                }
            }
            writing = nullptr;
            if (cancelled) {
                result_.outcome = ImportResult::Outcome::Cancelled;
            } else {
                tx.commit();
                result_.outcome = ImportResult::Outcome::Written;
            }
        }
    } catch (const DbError& e) {
        // The transaction is rolled back: nothing of the file is written.
        if (writing) {
            result_.refusals.push_back({rows_[size_t(writing->rows.front())].fileRow,
                                        layout_.columns[size_t(layout_.parentCol)].caption,
                                        writing->parent, saveFailureMessage(e, !writing->adding)});
            result_.outcome = ImportResult::Outcome::Refused;
        } else {
            result_.refusals.clear();
            result_.error = e.description();
            result_.outcome = ImportResult::Outcome::Unreadable;
        }
    }
    if (result_.outcome != ImportResult::Outcome::Written &&
        result_.outcome != ImportResult::Outcome::Checked) {
        result_.parents = result_.lines = 0;
    }
    releaseLocks();
    return result_;
}

}  // namespace

QStringList ImportResult::report() const
{
    QStringList lines;
    for (const ImportRefusal& r : refusals)
        lines << text::refusedRow(r.fileRow, r.caption, r.value, r.message);
    switch (outcome) {
        case Outcome::Written:
            lines << text::importWritten(parents, this->lines);
            break;
        case Outcome::Checked:
            lines << text::importChecked(parents, this->lines);
            break;
        case Outcome::Refused: {
            QSet<int> rows;
            for (const ImportRefusal& r : refusals) rows.insert(r.fileRow);
            lines << text::importRefused(int(rows.size()));
            break;
        }
        case Outcome::Cancelled:
            lines << text::kImportCancelled;
            break;
        case Outcome::Unreadable:
            lines << error;
            break;
    }
    return lines;
}

int ImportResult::exitCode() const
{
    switch (outcome) {
        case Outcome::Written:
        case Outcome::Checked:
            return 0;
        case Outcome::Refused:
        case Outcome::Cancelled:
            return 1;
        case Outcome::Unreadable:
        default:
            return 2;
    }
}

QStringList importTemplateCaptions(const ListContext& ctx)
{
    const QStringList parentCaps = parentGridCaptions(ctx);
    const QStringList childCaps = childGridCaptions(ctx);
    QStringList caps{parentCaps[0], parentCaps[2]};
    for (int c : kTypedLineCols) {
        if (c == ColFree1 && !ctx.HaveFree1) continue;
        if (c == ColFree2 && !ctx.HaveFree2) continue;
        caps << childCaps[c];
    }
    return caps;
}

ImportResult importStructures(ListContext& ctx, const std::vector<SheetRow>& rows,
                              const ImportOptions& options)
{
    if (rows.empty() || !ctx.dbase) {
        ImportResult r;
        r.error = text::kFileEmpty;
        return r;
    }
    return Importer(ctx, rows, options).run();
}

ImportResult importFile(ListContext& ctx, const QString& path, const ImportOptions& options)
{
    const SheetFile file = readSheetFile(path);
    if (!file.ok() || file.rows.empty()) {
        ImportResult r;
        r.error = file.ok() ? text::kFileEmpty : file.error;
        return r;
    }
    return importStructures(ctx, file.rows, options);
}

}  // namespace qx
