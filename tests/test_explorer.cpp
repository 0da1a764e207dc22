// The multi-level explorer: quantities, costs, summaries and where-used checked against values
// worked out by hand on a small fixed graph (a shared sub-assembly reached by two paths, waste
// rates, a part without a planned price, a stored loop), spreadsheet files read back, the command
// line, and the windows.

#include "explorer/explorer_export.h"
#include "explorer/explorer_tree_model.h"
#include "explorer/explorer_window.h"
#include "platform/print_control.h"
#include "support/host_run.h"
#include "support/structure_window.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QLineEdit>
#include <QSpinBox>
#include <QTableView>
#include <QTest>
#include <QProcess>
#include <QRegularExpression>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTreeView>

using namespace qx;
using namespace qx::explorer;
using namespace qx::test;

namespace {

void item(Database& db, const QString& code, std::optional<double> price)
{
    db.execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,iInvRCost,bFree1,bFree2,"
                              "bService) values(?,?,?,?,?,0,0,0)"),
               {code, QStringLiteral("品") + code, QStringLiteral("规") + code, QStringLiteral("个"),
                price ? QVariant(*price) : QVariant()});
}

void line(Database& db, const QString& parent, const QString& child, double quantity, std::optional<double> waste)
{
    db.execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,iWasteRate) values(?,?,?,?)"),
               {parent, child, quantity, waste ? QVariant(*waste) : QVariant()});
}

// T → A (2, 5 %), T → B (1); A → S (3, 0 %), A → Z (1); B → S (2, 10 %), B → L (1); S → 007 (4),
// S → Y (1, 50 %); L → B (1) closes a stored loop. Prices: 007 2, Y 10, Z none, L 7.
void fillGraph(Database& db)
{
    for (const char* c : {"T", "A", "B", "S", "L"})
        db.execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                   {QString::fromLatin1(c), QStringLiteral("D1")});
    item(db, QStringLiteral("T"), 999);
    item(db, QStringLiteral("A"), 50);
    item(db, QStringLiteral("B"), std::nullopt);
    item(db, QStringLiteral("S"), 20);
    item(db, QStringLiteral("L"), 7);
    item(db, QStringLiteral("007"), 2);
    item(db, QStringLiteral("Y"), 10);
    item(db, QStringLiteral("Z"), std::nullopt);
    line(db, QStringLiteral("T"), QStringLiteral("A"), 2, 5);
    line(db, QStringLiteral("T"), QStringLiteral("B"), 1, std::nullopt);
    line(db, QStringLiteral("A"), QStringLiteral("S"), 3, 0);
    line(db, QStringLiteral("A"), QStringLiteral("Z"), 1, std::nullopt);
    line(db, QStringLiteral("B"), QStringLiteral("S"), 2, 10);
    line(db, QStringLiteral("B"), QStringLiteral("L"), 1, std::nullopt);
    line(db, QStringLiteral("S"), QStringLiteral("007"), 4, std::nullopt);
    line(db, QStringLiteral("S"), QStringLiteral("Y"), 1, 50);
    line(db, QStringLiteral("L"), QStringLiteral("B"), 1, std::nullopt);
}

QString zipEntry(const QString& file, const QString& entry)
{
    QProcess unzip;
    unzip.start(QStringLiteral("unzip"), {QStringLiteral("-p"), file, entry});
    unzip.waitForFinished(30000);
    return QString::fromUtf8(unzip.readAllStandardOutput());
}

QString treeText(const Report& r)
{
    QStringList rows;
    forEachTreeRow(r.graph(), r.topQuantity(), [&](const TreeRow& row) {
        const CellRow cells = r.treeCells(row);
        QStringList picked;
        for (int c : {int(TreeLevel), int(TreeCode), int(TreeCumQuantity)}) picked << cells[size_t(c)].text;
        if (r.direction() == Direction::Down) picked << cells[TreeCumCost].text;
        picked << cells.back().text;
        picked.removeAll(QString());
        rows << picked.join(QLatin1Char(' '));
        return true;
    });
    return rows.join(QLatin1Char('\n'));
}

class ExplorerData : public CompanyTest {
protected:
    void SetUp() override
    {
        CompanyTest::SetUp();
        if (IsSkipped()) return;
        fillGraph(*db);
    }
};

}  // namespace

TEST_P(ExplorerData, ExplosionQuantitiesAndCostsAsWorkedOutByHand)
{
    const Report r(*db, QStringLiteral("T"), Direction::Down, 1, 4);
    ASSERT_FALSE(r.unknown());
    // S is needed 2.1 × 3 + 1 × 2.2 = 8.5 times; its cost is 4 × 2 + 1.5 × 10 = 23.
    const struct {
        const char* code;
        double quantity;
        std::optional<double> cost;
    } leaves[] = {{"007", 34, 68}, {"Y", 12.75, 127.5}, {"Z", 2.1, std::nullopt}};
    const Explosion& e = r.explosion();
    ASSERT_EQ(e.summary.size(), std::size(leaves));
    for (size_t i = 0; i < e.summary.size(); ++i) {
        EXPECT_EQ(r.graph().item(e.summary[i].node).code, QString::fromLatin1(leaves[i].code));
        EXPECT_NEAR(e.summary[i].quantity, leaves[i].quantity, 1e-9) << leaves[i].code;
        EXPECT_EQ(e.summary[i].cost.has_value(), leaves[i].cost.has_value()) << leaves[i].code;
        if (leaves[i].cost) {
            EXPECT_NEAR(*e.summary[i].cost, *leaves[i].cost, 1e-9) << leaves[i].code;
        }
    }
    EXPECT_EQ(e.missingPrices, 1);
    EXPECT_NEAR(e.totalCost, 195.5, 1e-9);
    // The loop B → L → B is shown once, marked, not descended; a sub-assembly's cost is the sum of
    // its lines' costs, and one with a part without a price below it says so.
    EXPECT_EQ(treeText(r), QStringLiteral("1 A 2.1000 144.90 缺计划价\n"
                                          "2 S 6.3000 144.90\n"
                                          "3 007 25.2000 50.40\n"
                                          "3 Y 9.4500 94.50\n"
                                          "2 Z 2.1000 缺计划价\n"
                                          "1 B 1.0000 50.60\n"
                                          "2 L 1.0000 0.00\n"
                                          "3 B 1.0000 循环\n"
                                          "2 S 2.2000 50.60\n"
                                          "3 007 8.8000 17.60\n"
                                          "3 Y 3.3000 33.00"));
    // The top quantity multiplies every need.
    const Report two(*db, QStringLiteral("T"), Direction::Down, 2, 4);
    EXPECT_NEAR(two.explosion().summary[0].quantity, 68, 1e-9);
    EXPECT_NEAR(two.explosion().totalCost, 391, 1e-9);
    // A sub-assembly's own planned price stands beside its rolled-up cost.
    const CellRow first = two.treeCells({1, r.graph().find(QStringLiteral("A")), 0, 4.2, false});
    EXPECT_EQ(first[TreePrice].text, QStringLiteral("50"));
    EXPECT_EQ(first[TreeCumCost].text, QStringLiteral("289.80"));
}

TEST_P(ExplorerData, WhereUsedQuantitiesAsWorkedOutByHand)
{
    const Report r(*db, QStringLiteral("007"), Direction::Up, 1, 2);
    ASSERT_EQ(r.usage().tops.size(), 1u);
    EXPECT_EQ(r.graph().item(r.usage().tops[0].node).code, QStringLiteral("T"));
    EXPECT_NEAR(r.usage().tops[0].quantity, 34, 1e-9);
    EXPECT_EQ(treeText(r), QStringLiteral("1 S 4.00\n"
                                          "2 A 12.00\n"
                                          "3 T 25.20\n"
                                          "2 B 8.80\n"
                                          "3 L 8.80\n"
                                          "4 B 8.80 循环\n"
                                          "3 T 8.80"));
    // An item that nothing uses has no top product; a code nobody knows is unknown.
    EXPECT_TRUE(Report(*db, QStringLiteral("T"), Direction::Up, 1, 2).usage().tops.empty());
    for (const QString& bad : {QStringLiteral("NOPE"), QStringLiteral("T' or '1'='1"), QStringLiteral("A|B"),
                               QString(10000, QLatin1Char('T'))}) {
        EXPECT_TRUE(Report(*db, bad, Direction::Down, 1, 2).unknown()) << bad.left(20).toStdString();
        EXPECT_TRUE(Report(*db, bad, Direction::Up, 1, 2).unknown()) << bad.left(20).toStdString();
    }
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructures")), 9);
}

TEST_P(ExplorerData, LatticeOfTwoToTheTwentyFourPathsIsSummedOverItsLinesOnce)
{
    constexpr int kDepth = 24;
    {
        Transaction t(*db);
        auto code = [](int level, char side) { return QStringLiteral("M") + QString::number(level) + QLatin1Char(side); };
        for (int level = 0; level <= kDepth; ++level)
            for (char a : {'a', 'b'}) {
                item(*db, code(level, a), 1);
                if (level == kDepth) continue;
                db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"), {code(level, a), QStringLiteral("D1")});
                for (char b : {'a', 'b'}) line(*db, code(level, a), code(level + 1, b), 1, std::nullopt);
            }
        t.commit();
    }
    const Report r(*db, QStringLiteral("M0a"), Direction::Down, 1, 2);
    ASSERT_EQ(r.explosion().summary.size(), 2u);
    for (const SummaryRow& s : r.explosion().summary) EXPECT_EQ(s.quantity, std::ldexp(1.0, kDepth - 1));
    EXPECT_EQ(r.explosion().totalCost, std::ldexp(1.0, kDepth));
    EXPECT_GT(countTreeRows(r.graph(), maxTreeRows()), maxTreeRows());
    const Report up(*db, QStringLiteral("M24a"), Direction::Up, 1, 2);
    ASSERT_EQ(up.usage().tops.size(), 2u);
    EXPECT_EQ(up.usage().tops[0].quantity, std::ldexp(1.0, kDepth - 1));

    // A wide structure with a stored loop: the same sums, the loop ended all the same.
    {
        Transaction t(*db);
        db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"), {QStringLiteral("W"), QStringLiteral("D1")});
        item(*db, QStringLiteral("W"), std::nullopt);
        item(*db, QStringLiteral("X"), 1.5);
        for (int k = 0; k < 70; ++k) {
            const QString sub = QStringLiteral("K%1").arg(k, 2, 10, QLatin1Char('0'));
            item(*db, sub, std::nullopt);
            db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"), {sub, QStringLiteral("D1")});
            line(*db, QStringLiteral("W"), sub, 1, std::nullopt);
            line(*db, sub, QStringLiteral("X"), 2, 50);
        }
        line(*db, QStringLiteral("K00"), QStringLiteral("W"), 1, std::nullopt);
        t.commit();
    }
    const Report wide(*db, QStringLiteral("W"), Direction::Down, 1, 2);
    ASSERT_EQ(wide.explosion().summary.size(), 1u);
    EXPECT_NEAR(wide.explosion().summary[0].quantity, 210, 1e-9);
    EXPECT_NEAR(wide.explosion().totalCost, 315, 1e-9);
    EXPECT_EQ(countTreeRows(wide.graph(), maxTreeRows()), 141);
    const Report wideUp(*db, QStringLiteral("X"), Direction::Up, 1, 2);
    ASSERT_EQ(wideUp.usage().tops.size(), 0u);  // W is K00's child: no product stands above all
    EXPECT_NEAR(wideUp.usage().perUnit[size_t(wideUp.graph().find(QStringLiteral("W")))], 210, 1e-9);

    // Far below the top, a sub-assembly also used on the first level and a stored loop back to
    // the top: each read once, the loop left out of the totals.
    {
        Transaction t(*db);
        db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"), {QStringLiteral("DS"), QStringLiteral("D1")});
        item(*db, QStringLiteral("DT"), 1);
        line(*db, QStringLiteral("M0a"), QStringLiteral("DS"), 1, std::nullopt);
        line(*db, QStringLiteral("M20a"), QStringLiteral("DS"), 1, std::nullopt);
        line(*db, QStringLiteral("DS"), QStringLiteral("DT"), 3, std::nullopt);
        line(*db, QStringLiteral("M23b"), QStringLiteral("M0a"), 1, std::nullopt);
        t.commit();
    }
    const Report deep(*db, QStringLiteral("M0a"), Direction::Down, 1, 2);
    ASSERT_EQ(deep.explosion().summary.size(), 3u);
    EXPECT_EQ(deep.explosion().summary[0].quantity, 3 * (1 + std::ldexp(1.0, 19)));  // DT
    EXPECT_EQ(deep.explosion().summary[1].quantity, std::ldexp(1.0, kDepth - 1));

    // Too many rows for a sheet: the summary alone is written, and the file is whole.
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("lattice.xlsx"));
    const ExportOutcome out = writeXlsx(file, r);
    EXPECT_TRUE(out.written);
    EXPECT_TRUE(out.treeOmitted);
    const QString workbook = zipEntry(file, QStringLiteral("xl/workbook.xml"));
    EXPECT_TRUE(workbook.contains(QStringLiteral("name=\"汇总需求\"")));
    EXPECT_FALSE(workbook.contains(QStringLiteral("多级展开")));
}

TEST_P(ExplorerData, SummaryAndTreeReadTheItemsOfCodesWithQuotesBracesAndSeparators)
{
    // Codes that travel in one bound list of codes must arrive intact on both backends.
    const QString codes[] = {QStringLiteral("Q\"1"), QStringLiteral("Q\\2"), QStringLiteral("Q,3"), QStringLiteral("{Q4}"),
                             QStringLiteral("Q'5"),   QStringLiteral("Q 6"),   QStringLiteral("件7"), QStringLiteral("NULL"),
                             QStringLiteral("Q\uff01"), QStringLiteral("Q\U0001f600")};
    for (const char* c : {"H", "M"})
        db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                    {QString::fromLatin1(c), QStringLiteral("D1")});
    item(*db, QStringLiteral("H"), std::nullopt);
    item(*db, QStringLiteral("M"), 100);
    line(*db, QStringLiteral("H"), QStringLiteral("M"), 1, std::nullopt);
    for (size_t i = 0; i < std::size(codes); ++i) {
        item(*db, codes[i], double(i + 1));
        line(*db, QStringLiteral("M"), codes[i], 2, std::nullopt);
    }
    Report summary(*db, QStringLiteral("H"), Direction::Down, 1, 2, Detail::Summary);
    ASSERT_EQ(summary.explosion().summary.size(), std::size(codes));
    EXPECT_EQ(summary.explosion().missingPrices, 0);
    EXPECT_NEAR(summary.explosion().totalCost, 2.0 * 55, 1e-9);
    QStringList order;
    for (const SummaryRow& row : summary.explosion().summary) {
        const ItemInfo& info = summary.graph().item(row.node);
        EXPECT_EQ(info.name, QStringLiteral("品") + info.code) << info.code.toStdString();
        order << info.code;
    }
    // In the order the list shows codes in, a character above U+FFFF before U+FF01.
    QStringList sorted = order;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(order, sorted);
    // The sub-assembly's own row comes with the tree, which then reads as one read whole at once.
    EXPECT_EQ(summary.top().name, QStringLiteral("品H"));
    EXPECT_FALSE(summary.graph().item(summary.graph().find(QStringLiteral("M"))).known);
    summary.readTree(*db);
    const Report whole(*db, QStringLiteral("H"), Direction::Down, 1, 2);
    EXPECT_EQ(treeTsv(summary, maxTreeRows()), treeTsv(whole, maxTreeRows()));
    EXPECT_TRUE(treeTsv(whole, maxTreeRows())->contains("\t品M\t"));
    for (const QString& code : codes) {
        const Report up(*db, code, Direction::Up, 1, 2, Detail::Summary);
        ASSERT_EQ(up.usage().tops.size(), 1u) << code.toStdString();
        EXPECT_EQ(up.graph().item(up.usage().tops[0].node).name, QStringLiteral("品H")) << code.toStdString();
        EXPECT_EQ(up.top().name, QStringLiteral("品") + code) << code.toStdString();
    }
}

TEST_P(ExplorerData, SpreadsheetFilesHoldTheTreeGroupedByLevelAndTheSummary)
{
    QTemporaryDir dir;
    const Report r(*db, QStringLiteral("T"), Direction::Down, 1, 2);
    const QString file = dir.filePath(QStringLiteral("t.xlsx"));
    const ExportOutcome out = writeXlsx(file, r);
    ASSERT_TRUE(out.written) << out.error.toStdString();
    EXPECT_FALSE(out.treeOmitted);
    const QString workbook = zipEntry(file, QStringLiteral("xl/workbook.xml"));
    EXPECT_LT(workbook.indexOf(QStringLiteral("name=\"多级展开\"")), workbook.indexOf(QStringLiteral("name=\"汇总需求\"")));
    EXPECT_GE(workbook.indexOf(QStringLiteral("name=\"多级展开\"")), 0);
    const QString tree = zipEntry(file, QStringLiteral("xl/worksheets/sheet1.xml"));
    // Row 2 is level 1 (not folded), row 3 level 2, row 4 level 3 (outline levels 0, 1, 2).
    EXPECT_TRUE(tree.contains(QStringLiteral("outlineLevel=\"1\"")));
    EXPECT_TRUE(tree.contains(QStringLiteral("outlineLevel=\"2\"")));
    EXPECT_FALSE(tree.contains(QStringLiteral("outlineLevel=\"3\"")));
    // The code 007 stays a text with its zeros; a cumulated quantity is a number.
    EXPECT_TRUE(tree.contains(QStringLiteral("<c r=\"B4\" t=\"inlineStr\"><is><t>007</t></is></c>"))) << tree.left(3000).toStdString();
    EXPECT_TRUE(tree.contains(QRegularExpression(QStringLiteral("<c r=\"H4\" s=\"\\d+\"><v>25.2</v></c>")))) << tree.left(3000).toStdString();
    const QString summary = zipEntry(file, QStringLiteral("xl/worksheets/sheet2.xml"));
    EXPECT_TRUE(summary.contains(QStringLiteral("<t>007</t>")));
    EXPECT_TRUE(summary.contains(QStringLiteral("<v>34</v>")));

    // CSV: UTF-8 with a byte-order mark, the tree, then the summary under its title.
    const QString csv = dir.filePath(QStringLiteral("t.csv"));
    ASSERT_TRUE(writeCsv(csv, r).written);
    const QByteArray bytes = fileBytes(csv);
    ASSERT_TRUE(bytes.startsWith("\xEF\xBB\xBF"));
    const QStringList lines = QString::fromUtf8(bytes.mid(3)).split(QStringLiteral("\r\n"));
    EXPECT_EQ(lines.value(0), QStringLiteral("层次,子件编码,子件名称,规格型号,计量单位,单位用量,损耗率,累计用量,计划价,累计成本,说明"));
    EXPECT_EQ(lines.value(1), QStringLiteral("1,A,品A,规A,个,2.00,5.,2.10,50,144.90,缺计划价"));
    EXPECT_EQ(lines.value(13), QStringLiteral("汇总需求"));
    EXPECT_EQ(lines.value(15), QStringLiteral("007,34.00,品007,规007,个,2,68.00,"));

    // A place that cannot be written leaves nothing behind and says so.
    const QString bad = dir.filePath(QStringLiteral("missing/t.xlsx"));
    const ExportOutcome refused = writeXlsx(bad, r);
    EXPECT_FALSE(refused.written);
    EXPECT_EQ(refused.error, QStringLiteral("无法写入文件 ") + bad + QStringLiteral("，请检查该文件能否写入后再试一次！"));
    EXPECT_FALSE(QFile::exists(bad));
}

TEST_P(ExplorerData, CommandLineTwinsPrintTabSeparatedRowsAndRefuseBadInput)
{
    const HostRun tree = runHost({QStringLiteral("explode"), connection, QStringLiteral("T"), QStringLiteral("--qty"), QStringLiteral("2")});
    ASSERT_EQ(tree.exitCode, 0) << tree.err.toStdString();
    const QStringList lines = tree.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 12);
    EXPECT_EQ(lines[0].split(QLatin1Char('\t')).value(0), QStringLiteral("层次"));
    EXPECT_EQ(lines[1], QStringLiteral("1\tA\t品A\t规A\t个\t2.00\t5.\t4.20\t50\t289.80\t缺计划价"));
    EXPECT_EQ(lines[8], QStringLiteral("3\tB\t品B\t规B\t个\t1.00\t\t2.00\t\t\t循环"));

    const HostRun summary = runHost({QStringLiteral("explode"), connection, QStringLiteral("T"), QStringLiteral("--summary")});
    ASSERT_EQ(summary.exitCode, 0);
    EXPECT_EQ(summary.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts).value(1),
              QStringLiteral("007\t34.00\t品007\t规007\t个\t2\t68.00\t"));
    const HostRun used = runHost({QStringLiteral("where-used"), connection, QStringLiteral("007"), QStringLiteral("--summary")});
    ASSERT_EQ(used.exitCode, 0);
    EXPECT_EQ(used.out, QStringLiteral("产品编码\t累计用量\t产品名称\t规格型号\t计量单位\nT\t34.00\t品T\t规T\t个\n"));

    QTemporaryDir dir;
    const QString xlsx = dir.filePath(QStringLiteral("w.xlsx"));
    EXPECT_EQ(runHost({QStringLiteral("where-used"), connection, QStringLiteral("007"),
                       QStringLiteral("--xlsx"), xlsx})
                  .exitCode,
              0);
    EXPECT_TRUE(zipEntry(xlsx, QStringLiteral("xl/workbook.xml")).contains(QStringLiteral("name=\"多级反查\"")));

    const struct {
        QStringList args;
        const char* message;
    } refused[] = {
        {{QStringLiteral("explode"), connection, QStringLiteral("NOPE")}, "存货编码不存在：NOPE"},
        {{QStringLiteral("explode"), connection, QStringLiteral("T'; delete from ProductStructures; --")},
         "存货编码不存在：T'; delete from ProductStructures; --"},
        {{QStringLiteral("where-used"), connection, QStringLiteral("A|B")}, "存货编码不存在：A|B"},
        {{QStringLiteral("explode"), connection, QString(10000, QLatin1Char('T'))},
         "存货编码不存在：TTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTTT…"},
        {{QStringLiteral("explode"), connection, QString()}, "存货编码不能为空！"},
        {{QStringLiteral("explode"), connection, QStringLiteral("T"), QStringLiteral("--qty"), QStringLiteral("-1")},
         "数量必须是大于零的数字！"},
        {{QStringLiteral("explode"), connection, QStringLiteral("T"), QStringLiteral("--qty=abc")}, "数量必须是大于零的数字！"},
    };
    for (const auto& r : refused) {
        const HostRun run = runHost(r.args);
        EXPECT_EQ(run.exitCode, 2) << r.message;
        EXPECT_EQ(run.err.trimmed(), QString::fromUtf8(r.message));
        EXPECT_TRUE(run.out.isEmpty());
    }
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructures")), 9);
}

QX_INSTANTIATE_BACKENDS(ExplorerData);

namespace {

class ExplorerWindowTest : public StructureWindowTest {
protected:
    void SetUp() override
    {
        StructureWindowTest::SetUp();
        if (IsSkipped()) return;
        fillGraph(*db);
        ASSERT_TRUE(outDir.isValid());
        control = std::make_unique<ScriptedPrintControl>(outDir.path());
    }
    void TearDown() override
    {
        control.reset();
        StructureWindowTest::TearDown();
    }
    QModelIndex row(const ExplorerWindow& w, const QString& code, const QModelIndex& parent = {})
    {
        for (int r = 0; r < w.model()->rowCount(parent); ++r) {
            const QModelIndex i = w.model()->index(r, 0, parent);
            if (w.model()->cells(i)[TreeCode].text == code) return i;
        }
        return {};
    }
    QTemporaryDir outDir;
    std::unique_ptr<ScriptedPrintControl> control;
};

}  // namespace

TEST_P(ExplorerWindowTest, ExplodeOpensTheSelectedParentReadsNodesAsOpenedAndShowsTheTruthOnRefresh)
{
    openWindow();
    ASSERT_TRUE(selectParent(QStringLiteral("T")));
    int shown = 0;
    window->showExplorer = [&](ExplorerWindow& w) {
        ++shown;
        EXPECT_EQ(w.direction(), Direction::Down);
        EXPECT_EQ(w.codeField()->text(), QStringLiteral("T"));
        ASSERT_EQ(w.model()->rowCount(), 2);
        EXPECT_EQ(w.model()->reads(), 1);  // the top's own lines only
        EXPECT_EQ(w.statusText(), QStringLiteral("累计成本合计：195.50    缺计划价 1"));
        EXPECT_EQ(w.tabs()->tabText(1), QStringLiteral("汇总需求"));
        EXPECT_EQ(gridColumn(*w.summary(), 0), (QStringList{"007", "Y", "Z"}));
        EXPECT_EQ(w.summary()->textMatrix(3, 7), QStringLiteral("缺计划价"));

        // The loop below B is shown once and offers nothing to open.
        const QModelIndex b = row(w, QStringLiteral("B"));
        w.tree()->expand(b);
        const QModelIndex l = row(w, QStringLiteral("L"), b);
        ASSERT_TRUE(l.isValid());
        w.tree()->expand(l);
        const QModelIndex loop = row(w, QStringLiteral("B"), l);
        ASSERT_TRUE(loop.isValid());
        EXPECT_TRUE(w.model()->isLoop(loop));
        EXPECT_EQ(w.model()->cells(loop).back().text, QStringLiteral("循环"));
        EXPECT_FALSE(w.model()->hasChildren(loop));

        // Another workstation deletes S's lines: opening S now shows it empty, and the refresh
        // makes S a part with its own price.
        other().execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {QStringLiteral("S")});
        const QModelIndex s = row(w, QStringLiteral("S"), b);
        w.tree()->expand(s);
        EXPECT_EQ(w.model()->rowCount(s), 0);
        w.dispatch(QStringLiteral("ButQuery"));
        EXPECT_EQ(gridColumn(*w.summary(), 0), (QStringList{"S", "Z"}));
        EXPECT_EQ(w.statusText(), QStringLiteral("累计成本合计：170.00    缺计划价 1"));

        // Expand to level 2: every node of levels 1 and 2 read, nothing deeper.
        w.levelField()->setValue(2);
        w.dispatch(QStringLiteral("ButExpandTo"));
        const std::vector<QStringList> rows = w.visibleRows();
        ASSERT_EQ(rows.size(), 6u);
        EXPECT_EQ(rows[1][TreeCode], QStringLiteral("  S"));

        // Bad input: a clear message, the window stays as it was.
        w.quantityField()->setText(QStringLiteral("0"));
        w.dispatch(QStringLiteral("ButQuery"));
        w.codeField()->setText(QString());
        w.dispatch(QStringLiteral("ButQuery"));
        w.codeField()->setText(QStringLiteral("x' or 1=1 --"));
        w.quantityField()->setText(QStringLiteral("1"));
        w.dispatch(QStringLiteral("ButQuery"));
        EXPECT_EQ(prompter.texts(), (QStringList{"数量必须是大于零的数字！", "存货编码不能为空！",
                                                 "存货编码不存在：x' or 1=1 --"}));
        EXPECT_EQ(w.model()->rowCount(), 2);

        // Preview through the list's print path, and the export asked for by name.
        prompter.clear();
        w.dispatch(QStringLiteral("Butpre"));
        EXPECT_EQ(control->previewPages, (std::vector<int>{1}));
        // The page shows the rows the tree shows, the code indented by its level.
        const QString page = pdfText(outDir.filePath(QStringLiteral("preview.pdf")));
        EXPECT_TRUE(page.contains(QStringLiteral("多级展开"))) << page.toStdString();
        EXPECT_TRUE(page.contains(QStringLiteral("父产品编码：T"))) << page.toStdString();
        EXPECT_TRUE(page.contains(QStringLiteral("累计用量"))) << page.toStdString();
        EXPECT_EQ(page.count(QRegularExpression(QStringLiteral("\\b2\\s+S\\s"))), 2) << page.toStdString();
        const QString file = outDir.filePath(QStringLiteral("t.xlsx"));
        w.chooseExportFile = [&file] { return file; };
        w.dispatch(QStringLiteral("Butout"));
        EXPECT_TRUE(zipEntry(file, QStringLiteral("xl/workbook.xml")).contains(QStringLiteral("多级展开")));
        EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    };
    window->dispatch(QStringLiteral("ButExplode"));
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructures")), 12);
}

TEST_P(ExplorerWindowTest, WhereUsedOpensOnTheSelectedChildLineAlsoReadOnly)
{
    openWindow();
    window->setReadOnly(true);
    ASSERT_TRUE(selectParent(QStringLiteral("S")));
    ASSERT_TRUE(selectChild(QStringLiteral("007")));
    int shown = 0;
    window->showExplorer = [&](ExplorerWindow& w) {
        ++shown;
        EXPECT_EQ(w.direction(), Direction::Up);
        EXPECT_EQ(w.codeField()->text(), QStringLiteral("007"));
        EXPECT_EQ(gridColumn(*w.summary(), 0), (QStringList{"T"}));
        EXPECT_EQ(w.summary()->textMatrix(1, 1), QStringLiteral("34.00"));
        EXPECT_EQ(w.statusText(), QStringLiteral("最终产品 1 个"));
        w.dispatch(QStringLiteral("ButExpandAll"));
        EXPECT_EQ(w.visibleRows().size(), 7u);
        // Another code typed into the field.
        w.codeField()->setText(QStringLiteral("C1"));
        w.dispatch(QStringLiteral("ButQuery"));
        EXPECT_EQ(gridColumn(*w.summary(), 0), (QStringList{"P1", "P3"}));
    };
    focusChildren();
    QTest::keyClick(window->SupPS2()->view(), Qt::Key_U, Qt::ControlModifier);
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
}

QX_INSTANTIATE_BACKENDS(ExplorerWindowTest);
