// The card's line and header rules as plain code, on a real company database.

#include "card/card_columns.h"
#include "card/free_items.h"
#include "card/header_checks.h"
#include "card/line_validation.h"
#include "data/common.h"
#include "platform/prompter.h"
#include "platform/database.h"
#include "platform/criteria.h"
#include "platform/lock_service.h"
#include "shared/cls_ref.h"
#include "shared/code_to_name.h"
#include "shared/line_grid.h"
#include "support/card_fixture.h"

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

class LineRules : public CardCompanyTest {
protected:
    // Types `text` into (row, col) as the first pass sees it; returns the verdict and the text.
    Verdict type(int row, int col, QString& text)
    {
        return validateCell(lk, grid, parent, row, col, text);
    }
    QString accepted(int row, int col, const QString& typed)
    {
        QString text = typed;
        const Verdict v = type(row, col, text);
        EXPECT_TRUE(v.accepted) << v.message.toStdString();
        if (v) grid.setCell(row, col, text);
        return text;
    }
    QString refusal(int row, int col, const QString& typed)
    {
        QString text = typed;
        const Verdict v = type(row, col, text);
        EXPECT_FALSE(v.accepted);
        EXPECT_EQ(text, typed) << "a refused text stays as typed";
        return v.message;
    }
    // Each row types `typed` into `col` of `row`: refused with `message`, or (message empty)
    // accepted as `shown`.
    struct Typed {
        int col;
        const char* typed;
        const char* message;
        const char* shown = nullptr;
    };
    void expectVerdicts(int row, std::initializer_list<Typed> cases)
    {
        for (const Typed& t : cases) {
            SCOPED_TRACE(QStringLiteral("column %1: %2")
                             .arg(t.col)
                             .arg(QString::fromUtf8(t.typed))
                             .toStdString());
            const QString typed = QString::fromUtf8(t.typed);
            if (*t.message)
                EXPECT_EQ(refusal(row, t.col, typed), QString::fromUtf8(t.message));
            else
                EXPECT_EQ(accepted(row, t.col, typed),
                          QString::fromUtf8(t.shown ? t.shown : t.typed));
        }
    }
    std::vector<QString> rowCells(int row) const
    {
        std::vector<QString> out;
        for (int c = 0; c < kLineColumnCount; ++c) out.push_back(grid.cell(row, c));
        return out;
    }

    MemoryLineGrid grid;
    QString parent = QStringLiteral("P1");
};

TEST_P(LineRules, IllegalCharactersAreRefusedFirstInEveryColumn)
{
    grid.addLine();
    grid.setCell(1, ColExchRate, QStringLiteral("2.5"));
    const auto before = rowCells(1);
    // Each text would otherwise get another message (unknown item, cycle, not a number...); the
    // columns otherwise accepted as typed are held to it too.
    const char* illegal = "请去掉非法字符 |,' ";
    expectVerdicts(1, {{ColChildCode, "ZZ'", illegal},
                       {ColChildCode, "'", illegal},
                       {ColPieces, "-1|", illegal},
                       {ColWarehouse, "W2'", illegal},
                       {ColWasteRate, "0.1|", illegal},
                       {ColHidden, "a'b", illegal}});
    EXPECT_EQ(rowCells(1), before);
}

TEST_P(LineRules, ChildCodeChecksRunInTheirOrder)
{
    for (const char* code : {"X1", "", "A1"}) grid.setCell(grid.addLine(), ColChildCode, QString::fromLatin1(code));
    parent = QStringLiteral("X3");  // X1 -> X2 -> X3 is stored, and ZP (no item) -> X1
    db->execute(QStringLiteral("insert into ProductStructure(cPSPCode) values('ZP')"));
    db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values('ZP','X1',1)"));
    const char* unknown = "所填存货编码不存在，请修改！";
    const char* cycle = "所填的产品结构出现循环调用，请修改！";
    expectVerdicts(2, {{ColChildCode, "", "子产品编号不能为空！"},
                       // the parent in other letter case, and row 1: a repeat before any cycle test
                       {ColChildCode, "x3", "产品重复出现，请修改！"},
                       {ColChildCode, "X1", "产品重复出现，请修改！"},
                       {ColChildCode, "a1", "产品重复出现，请修改！"},  // the last row, other case
                       {ColChildCode, "X2", cycle},
                       {ColChildCode, "ZP", cycle},  // a cycle before the unknown item
                       {ColChildCode, "ZZ", unknown},
                       {ColChildCode, "S1", unknown},  // a service item is no child
                       {ColChildCode, "QQQQQQQQQQQQQQQQQQQQQQQQQQQQQQ", unknown}});
    // The row being edited is not compared with itself.
    expectVerdicts(3, {{ColChildCode, "A1", ""}});
}

TEST_P(LineRules, AcceptedChildFillsItsRowAndEmptiesUnusedFreeItems)
{
    grid.addLine();
    grid.setCell(1, ColFree1, QStringLiteral("红色"));
    grid.setCell(1, ColFree2, QStringLiteral("一等"));
    EXPECT_EQ(accepted(1, ColChildCode, QStringLiteral("A1")), QStringLiteral("A1"));
    EXPECT_EQ(grid.cell(1, ColChildName), QStringLiteral("零件一"));
    EXPECT_EQ(grid.cell(1, ColSpec), QStringLiteral("S-A1"));
    EXPECT_EQ(grid.cell(1, ColMainUnit), QStringLiteral("个"));
    EXPECT_EQ(grid.cell(1, ColAuxUnit), QStringLiteral("箱"));
    EXPECT_EQ(LeadingNumber(grid.cell(1, ColExchRate)), 2.5);
    EXPECT_EQ(LeadingNumber(grid.cell(1, ColPlannedPrice)), 5.0);
    EXPECT_EQ(grid.cell(1, ColFree1), QStringLiteral("红色"));  // A1 uses both
    EXPECT_EQ(grid.cell(1, ColFree2), QStringLiteral("一等"));

    // A3 uses free item 1 only; A2 none; its empty rate and price replace the old ones.
    accepted(1, ColChildCode, QStringLiteral("A3"));
    EXPECT_EQ(grid.cell(1, ColFree1), QStringLiteral("红色"));
    EXPECT_EQ(grid.cell(1, ColFree2), QString());
    accepted(1, ColChildCode, QStringLiteral("A2"));
    EXPECT_EQ(grid.cell(1, ColFree1), QString());
    EXPECT_EQ(grid.cell(1, ColExchRate), QString());
    EXPECT_EQ(grid.cell(1, ColPlannedPrice), QString());
    // The code is kept as typed.
    EXPECT_EQ(accepted(1, ColChildCode, QStringLiteral("0101")), QStringLiteral("0101"));
}

TEST_P(LineRules, PiecesAndQuantityFollowEachOtherThroughTheRate)
{
    grid.addLine();
    accepted(1, ColChildCode, QStringLiteral("A1"));  // rate 2.5
    EXPECT_EQ(accepted(1, ColPieces, QStringLiteral("3")), QStringLiteral("3.00"));
    EXPECT_EQ(grid.cell(1, ColQuantity), QStringLiteral("7.50"));
    EXPECT_EQ(accepted(1, ColQuantity, QStringLiteral("10")), QStringLiteral("10.00"));
    EXPECT_EQ(grid.cell(1, ColPieces), QStringLiteral("4.00"));
    // The leading-number rule: 12 followed by letters counts as 12.
    EXPECT_EQ(accepted(1, ColQuantity, QStringLiteral("12abc")), QStringLiteral("12.00"));
    EXPECT_EQ(grid.cell(1, ColPieces), QStringLiteral("4.80"));

    // Refusals change nothing in the row.
    const auto before = rowCells(1);
    expectVerdicts(1, {{ColPieces, "", "件数不能为空！"},
                       {ColPieces, "0", "件数不能小于或等于零！"},
                       {ColPieces, "abc", "件数不能小于或等于零！"},
                       {ColQuantity, "", "定额数量不能为空！"},
                       {ColQuantity, "0", "定额数量不能小于等于零！"},
                       {ColQuantity, "-2", "定额数量不能小于等于零！"}});
    EXPECT_EQ(rowCells(1), before);

    // Without a rate the quantity is left as it was.
    grid.setCell(1, ColExchRate, QStringLiteral("  "));
    accepted(1, ColPieces, QStringLiteral("2"));
    EXPECT_EQ(grid.cell(1, ColQuantity), QStringLiteral("12.00"));
}

TEST_P(LineRules, ReferenceColumnsTakeNameOrCodeAndShowTheName)
{
    grid.addLine();
    expectVerdicts(
        1, {{ColWarehouse, "", "仓库编码不能为空！"},
            {ColWarehouse, "W1", "", "原料库"},
            {ColWarehouse, "成品库", ""},
            {ColWarehouse, "W9", "所填仓库不存在，请重新填写！"},
            {ColPerson, "E1", "", "张三"},
            {ColPerson, "张三", ""},
            {ColPerson, "", ""},
            {ColPerson, "E9", "所填职员不存在，请修改！"},
            // a Chinese name longer than any column is just unknown
            {ColPerson,
             "中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中中",
             "所填职员不存在，请修改！"},
            {ColDept, "D2", "", "二车间"},
            {ColDept, "D1", ""},  // also the name of D3: the name is tried first
            {ColDept, "D9", "所填部门不存在，请修改！"},
            {ColDept, "", ""},
            {ColOperation, "OP1", "", "装配"},
            {ColOperation, "OP9", "所填工序不存在，请修改！"},
            {ColFree1, "R", "", "红色"},
            {ColFree1, "蓝色", ""},
            {ColFree2, "", ""},
            {ColFree2, "R", "所填内容不存在，请修改！"}});
}

TEST_P(LineRules, SecondPassHoldsThePlannedPriceRuleAndOnlyNames)
{
    const auto line = [this](const QString& child, const QString& wh, const QString& qty) {
        const int r = grid.addLine();
        grid.setCell(r, ColChildCode, child);
        grid.setCell(r, ColWarehouse, wh);
        grid.setCell(r, ColQuantity, qty);
        return r;
    };
    const int a2Planned = line(QStringLiteral("A2"), QStringLiteral("原料库"), QStringLiteral("1"));
    EXPECT_EQ(validateLine(lk, grid, parent, a2Planned).message,
              QStringLiteral("计划价法核算的仓库不能存放无计划价的存货！"));
    grid.setCell(a2Planned, ColWarehouse, QStringLiteral("成品库"));
    EXPECT_TRUE(validateLine(lk, grid, parent, a2Planned).accepted);
    EXPECT_EQ(grid.cell(a2Planned, ColChildName), QStringLiteral("零件二"));
    EXPECT_EQ(grid.cell(a2Planned, ColQuantity), QStringLiteral("1.00"));

    const int a1 = line(QStringLiteral("A1"), QStringLiteral("原料库"), QStringLiteral("5"));
    grid.setCell(a1, ColExchRate, QStringLiteral("2.5"));
    EXPECT_TRUE(validateLine(lk, grid, parent, a1).accepted);
    EXPECT_EQ(grid.cell(a1, ColPieces), QStringLiteral("2.00"));  // recomputed through the rate

    // A code where the name belongs is not turned into a name here: refused, the cell emptied.
    grid.setCell(a1, ColWarehouse, QStringLiteral("W1"));
    EXPECT_EQ(validateLine(lk, grid, parent, a1).message,
              QStringLiteral("所填仓库不存在，请重新填写！"));
    EXPECT_EQ(grid.cell(a1, ColWarehouse), QString());
    grid.setCell(a1, ColWarehouse, QStringLiteral("成品库"));
    // A free item as the cell takes it: an alias passes and becomes its value; lines store values.
    grid.setCell(a1, ColFree1, QStringLiteral("R"));
    EXPECT_TRUE(validateLine(lk, grid, parent, a1).accepted);
    EXPECT_EQ(grid.cell(a1, ColFree1), QStringLiteral("红色"));
    grid.setCell(a1, ColFree1, QStringLiteral("紫"));
    EXPECT_EQ(validateLine(lk, grid, parent, a1).message,
              QStringLiteral("所填内容不存在，请修改！"));
    grid.setCell(a1, ColFree1, QStringLiteral("红色"));
    grid.setCell(a1, ColDept, QStringLiteral("D2"));
    EXPECT_EQ(validateLine(lk, grid, parent, a1).message,
              QStringLiteral("所填部门不存在，请修改！"));
    grid.setCell(a1, ColDept, QStringLiteral("二车间"));
    grid.setCell(a1, ColQuantity, QString());
    EXPECT_EQ(validateLine(lk, grid, parent, a1).message, QStringLiteral("定额数量不能为空！"));
    grid.setCell(a1, ColQuantity, QStringLiteral("5"));
    EXPECT_TRUE(validateLine(lk, grid, parent, a1).accepted);

    // The child-code rules come first: the duplicate of row 1 is refused before anything else.
    const int dup = line(QStringLiteral("a2"), QString(), QString());
    EXPECT_EQ(validateLine(lk, grid, parent, dup).message,
              QStringLiteral("产品重复出现，请修改！"));
}

TEST_P(LineRules, HeaderChecksOfParentAndDepartment)
{
    Recordset* heads = ctx->mrecPro.get();
    EXPECT_EQ(checkParentCode(QString(), true, heads, lk.inventory).verdict.message,
              QStringLiteral("主产品编码不能为空！"));
    EXPECT_EQ(checkParentCode(QString(), false, heads, lk.inventory).verdict.message,
              QStringLiteral("主产品编码不能为空！"));
    // P2 is a valid item, but already has a structure.
    EXPECT_EQ(checkParentCode(QStringLiteral("P2"), true, heads, lk.inventory).verdict.message,
              QStringLiteral("所填父项编码已定义过，请修改！"));
    EXPECT_EQ(checkParentCode(QStringLiteral("ZZ"), true, heads, lk.inventory).verdict.message,
              QStringLiteral("所填存货编码不存在，请修改！"));
    EXPECT_EQ(checkParentCode(QStringLiteral("P1'"), true, heads, lk.inventory).verdict.message,
              QStringLiteral("所填存货编码不存在，请修改！"));
    // Editing: any non-empty code passes without a lookup.
    EXPECT_TRUE(checkParentCode(QStringLiteral("ZZ"), false, heads, lk.inventory).verdict.accepted);
    const ParentCheck p1 = checkParentCode(QStringLiteral("P1"), true, heads, lk.inventory);
    ASSERT_TRUE(p1.verdict.accepted);
    EXPECT_EQ(p1.name, QStringLiteral("成品一"));
    EXPECT_EQ(p1.spec, QStringLiteral("规格P1"));

    QString dep = QStringLiteral("D2");
    EXPECT_TRUE(checkDepartment(dep, lk.department).accepted);
    EXPECT_EQ(dep, QStringLiteral("二车间"));
    dep = QStringLiteral("D1");  // a name first
    EXPECT_TRUE(checkDepartment(dep, lk.department).accepted);
    EXPECT_EQ(dep, QStringLiteral("D1"));
    dep = QString();
    EXPECT_TRUE(checkDepartment(dep, lk.department).accepted);
    for (const QString& bad :
         {QStringLiteral("D9"), QStringLiteral("总厂"), QStringLiteral("D'1")}) {
        dep = bad;
        EXPECT_EQ(checkDepartment(dep, lk.department).message,
                  QStringLiteral("所填生产部门不存在，请修改！"));
        EXPECT_EQ(dep, bad);
    }
}

TEST_P(LineRules, FreeItemsAndNameConversions)
{
    EXPECT_TRUE(HasFree(QStringLiteral("A1"), ColFree1, *db));
    EXPECT_TRUE(HasFree(QStringLiteral("A1"), ColFree2, *db));
    EXPECT_TRUE(HasFree(QStringLiteral("A3"), ColFree1, *db));
    EXPECT_FALSE(HasFree(QStringLiteral("A3"), ColFree2, *db));
    EXPECT_FALSE(HasFree(QStringLiteral("A1"), ColAuxUnit, *db));
    EXPECT_FALSE(HasFree(QStringLiteral("ZZ"), ColFree1, *db));

    grid.addLine();
    grid.addLine();
    grid.setCell(1, ColChildCode, QStringLiteral("A1"));
    grid.setCell(1, ColFree1, QStringLiteral("红色"));
    grid.setCell(2, ColChildCode, QStringLiteral("A3"));
    grid.setCell(2, ColFree1, QStringLiteral("蓝色"));
    ScriptedPrompter prompter;
    EXPECT_TRUE(FreeRight(grid, *ctx));
    EXPECT_TRUE(prompter.shown.empty());
    grid.setCell(2, ColFree2, QStringLiteral("一等"));
    EXPECT_FALSE(FreeRight(grid, *ctx));
    ASSERT_EQ(prompter.shown.size(), 1u);
    EXPECT_EQ(prompter.last(), QStringLiteral("第2条子存货没有定义等级,请清空！"));
    EXPECT_EQ(prompter.shown[0].title, QStringLiteral("提示！"));

    auto unnamed = makeListContext(*db, true);
    grid.setCell(2, ColChildCode, QStringLiteral("A2"));
    EXPECT_EQ(freeItemRefusal(grid, *unnamed),
              QStringLiteral("第2条子存货没有定义自由项1,请清空！"));

    EXPECT_EQ(NameToCode_WareHouse(QStringLiteral("成品库"), lk.warehouse), QStringLiteral("W2"));
    EXPECT_EQ(NameToCode_WareHouse(QStringLiteral("原料库"), lk.warehouse), QStringLiteral("W1"));
    EXPECT_EQ(NameToCode_WareHouse(QStringLiteral("无此库"), lk.warehouse), QString());
    EXPECT_EQ(NameToCode_Dep(QStringLiteral("二车间"), lk.department), QStringLiteral("D2"));
    EXPECT_EQ(NameToCode_Dep(QStringLiteral("总厂"), lk.department), QString());
    EXPECT_EQ(CodeToName_WareHouse(QStringLiteral("W1"), *db), QStringLiteral("原料库"));
    EXPECT_EQ(CodeToName_WareHouse(QStringLiteral("W'1"), *db), QString());
    EXPECT_EQ(CodeToName_Dep(QStringLiteral("D2"), *db), QStringLiteral("二车间"));
    EXPECT_EQ(CodeToName_Dep(QStringLiteral("D9"), *db), QString());  // not end-level
}

TEST_P(LineRules, PickedRecordsWriteTheirSecondFieldNullAsEmpty)
{
    db->execute(
        QStringLiteral("insert into CA_PreDf(cProcedureID,cProcedureName,cDeptId) values(?,?,?)"),
        {QStringLiteral("OP2"), QVariant(QMetaType::fromType<QString>()), QStringLiteral("D1")});
    auto ops = db->openRecordset(
        QStringLiteral("select cProcedureID,cProcedureName,cDeptId from CA_PreDf "));
    grid.addLine();
    grid.addLine();
    grid.setCurrentRow(2);
    grid.setCell(2, ColOperation, QStringLiteral("old"));
    QString parentPicked;
    ClsRef::Targets t;
    t.lines = &grid;
    t.parentPicked = [&](const QString& c, const QString& n, const QString& s) {
        parentPicked = c + n + s;
    };
    ClsRef ref(t);
    ops->findFirst(Criteria::eq(QStringLiteral("cProcedureID"), QStringLiteral("OP2")));
    ref.Refnew5_Selected(*ops);
    EXPECT_EQ(grid.cell(2, ColOperation), QString());
    ops->findFirst(Criteria::eq(QStringLiteral("cProcedureID"), QStringLiteral("OP1")));
    ref.Refnew5_Selected(*ops);
    EXPECT_EQ(grid.cell(2, ColOperation), QStringLiteral("装配"));
    EXPECT_EQ(grid.cell(1, ColOperation), QString());

    lk.warehouse->findFirst(Criteria::eq(QStringLiteral("cwhcode"), QStringLiteral("W1")));
    ref.Ref4_Selected(*lk.warehouse);
    EXPECT_EQ(grid.cell(2, ColWarehouse), QStringLiteral("原料库"));
    lk.inventory->findFirst(Criteria::eq(QStringLiteral("cInvCode"), QStringLiteral("P1")));
    ref.Ref1_Selected(*lk.inventory);
    EXPECT_EQ(parentPicked, QStringLiteral("P1成品一规格P1"));
    EXPECT_EQ(NullToText(QVariant()), QString());
    EXPECT_EQ(NullToText(QVariant(QMetaType::fromType<double>())), QString());
}

TEST_P(LineRules, ItemGoneSinceLoadingIsRefusedAndTheIndexAnswersAsTheSearch)
{
    const QHash<QString, int> rows = indexItemRows(*lists.inventory);
    CardLookups indexed = lk;
    indexed.inventoryRows = &rows;
    for (const QString& code : {QStringLiteral("A1"), QStringLiteral("0102"), QStringLiteral("S1"),
                                QStringLiteral("a1"), QStringLiteral("ZZ"), QString()}) {
        const bool byIndex = findItem(indexed, code);
        const QString atIndex =
            byIndex ? lists.inventory->field(QStringLiteral("cInvName")).toString() : QString();
        const bool bySearch = findItem(lk, code);
        const QString atSearch =
            bySearch ? lists.inventory->field(QStringLiteral("cInvName")).toString() : QString();
        EXPECT_EQ(byIndex, bySearch) << code.toStdString();
        EXPECT_EQ(atIndex, atSearch) << code.toStdString();
    }

    // The card's list still holds A3, the master data no longer do: refused, nothing filled.
    db->execute(QStringLiteral("delete from Inventory where cInvCode=?"), {QStringLiteral("A3")});
    grid.addLine();
    const auto before = rowCells(1);
    QString text = QStringLiteral("A3");
    EXPECT_EQ(validateCell(indexed, grid, parent, 1, ColChildCode, text).message,
              QStringLiteral("所填存货编码不存在，请修改！"));
    EXPECT_EQ(rowCells(1), before);
}

QX_INSTANTIATE_BACKENDS(LineRules);

// Input an operator should never type: quotes, pipes, pieces of SQL, control characters, very long
// texts and broken UTF-8. Nothing may crash, no statement may change, and every refusal is the
// system's own message.
QStringList hostileValues()
{
    return {
        QStringLiteral("'"),
        QStringLiteral("a'b"),
        QStringLiteral("|"),
        QStringLiteral("x' or '1'='1"),
        QStringLiteral("'; delete from ProductStructures; --"),
        QStringLiteral("A1; drop table Inventory"),
        QStringLiteral("%"),
        QStringLiteral("A1%"),
        QStringLiteral("\x01\x02\t\r\n"),
        QString(10000, QLatin1Char('Z')),
        QString(10000, QChar(0x4E2D)),
        QString::fromUtf8("\xff\xfe\xc3\x28\xe2\x82"),
        QStringLiteral("[cInvCode]='A1'"),
    };
}

using HostileValues = CardCompanyTest;

// Lookups, the cycle walk and the lock table take any value as a value.
TEST_P(HostileValues, LookupsCycleWalkAndLocksTakeThemAsPlainValues)
{
    const int lines = tableCount(QStringLiteral("ProductStructures"));
    const int items = tableCount(QStringLiteral("Inventory"));
    const int parents = tableCount(QStringLiteral("ProductStructure"));
    LockService locks(*db);
    for (const QString& v : hostileValues()) {
        SCOPED_TRACE(v.left(40).toStdString());
        EXPECT_FALSE(FindRecord(v, *lists.inventory, QStringLiteral("cInvCode")));
        EXPECT_TRUE(CheckCycle(v, QStringLiteral("A1"), *db));
        EXPECT_TRUE(CheckCycle(QStringLiteral("X3"), v, *db));
        EXPECT_TRUE(CollectAncestors(v, *db).codes.isEmpty());
        // The stored chain X1 -> X2 -> X3 still refuses its loop around the hostile checks.
        EXPECT_FALSE(CheckCycle(QStringLiteral("X3"), QStringLiteral("X1"), *db));

        // A key the lock table can hold is granted to one holder only; one longer than any code
        // is refused, never granted.
        const bool fits = v.size() <= 255;
        EXPECT_EQ(locks.lockRecord(QStringLiteral("AE"), QStringLiteral("AA"), QStringLiteral("a"),
                                   QStringLiteral("WS"), {v}),
                  fits);
        LockService other(*db, 1);  // another live process: pid 1 never ends
        EXPECT_FALSE(other.lockRecord(QStringLiteral("AE"), QStringLiteral("AA"),
                                      QStringLiteral("a"), QStringLiteral("WS"), {v}));
        locks.unlockRecord(QStringLiteral("AE"), {v});
    }
    EXPECT_EQ(tableCount(QStringLiteral("ProductStructures")), lines);
    EXPECT_EQ(tableCount(QStringLiteral("Inventory")), items);
    EXPECT_EQ(tableCount(QStringLiteral("ProductStructure")), parents);
    EXPECT_EQ(tableCount(LockService::tableName()), 0);
}

// Every checked cell refuses them with its own message and keeps the text as typed; the quote
// and the pipe are refused before anything is looked up.
TEST_P(HostileValues, EveryCheckedCellRefusesWithItsOwnMessage)
{
    struct Column {
        int col;
        QString message;
    };
    const std::vector<Column> columns = {
        {ColChildCode, QStringLiteral("所填存货编码不存在，请修改！")},
        {ColFree1, QStringLiteral("所填内容不存在，请修改！")},
        {ColFree2, QStringLiteral("所填内容不存在，请修改！")},
        {ColPieces, QStringLiteral("件数不能小于或等于零！")},
        {ColQuantity, QStringLiteral("定额数量不能小于等于零！")},
        {ColWarehouse, QStringLiteral("所填仓库不存在，请重新填写！")},
        {ColPerson, QStringLiteral("所填职员不存在，请修改！")},
        {ColDept, QStringLiteral("所填部门不存在，请修改！")},
        {ColOperation, QStringLiteral("所填工序不存在，请修改！")},
    };
    MemoryLineGrid grid;
    grid.addLine();
    grid.setCell(1, ColExchRate, QStringLiteral("2.5"));
    const int lines = tableCount(QStringLiteral("ProductStructures"));
    for (const QString& v : hostileValues()) {
        const bool illegal = v.contains(QLatin1Char('\'')) || v.contains(QLatin1Char('|'));
        for (const Column& c : columns) {
            SCOPED_TRACE(QStringLiteral("column %1: %2").arg(c.col).arg(v.left(40)).toStdString());
            QString text = v;
            const Verdict verdict = validateCell(lk, grid, QStringLiteral("P1"), 1, c.col, text);
            ASSERT_FALSE(verdict.accepted);
            EXPECT_EQ(verdict.message, illegal ? QStringLiteral("请去掉非法字符 |,' ") : c.message);
            EXPECT_EQ(text, v);
        }
    }
    // Nothing of the line was filled by a refused cell.
    for (int col = 0; col < kLineColumnCount; ++col) {
        if (col != ColExchRate) {
            EXPECT_TRUE(grid.cell(1, col).isEmpty()) << col;
        }
    }
    EXPECT_EQ(tableCount(QStringLiteral("ProductStructures")), lines);
}

QX_INSTANTIATE_BACKENDS(HostileValues);

}  // namespace
