// The list window's loading: caption words, the scratch print database, help, the computer
// name, the lookup caches, the quantity decimals, the free-item names, the grids, the title.
// Every step ignores its own failure and loading goes on.

#include "data/common.h"
#include "data/schema.h"
#include "texts/texts.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/host_facts.h"
#include "platform/own_def.h"
#include "print/scratch_database.h"

#include <QDir>
#include <QTableView>

#include <cmath>

namespace qx {

namespace {

const QString kDepartmentsSql =
    QStringLiteral("select cDepCode,cDepName from department where bDepEnd=1 ");
const QString kFree1Sql = QStringLiteral("select cAlias,cvalue from userdefine where cid='20' ");
const QString kFree2Sql = QStringLiteral("select cAlias,cvalue from userdefine where cid='21' ");
const QString kPersonsSql = QStringLiteral(
    "select person.cPersonCode,person.cPersonName,person.cDepCode,department.cdepname from "
    "person,department where person.cdepcode=department.cdepcode ");
const QString kOperationsSql =
    QStringLiteral("select cProcedureID,cProcedureName,cDeptId from CA_PreDf ");
const QString kWarehouseNamesSql = QStringLiteral("select cwhcode,cwhname from warehouse");

// The largest count of quantity decimals the formats make sense with.
constexpr int kMaxQuantityDecimals = 10;

// Opens a recordset, or nothing when the table or query cannot be read.
std::unique_ptr<Recordset> tryOpen(Database& db, const QString& source, int options)
{
    try {
        return db.openRecordset(source, RecordsetType::Dynaset, options);
    } catch (const DbError&) {
        return nullptr;
    }
}

}  // namespace

void FrmPS::load()
{
    Database* db = ctx_.dbase;

    // 1. The caption table, its index and its three rows; each fails harmlessly once they exist.
    // Read-only writes nothing: the built-in words stand in for a missing table.
    if (db && !ctx_.readOnly) schema::ensureMenuDef(*db);
    // 2. The caption words.
    loadCaptionWords();
    // 3. The scratch print database, fresh at every loading.
    prepareScratchPrintDatabase();
    // 5. Help: the component's help in the data directory, at the list window's context.
    helpFile_ = QDir(systemDirectory()).filePath(QStringLiteral("qxcomsql/base.hlp"));
    helpContext_ = kListHelpContext;
    // 6. This workstation's name for the record locks.
    ctx_.ComputerName = computerName();
    locks_.setComputerName(ctx_.ComputerName);
    // 7. The window's icon.
    setWindowIcon(images_.value(QStringLiteral("pEdit")));
    // 8. Toolbar captions and tool tips.
    setUpToolbar();
    // 9-11. Lookup caches, table recordsets, the quantity decimals.
    openLookupCaches();
    // 12. Free-item names.
    readFreeItemNames();
    loadCodeNames();
    // 13. The grids.
    setUpParentColumns();
    fillParentGrid();
    setUpChildColumns();
    // 14. The lines of the selected parent.
    if (supPS1_->rows() >= 2) selectParentRow(supPS1_->row() >= 1 ? supPS1_->row() : 1);
    // 15. The title.
    setWindowTitle(ctx_.unwritable ? ctx_.sProStru + text::kUnwritableNotice : ctx_.sProStru);

    supPS1_->view()->setFocus();
    loaded_ = true;
}

void FrmPS::loadCaptionWords()
{
    ctx_.sProStru = text::kProStru;
    ctx_.parentTerm = text::kParentWord;
    ctx_.childTerm = text::kChildWord;
    if (!ctx_.dbase) return;
    try {
        auto rs = ctx_.dbase->openRecordset(QStringLiteral("ca_menudef"));
        if (rs->recordCount() == 0) return;
        auto word = [&rs](const QString& builtIn) {
            rs->findFirst(Criteria::eq(QStringLiteral("cdefault"), builtIn));
            QString result = builtIn;
            if (!rs->noMatch()) {
                const QVariant v = rs->field(QStringLiteral("cNewmenu"));
                if (!v.isNull() && !v.toString().isEmpty()) result = v.toString();
            }
            rs->moveFirst();
            return result;
        };
        ctx_.sProStru = word(text::kProStru);
        ctx_.parentTerm = word(text::kParentWord);
        ctx_.childTerm = word(text::kChildWord);
    } catch (const DbError&) {
        // No caption table: the built-in words stay.
    }
}

void FrmPS::prepareScratchPrintDatabase()
{
    // A data directory that cannot be written is told by the print commands when they run.
    print::prepareScratchDatabase(systemDirectory());
}

void FrmPS::openLookupCaches()
{
    ctx_.inventory.reset();
    ctx_.RecDep.reset();
    ctx_.RecFree1.reset();
    ctx_.RecFree2.reset();
    ctx_.RecPer.reset();
    ctx_.RecCa.reset();
    ctx_.mrecPro.reset();
    ctx_.mrecPros.reset();
    ctx_.inventory2.reset();
    ctx_.quantityDecimals = 2;
    if (!ctx_.dbase) return;
    Database& db = *ctx_.dbase;

    // The items are read by the card's opening only, and the parents by table by the card's
    // checks and the delete: both fetched when first used, so that the list opens without them.
    ctx_.inventory = tryOpen(db, QStringLiteral("inventory"), kReadOnly | kFetchOnFirstUse);
    ctx_.RecDep = tryOpen(db, kDepartmentsSql, kReadOnly);
    ctx_.RecFree1 = tryOpen(db, kFree1Sql, kReadOnly);
    ctx_.RecFree2 = tryOpen(db, kFree2Sql, kReadOnly);
    ctx_.RecPer = tryOpen(db, kPersonsSql, kReadOnly);
    ctx_.RecCa = tryOpen(db, kOperationsSql, kReadOnly);
    ctx_.mrecPro = tryOpen(db, QStringLiteral("ProductStructure"), kFetchOnFirstUse);
    // The lines by table are read by the card's save and the delete only, each of which
    // requeries them first: fetched when first used.
    ctx_.mrecPros = tryOpen(db, QStringLiteral("productstructures"), kFetchOnFirstUse);
    auto accinformation = tryOpen(db, QStringLiteral("accinformation"), 0);
    readQuantityDecimals(accinformation.get());
    ctx_.inventory2 = tryOpen(db, QStringLiteral("inventory"), kReadOnly | kFetchOnFirstUse);
}

void FrmPS::readQuantityDecimals(Recordset* accinformation)
{
    ctx_.quantityDecimals = 2;
    if (!accinformation) return;
    try {
        // The first row of the setting, its system id compared without regard to case.
        const int sys = accinformation->fieldIndex(QStringLiteral("cSysID"));
        const int id = accinformation->fieldIndex(QStringLiteral("cID"));
        const int name = accinformation->fieldIndex(QStringLiteral("cName"));
        const int value = accinformation->fieldIndex(QStringLiteral("CValue"));
        if (sys < 0 || id < 0 || name < 0 || value < 0) return;
        int found = -1;
        for (int r = 0; r < accinformation->recordCount() && found < 0; ++r) {
            if (accinformation->value(r, sys).toString().compare(QLatin1String("AA"),
                                                                 Qt::CaseInsensitive) == 0 &&
                accinformation->value(r, id).toString() == QLatin1String("19") &&
                accinformation->value(r, name).toString() == QLatin1String("iStrsQuanDecDgt"))
                found = r;
        }
        if (found < 0) return;
        const QVariant v = accinformation->value(found, value);
        if (v.isNull()) return;
        // The integer part of the value's leading number; a text that is no number gives 0.
        const double n = std::trunc(LeadingNumber(v.toString()));
        ctx_.quantityDecimals = static_cast<int>(std::clamp(n, 0.0, double(kMaxQuantityDecimals)));
    } catch (const DbError&) {
        ctx_.quantityDecimals = 2;
    }
}

void FrmPS::readFreeItemNames()
{
    ctx_.FreeName1 = text::kFreeDefault1;
    ctx_.FreeName2 = text::kFreeDefault2;
    ctx_.HaveFree1 = false;
    ctx_.HaveFree2 = false;
    if (!ctx_.dbase) return;
    auto read = [this](const QString& id, const QString& builtIn, QString& name, bool& have) {
        try {
            OwnDefService ownDef(*ctx_.dbase);
            const QString n = ownDef.name(id);
            if (n != builtIn) {
                name = n;
                have = true;
            }
        } catch (const DbError&) {
            // The built-in name stays and the free item is not shown.
        }
    };
    read(QStringLiteral("20"), text::kFreeDefault1, ctx_.FreeName1, ctx_.HaveFree1);
    read(QStringLiteral("21"), text::kFreeDefault2, ctx_.FreeName2, ctx_.HaveFree2);
}

void FrmPS::loadCodeNames()
{
    // Columns 11 and 13 of the child grid show names, as the card does, so that a line copied
    // into the card reads the same there and its save turns the names back into codes.
    warehouseNames_.clear();
    departmentNames_.clear();
    if (!ctx_.dbase) return;
    if (auto rs = tryOpen(*ctx_.dbase, kWarehouseNamesSql, kReadOnly)) {
        for (int r = 0; r < rs->recordCount(); ++r)
            warehouseNames_.insert(rs->value(r, 0).toString(), rs->value(r, 1).toString());
    }
    if (ctx_.RecDep) {
        Recordset& rs = *ctx_.RecDep;
        for (int r = 0; r < rs.recordCount(); ++r)
            departmentNames_.insert(rs.value(r, 0).toString(), rs.value(r, 1).toString());
    }
}

}  // namespace qx
