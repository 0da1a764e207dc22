// Structures imported from spreadsheets and a component replaced everywhere: every card rule
// with the card's message, the file's own loops, all or nothing, the encodings and the XLSX
// forms a spreadsheet saves.

#include "bulk/component_replace.h"
#include "bulk/structure_import.h"
#include "platform/lock_service.h"
#include "platform/sheet_file.h"
#include "platform/xlsx_template.h"
#include "shared/record_lock.h"
#include "support/card_fixture.h"

#include <QFile>
#include <QStringEncoder>
#include <QTemporaryDir>

#include <zip.h>

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

const QString kHeader = QStringLiteral(
    "父项编码,生产部门,子项编码,颜色,等级,件数,定额数量,损耗率,存放仓库,库管员,用料车间,用料工序");

std::vector<SheetRow> csv(const QStringList& lines)
{
    return parseCsv(lines.join(QLatin1Char('\n')));
}

class StructureImport : public CardCompanyTest {
protected:
    ImportResult run(const QStringList& lines, ImportOptions options = {})
    {
        if (options.computer.isEmpty()) options.computer = ctx->ComputerName;
        return importStructures(*ctx, csv(lines), options);
    }
};

struct Expected {
    int row;
    const char* caption;
    const char* value;
    const char* message;
};

// One bad row per rule; each is refused with the card's own message, and nothing is written.
TEST_P(StructureImport, EveryRuleRefusesItsRowWithTheCardsMessage)
{
    const QStringList file = {
        kHeader,
        "P1,,A1,R,A,,2,,成品库,E1,D1,OP1",       // 2 good: alias, codes, names
        "P1,,A'1,,,,1,,W2,,,",                   // 3 illegal character
        "P1,,ZZ,,,,1,,W2,,,",                    // 4 unknown code
        "P1,,S1,,,,1,,W2,,,",                    // 5 service item
        "P1,,A2,,,,1,,W1,,,",                    // 6 planned-price warehouse, item without price
        "P1,,p1,,,,1,,W2,,,",                    // 7 child equal to its parent (other case)
        "P1,,A3,,,,1,,W2,,,",                    // 8 good
        "P1,,A3,,,,1,,W2,,,",                    // 9 same child twice
        "A2,,A1,黄色,,,1,,W2,,,",                // 10 free item value unknown
        "P1,,X1,,,,0,,W2,,,",                    // 11 quantity 0
        "P1,,X2,,,,-3,,W2,,,",                   // 12 quantity negative
        "P1,,X3,,,,12abc,,W2,,,",                // 13 not a number
        "P1,,0101,,,,1,,,,,",                    // 14 no warehouse
        "P1,,0102,,,,1,,W9,,,",                  // 15 unknown warehouse
        "P1,,0201,,,,1,,W2,E9,,",                // 16 unknown person
        "P1,,X2,,,,1,,W2,,D8,",                  // 17 unknown department
        "P1,,X3,,,,1,,W2,,,OP9",                 // 18 unknown operation
        "P1,,A2,,,0,,,W2,,,",                    // 19 pieces 0
        "X3,,X1,,,,1,,W2,,,",                    // 20 a loop with the stored X1 -> X2 -> X3
        "0102,,0201,,,,1,,W2,,,",                // 21 a loop among the file's rows ...
        "0201,,0102,,,,1,,W2,,,",                // 22 ... closed here
        "P2,,A2,,,,1,,W2,,,",                    // 23 parent already has a structure
        "Q9,,A2,,,,1,,W2,,,",                    // 24 parent is no item
        "A2,D8,A3,,,,1,,W2,,,",                  // 25 producing department unknown
        "0101,,A3,,一等,,1,,W2,,,",              // 26 free item 2 on an item without it
        "A1,,A2,,,,1,,W2\x01,,,",                // 27 control character
        "A3,,A2,,,,1,,W2,,,,extra",              // 28 a cell beyond the captions
        "A2,,X1|,,,,1,,W2,,,",                   // 29 a bar
    };
    const Expected expected[] = {
        {3, "子项编码", "A'1", "请去掉非法字符 |,' "},
        {4, "子项编码", "ZZ", "所填存货编码不存在，请修改！"},
        {5, "子项编码", "S1", "所填存货编码不存在，请修改！"},
        {6, "存放仓库", "W1", "计划价法核算的仓库不能存放无计划价的存货！"},
        {7, "子项编码", "p1", "产品重复出现，请修改！"},
        {9, "子项编码", "A3", "产品重复出现，请修改！"},
        {10, "颜色", "黄色", "所填内容不存在，请修改！"},
        {11, "定额数量", "0", "定额数量不能小于等于零！"},
        {12, "定额数量", "-3", "定额数量不能小于等于零！"},
        {13, "定额数量", "12abc", "不是数字，请修改！"},
        {14, "存放仓库", "", "仓库编码不能为空！"},
        {15, "存放仓库", "W9", "所填仓库不存在，请重新填写！"},
        {16, "库管员", "E9", "所填职员不存在，请修改！"},
        {17, "用料车间", "D8", "所填部门不存在，请修改！"},
        {18, "用料工序", "OP9", "所填工序不存在，请修改！"},
        {19, "件数", "0", "件数不能小于或等于零！"},
        {20, "子项编码", "X1", "所填的产品结构出现循环调用，请修改！"},
        {21, "子项编码", "0201", "所填的产品结构出现循环调用，请修改！"},
        {22, "子项编码", "0102", "所填的产品结构出现循环调用，请修改！"},
        {23, "父项编码", "P2", "所填父项编码已定义过，请修改！"},
        {24, "父项编码", "Q9", "所填存货编码不存在，请修改！"},
        {25, "生产部门", "D8", "所填生产部门不存在，请修改！"},
        {26, "等级", "一等", "第1条子存货没有定义等级,请清空！"},
        {27, "存放仓库", "W2\x01", "含有控制字符，请修改！"},
        {28, "M", "extra", "该栏没有栏目名，请修改！"},
        {29, "子项编码", "X1|", "请去掉非法字符 |,' "},
    };
    const int headers = tableCount("ProductStructure");
    const int lines = tableCount("ProductStructures");
    const ImportResult r = run(file);
    EXPECT_EQ(r.outcome, ImportResult::Outcome::Refused);
    EXPECT_EQ(r.exitCode(), 1);
    ASSERT_EQ(r.refusals.size(), std::size(expected)) << r.report().join('\n').toStdString();
    for (size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(expected[i].row);
        EXPECT_EQ(r.refusals[i].fileRow, expected[i].row);
        EXPECT_EQ(r.refusals[i].caption, QString::fromUtf8(expected[i].caption));
        EXPECT_EQ(r.refusals[i].value, QString::fromUtf8(expected[i].value));
        EXPECT_EQ(r.refusals[i].message, QString::fromUtf8(expected[i].message));
    }
    EXPECT_EQ(r.report().last(), QStringLiteral("有 26 行被拒绝，没有写入任何数据"));
    // All or nothing: the good rows of P1 are not written either.
    EXPECT_EQ(tableCount("ProductStructure"), headers);
    EXPECT_EQ(tableCount("ProductStructures"), lines);
}

TEST_P(StructureImport, CaptionsAreTheListWindowsOwn)
{
    const ImportResult unknown =
        run({"父项编码,子项编码,定额数量,存放仓库,数量,名称,存放仓库", "P1,A1,1,W2,1,x,W2"});
    ASSERT_EQ(unknown.refusals.size(), 3u);
    EXPECT_EQ(unknown.refusals[0].caption, QStringLiteral("数量"));
    EXPECT_EQ(unknown.refusals[0].message, QStringLiteral("不认识的栏目名，请修改！"));
    EXPECT_EQ(unknown.refusals[1].caption, QStringLiteral("名称"));
    EXPECT_EQ(unknown.refusals[2].message, QStringLiteral("栏目名重复，请修改！"));

    const ImportResult missing = run({"子项编码,存放仓库,子项名称", "A1,W2,x"});
    ASSERT_EQ(missing.refusals.size(), 2u);
    EXPECT_EQ(missing.refusals[0].message, QStringLiteral("缺少必需的栏目“父项编码”"));
    EXPECT_EQ(missing.refusals[1].message, QStringLiteral("缺少必需的栏目“定额数量”"));

    const ImportResult headerOnly = run({kHeader});
    ASSERT_EQ(headerOnly.refusals.size(), 1u);
    EXPECT_EQ(headerOnly.refusals[0].message, QStringLiteral("文件中没有数据行"));

    // Customised terms rename the captions; derived columns are accepted and ignored.
    ctx->parentTerm = QStringLiteral("母件");
    ctx->childTerm = QStringLiteral("子件");
    const ImportResult renamed = run(
        {"子件名称,母件编码,子件编码,定额数量,存放仓库,计划价", "whatever,P1,A1,1,W2,999"});
    EXPECT_EQ(renamed.outcome, ImportResult::Outcome::Written) << renamed.report().join('\n').toStdString();
}

TEST_P(StructureImport, GoodFileIsWrittenAsTheCardWouldSaveIt)
{
    const ImportResult r = run({
        kHeader,
        "P1,D2,A1,R,A,,\"1,200.5\",3,成品库,欧阳明华东方,一车间,OP1",
        "A3,,A2,,,,1,,W2,,,",
        "P1,,A3,蓝色,,4,,,W2,,,",  // rows of one parent wherever they stand; quantity from pieces
    });
    ASSERT_EQ(r.outcome, ImportResult::Outcome::Written) << r.report().join('\n').toStdString();
    EXPECT_EQ(r.report().last(), QStringLiteral("已导入 2 个产品结构，共 3 行"));
    // A code turned to its name and back.
    EXPECT_EQ(firstValue(*db, QStringLiteral("select cDepCode from ProductStructure where cPSPCode='P1'")), "D2");
    auto rs = db->openRecordset(
        QStringLiteral("select cPSCode,cWhCode,iPSQuantity,iWasteRate,cPersonName,cDepCode,"
                       "cProcedureName,cFree1,cFree2 from ProductStructures where cPSPCode='P1' "
                       "order by cPSCode"),
        RecordsetType::Snapshot);
    ASSERT_EQ(rs->recordCount(), 2);
    EXPECT_EQ(rs->value(0, 0).toString(), QStringLiteral("A1"));
    EXPECT_EQ(rs->value(0, 1).toString(), QStringLiteral("W2"));  // the name back to its code
    EXPECT_DOUBLE_EQ(rs->value(0, 2).toDouble(), 1200.5);
    EXPECT_DOUBLE_EQ(rs->value(0, 3).toDouble(), 3);
    EXPECT_EQ(rs->value(0, 4).toString(), QStringLiteral("欧阳明华东"));  // cut to 10 bytes
    EXPECT_EQ(rs->value(0, 5).toString(), QStringLiteral("D1"));
    EXPECT_EQ(rs->value(0, 6).toString(), QStringLiteral("装配"));
    EXPECT_EQ(rs->value(0, 7).toString(), QStringLiteral("红色"));  // the alias as its value
    EXPECT_EQ(rs->value(0, 8).toString(), QStringLiteral("一等"));
    EXPECT_EQ(rs->value(1, 0).toString(), QStringLiteral("A3"));
    EXPECT_DOUBLE_EQ(rs->value(1, 2).toDouble(), 8);  // 4 pieces at rate 2
    EXPECT_TRUE(rs->value(1, 3).isNull());            // no waste rate: NULL
    EXPECT_EQ(rs->value(1, 5).toString(), QString());  // no department: none, not the line before's
}

TEST_P(StructureImport, HostileCellsAreRefusedNamingRowAndColumn)
{
    const QString drop = QStringLiteral("1; drop table ProductStructures --");
    const QString longCode(10000, u'码');
    const ImportResult r = run({
        "父项编码,子项编码,定额数量,存放仓库,库管员,用料工序,损耗率",
        "P1,A3,1,W2," + drop + ",,",
        "P1,A1,1," + drop + ",,,",
        "P1," + longCode + ",1,W2,,,",
        "P1,A2,1,W2,,\"\"\"装配\"\"\",",
        "P1,X1,1,W2,,,5%",
        "\"" + drop + "\",A2,1,W2,,,",
    });
    const QStringList want = {
        "第 2 行\t库管员\t“" + drop + "”\t所填职员不存在，请修改！",
        "第 3 行\t存放仓库\t“" + drop + "”\t所填仓库不存在，请重新填写！",
        "第 4 行\t子项编码\t“" + longCode + "”\t所填存货编码不存在，请修改！",
        "第 5 行\t用料工序\t“\"装配\"”\t所填工序不存在，请修改！",
        "第 6 行\t损耗率\t“5%”\t不是数字，请修改！",
        "第 7 行\t父项编码\t“" + drop + "”\t所填存货编码不存在，请修改！",
        "有 6 行被拒绝，没有写入任何数据",
    };
    EXPECT_EQ(r.report(), want);
    EXPECT_EQ(tableCount("ProductStructures"), 3);
}

// Loops closed through stored structures several levels below a file's child, through another
// parent of the file, and through a structure the file replaces (its new lines count, its stored
// ones do not) or keeps (refused, its stored lines still stand). Each file is only checked.
TEST_P(StructureImport, LoopsThroughStoredStructuresBelowTheFilesChildren)
{
    for (int i = 1; i <= 6; ++i) {  // stored: L1 -> L2 -> L3 -> L4 -> L5
        const QString code = QStringLiteral("L%1").arg(i);
        db->execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvM_Unit,iInvRCost,bFree1,bFree2,"
                                   "bService) values(?,'链','件',1,0,0,0)"), {code});
        if (i > 4) continue;
        db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,'D1')"), {code});
        db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                                   "values(?,?,1,'W2')"), {code, QStringLiteral("L%1").arg(i + 1)});
    }
    const char* loop = "所填的产品结构出现循环调用，请修改！";
    const struct {
        QStringList rows;  // parent, child
        bool replace;
        std::vector<Expected> refused;  // none: checked
    } cases[] = {
        {{"L5,L1"}, false, {{2, "子项编码", "L1", loop}}},
        {{"L6,L1", "L5,L6"}, false, {{2, "子项编码", "L1", loop}, {3, "子项编码", "L6", loop}}},
        {{"L4,A2", "L5,L1"}, true, {}},
        {{"L4,A2", "L5,L1"}, false, {{2, "父项编码", "L4", "所填父项编码已定义过，请修改！"}, {3, "子项编码", "L1", loop}}},
        {{"L3,L1"}, true, {{2, "子项编码", "L1", loop}}},
        {{"L2,L4", "L5,L1"}, true, {{2, "子项编码", "L4", loop}, {3, "子项编码", "L1", loop}}},
        {{"L5,L6"}, false, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rows.join(QLatin1Char('/')).toStdString());
        QStringList file{QStringLiteral("父项编码,子项编码,定额数量,存放仓库")};
        for (const QString& row : c.rows) file << row + QStringLiteral(",1,W2");
        ImportOptions options;
        options.replace = c.replace;
        options.dryRun = true;
        const ImportResult r = run(file, options);
        EXPECT_EQ(r.outcome, c.refused.empty() ? ImportResult::Outcome::Checked : ImportResult::Outcome::Refused);
        ASSERT_EQ(r.refusals.size(), c.refused.size()) << r.report().join('\n').toStdString();
        for (size_t i = 0; i < c.refused.size(); ++i) {
            const ImportRefusal& got = r.refusals[i];
            const Expected& e = c.refused[i];
            EXPECT_EQ(QStringList({QString::number(got.fileRow), got.caption, got.value, got.message}),
                      QStringList({QString::number(e.row), QString::fromUtf8(e.caption), QString::fromUtf8(e.value),
                                   QString::fromUtf8(e.message)}));
        }
    }
}

TEST_P(StructureImport, ReplaceDryRunAndCancelWriteOnlyWhenAllowed)
{
    const QStringList file = {kHeader, "P2,,A3,,,,1,,W2,,,", "P2,,A2,,,,2,,W2,,,"};
    // A dry run checks and writes nothing.
    ImportOptions dry;
    dry.replace = true;
    dry.dryRun = true;
    const ImportResult checked = run(file, dry);
    EXPECT_EQ(checked.outcome, ImportResult::Outcome::Checked) << checked.report().join('\n').toStdString();
    EXPECT_EQ(checked.report().last(), QStringLiteral("检查通过：1 个产品结构，共 2 行，没有写入任何数据"));
    const auto linesOfP2 = [&] { return tableCount("ProductStructures where cPSPCode='P2'"); };
    EXPECT_EQ(linesOfP2(), 1);

    // Another workstation holds P2: refused by name.
    LockService other(*db, 999999);
    ASSERT_TRUE(other.lockRecord(kLockCategory, kLockSystem, kLockMode, QStringLiteral("另一台"), {"P2"}));
    ImportOptions replace;
    replace.replace = true;
    const ImportResult locked = run(file, replace);
    ASSERT_EQ(locked.refusals.size(), 2u);
    EXPECT_EQ(locked.refusals[0].value, QStringLiteral("P2"));
    EXPECT_EQ(locked.refusals[0].message, QStringLiteral("该产品被他人锁定使用，不能修改！"));
    EXPECT_EQ(linesOfP2(), 1);
    other.unlockRecord(kLockCategory, {"P2"});

    // Cancelled halfway through the writing: nothing stays.
    ImportOptions cancelling = replace;
    cancelling.progress = [](int done, int total) { return done < total; };
    EXPECT_EQ(run(file, cancelling).outcome, ImportResult::Outcome::Cancelled);
    EXPECT_EQ(linesOfP2(), 1);

    // A file without the department column keeps the stored department.
    db->execute(QStringLiteral("update ProductStructure set cDepCode='D1' where cPSPCode='P2'"));
    const ImportResult written = run({"父项编码,子项编码,定额数量,存放仓库", "P2,A3,1,W2", "P2,A2,2,W2"}, replace);
    EXPECT_EQ(written.outcome, ImportResult::Outcome::Written) << written.report().join('\n').toStdString();
    EXPECT_EQ(linesOfP2(), 2);
    EXPECT_EQ(firstValue(*db, QStringLiteral("select cDepCode from ProductStructure where cPSPCode='P2'")), "D1");
    // The locks were given back.
    EXPECT_TRUE(other.lockRecord(kLockCategory, kLockSystem, kLockMode, QStringLiteral("另一台"), {"P2"}));
}

TEST_P(StructureImport, ReplaceComponentRefusesNamingTheParents)
{
    db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values('P1','D1'),('A3','D1')"));
    db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                               "values('P1','X3',2,'W2'),('P1','A3',1,'W2'),('A3','X3',1,'W2')"));
    struct Case {
        const char* newCode;
        QStringList refusals;
    } cases[] = {
        {"ZZ", {"父项 A3：所填存货编码不存在，请修改！", "父项 P1：所填存货编码不存在，请修改！",
                "父项 X2：所填存货编码不存在，请修改！"}},
        {"S1", {"父项 A3：所填存货编码不存在，请修改！", "父项 P1：所填存货编码不存在，请修改！",
                "父项 X2：所填存货编码不存在，请修改！"}},
        // P1 holds A3 already; A3 under itself; X1 reaches X2
        {"A3", {"父项 A3：产品重复出现，请修改！", "父项 P1：产品重复出现，请修改！"}},
        {"X1", {"父项 X2：所填的产品结构出现循环调用，请修改！"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.newCode);
        const ReplaceResult r = replaceComponent(*db, {"X3", QString::fromLatin1(c.newCode), 2, false, "w1"});
        EXPECT_EQ(r.outcome, ReplaceResult::Outcome::Refused);
        EXPECT_EQ(r.refusals, c.refusals);
    }
    // The new item on a changed line as the card judges it: a free item it does not use must be
    // empty (the message names the card's line: P1 lists A3, then X3), a warehouse valued at
    // planned price needs its planned price. A1 uses both free items and has a price.
    db->execute(QStringLiteral("insert into UserDefItem(cID,cName) values('21','等级')"));
    db->execute(QStringLiteral("update ProductStructures set cFree2='一等' where cPSPCode='P1' and cPSCode='X3'"));
    db->execute(QStringLiteral("update ProductStructures set cWhCode='W1' where cPSPCode='X2'"));
    const struct {
        const char* newCode;
        ReplaceResult::Outcome outcome;
        QStringList refusals;
    } itemRules[] = {
        {"A2", ReplaceResult::Outcome::Refused,
         {"父项 P1：第2条子存货没有定义等级,请清空！", "父项 X2：计划价法核算的仓库不能存放无计划价的存货！"}},
        {"A1", ReplaceResult::Outcome::Checked, {}},
    };
    for (const auto& c : itemRules) {
        SCOPED_TRACE(c.newCode);
        const ReplaceResult r = replaceComponent(*db, {"X3", QString::fromLatin1(c.newCode), 2, true, "w1"});
        EXPECT_EQ(r.outcome, c.outcome);
        EXPECT_EQ(r.refusals, c.refusals);
    }
    db->execute(QStringLiteral("update ProductStructures set cFree2=NULL, cWhCode='W2' where cPSCode='X3'"));

    LockService other(*db, 999999);
    ASSERT_TRUE(other.lockRecord(kLockCategory, kLockSystem, kLockMode, QStringLiteral("另一台"), {"A3"}));
    EXPECT_EQ(replaceComponent(*db, {"X3", "0101", 2, false, "w1"}).refusals,
              QStringList{"父项 A3：该产品被他人锁定使用，不能修改！"});
    other.unlockRecord(kLockCategory, {"A3"});
    EXPECT_EQ(tableCount("ProductStructures where cPSCode='X3'"), 3);

    const ReplaceResult dry = replaceComponent(*db, {"X3", "0101", 2, true, "w1"});
    EXPECT_EQ(dry.report().last(), QStringLiteral("检查通过：将替换 3 个产品结构，3 行，没有写入任何数据"));
    EXPECT_EQ(tableCount("ProductStructures where cPSCode='X3'"), 3);

    const ReplaceResult done = replaceComponent(*db, {"X3", "0101", 2.5, false, "w1"});
    EXPECT_EQ(done.report().last(), QStringLiteral("已替换：3 个产品结构，3 行"));
    EXPECT_EQ(tableCount("ProductStructures where cPSCode='X3'"), 0);
    auto q = db->openRecordset(QStringLiteral("select iPSQuantity from ProductStructures where "
                                              "cPSPCode='P1' and cPSCode='0101'"),
                               RecordsetType::Snapshot);
    ASSERT_EQ(q->recordCount(), 1);
    EXPECT_DOUBLE_EQ(q->field(0).toDouble(), 5);
}

QX_INSTANTIATE_BACKENDS(StructureImport);

// ---- reading the files ----

class SheetFiles : public ::testing::Test {
protected:
    QString write(const QString& name, const QByteArray& bytes) { return writeFile(dir.filePath(name), bytes); }
    static QStringList flat(const SheetFile& f)
    {
        QStringList out;
        for (const SheetRow& r : f.rows) out << QString::number(r.fileRow) + ':' + r.cells.join('|');
        return out;
    }
    QTemporaryDir dir;
};

const QString kSample = QStringLiteral(
    "父项编码,子项编码,定额数量,存放仓库\r\n"
    "成品一,\"零件,一\",1.5,\"原料\"\"库\"\"\"\r\n"
    "\r\n"
    "P2,\"两\n行\",2,成品库\r\n");

TEST_F(SheetFiles, Gb18030AndUtf8WithAndWithoutMarkGiveTheSameRows)
{
    QStringEncoder gb("GB18030");
    const QByteArray utf8 = kSample.toUtf8();
    const SheetFile a = readSheetFile(write("u.csv", utf8));
    const SheetFile b = readSheetFile(write("bom.csv", "\xEF\xBB\xBF" + utf8));
    const SheetFile c = readSheetFile(write("gb.csv", gb.encode(kSample)));
    ASSERT_TRUE(a.ok()) << a.error.toStdString();
    const QStringList want = {"1:父项编码|子项编码|定额数量|存放仓库", "2:成品一|零件,一|1.5|原料\"库\"",
                              "4:P2|两\n行|2|成品库"};
    EXPECT_EQ(flat(a), want);
    EXPECT_EQ(flat(b), want);
    EXPECT_EQ(flat(c), want);
    QString tabbed = kSample;
    tabbed.replace(QStringLiteral("成品一,\"零件,一\",1.5,"), QStringLiteral("成品一\t\"零件,一\"\t1.5\t"))
        .replace(QStringLiteral("父项编码,子项编码,定额数量,"), QStringLiteral("父项编码\t子项编码\t定额数量\t"))
        .replace(QStringLiteral("P2,\"两\n行\",2,"), QStringLiteral("P2\t\"两\n行\"\t2\t"));
    tabbed.replace(QStringLiteral(",\"原料"), QStringLiteral("\t\"原料")).replace(QStringLiteral("2,成品库"), QStringLiteral("2\t成品库"));
    EXPECT_EQ(flat(readSheetFile(write("t.txt", tabbed.toUtf8()))), want);
}

TEST_F(SheetFiles, UnreadableFilesAreToldApart)
{
    EXPECT_EQ(readSheetFile(write("e.csv", "")).error, QStringLiteral("文件是空的"));
    EXPECT_EQ(readSheetFile(write("bad.csv", "a,b\n\xff\xfe\x80,c\n")).error,
              QStringLiteral("文件的编码既不是 UTF-8 也不是 GB18030，请另存为 UTF-8 的 CSV 文件"));
    EXPECT_EQ(readSheetFile(write("x.xlsx", "not a zip at all")).error,
              QStringLiteral("文件不是有效的 XLSX 文件（无法作为 zip 打开）"));
    EXPECT_EQ(readSheetFile(dir.filePath("missing.csv")).error,
              QStringLiteral("无法读取文件 ") + dir.filePath("missing.csv"));
    // Over the size limit: refused before anything is read.
    const QString huge = write("huge.csv", "a");
    ASSERT_TRUE(QFile::resize(huge, 100LL * 1024 * 1024));
    EXPECT_EQ(readSheetFile(huge).error,
              QStringLiteral("文件 ") + huge + QStringLiteral(" 过大（超过 64 MB），请分成几个文件导入"));
    // A sheet whose XML breaks off.
    const QString malformed = dir.filePath("m.xlsx");
    {
        int err = 0;
        zip_t* z = zip_open(QFile::encodeName(malformed).constData(), ZIP_CREATE | ZIP_TRUNCATE, &err);
        ASSERT_NE(z, nullptr);
        static const char xml[] = "<worksheet><sheetData><row r=\"1\"><c r=\"A1\" t=\"inlineStr\">"
                                  "<is><t>父项编码</t></is></c></row><row r=\"2\"><c r=";
        zip_source_t* src = zip_source_buffer(z, xml, sizeof xml - 1, 0);
        ASSERT_GE(zip_file_add(z, "xl/worksheets/sheet1.xml", src, ZIP_FL_OVERWRITE), 0);
        ASSERT_EQ(zip_close(z), 0);
    }
    const SheetFile m = readSheetFile(malformed);
    EXPECT_TRUE(m.rows.empty());
    EXPECT_TRUE(m.error.startsWith(QStringLiteral("XLSX 文件的 xl/worksheets/sheet1.xml 第 1 行格式错误："))) << m.error.toStdString();
    // A workbook cut short is no zip any more.
    const QString good = dir.filePath("g.xlsx");
    ASSERT_TRUE(writeWorkbook(good, {{"父项编码"}, {"P1"}}, {}));
    QFile f(good);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray whole = f.readAll();
    EXPECT_FALSE(readSheetFile(write("cut.xlsx", whole.left(whole.size() / 2))).ok());
}

TEST_F(SheetFiles, XlsxWrittenByLibxlsxwriterReadsBack)
{
    const std::vector<QStringList> rows = {
        {"父项编码", "子项编码", "定额数量", "", "存放仓库"},
        {"P1", "A1", "1.25", "", "成品库"},
        {"P1", "长" + QString(10000, u'字'), "3", "", "'; drop table x; --|"},
    };
    for (bool inlineStrings : {false, true}) {
        SCOPED_TRACE(inlineStrings);
        const QString path = dir.filePath(inlineStrings ? "i.xlsx" : "s.xlsx");
        WorkbookOptions o;
        o.inlineStrings = inlineStrings;
        o.numbersAsNumbers = true;
        ASSERT_TRUE(writeWorkbook(path, rows, o));
        const SheetFile f = readSheetFile(path);
        ASSERT_TRUE(f.ok()) << f.error.toStdString();
        ASSERT_EQ(f.rows.size(), 3u);
        for (size_t r = 0; r < rows.size(); ++r) {
            EXPECT_EQ(f.rows[r].fileRow, int(r) + 1);
            EXPECT_EQ(f.rows[r].cells, rows[r]);
        }
    }
}

}  // namespace
