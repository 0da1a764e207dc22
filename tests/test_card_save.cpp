// Saving a card: the checks in their order, the rows written, and nothing written on failure.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "card/save_structure.h"
#include "platform/database.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "platform/sql_dialect.h"
#include "shared/line_grid.h"
#include "support/card_fixture.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace qx;
using namespace qx::test;

namespace {

class CardSave : public CardCompanyTest {
protected:
    // A line as the card-filling routine brings it: cells as text, never typed.
    void line(const QString& child, const QString& qty, const QString& wh,
              const QString& person = {}, const QString& dept = {}, const QString& free1 = {},
              const QString& op = {}, const QString& waste = {})
    {
        QStringList cells(16);
        cells[ColChildCode] = child;
        cells[ColQuantity] = qty;
        cells[ColWarehouse] = wh;
        cells[ColPerson] = person;
        cells[ColDept] = dept;
        cells[ColFree1] = free1;
        cells[ColOperation] = op;
        cells[ColWasteRate] = waste;
        card->appendLine(cells);
    }
    void save() { card->dispatch(QStringLiteral("ButSave")); }
    int lineCount(const QString& parent)
    {
        return countRows(*db,
                         QStringLiteral("select count(*) from ProductStructures where cPSPCode=?"),
                         {parent});
    }
    int headerCount(const QString& parent)
    {
        return countRows(*db,
                         QStringLiteral("select count(*) from ProductStructure where cPSPCode=?"),
                         {parent});
    }
    // Saving is refused with `message` and nothing of the structure is in the database.
    void expectRefused(const QString& message, const QString& parent = QStringLiteral("P1"))
    {
        prompter.clear();
        save();
        ASSERT_EQ(boxes(prompter), QStringList{message});
        if (card->adding) {
            EXPECT_EQ(headerCount(parent), 0);
            EXPECT_EQ(lineCount(parent), 0);
        }
    }

    void open(bool adding = true) { card = openCard(*ctx, adding); }
    // The card opened to edit P2, under the lock the list takes before it opens the card to edit.
    void editP2()
    {
        open(false);
        card->setParentCodeAvailable(false);
        card->setHeader(QStringLiteral("P2"), QStringLiteral("成品二"), QStringLiteral("一车间"),
                        QString());
        listLocks = std::make_unique<LockService>(*db);
        ASSERT_TRUE(listLocks->lockRecord(QStringLiteral("AE"), QStringLiteral("AA"),
                                          QStringLiteral("a"), ctx->ComputerName,
                                          {QStringLiteral("P2")}));
    }

    std::unique_ptr<FrmProStru> card;
    ScriptedPrompter prompter;
    std::unique_ptr<LockService> listLocks;
};

TEST_P(CardSave, NewStructureIsWrittenAsTheCardShowsIt)
{
    open();
    QSignalSpy saved(card.get(), &FrmProStru::structureSaved);
    card->setHeader(QStringLiteral("P1"), QStringLiteral("成品一"), QStringLiteral("二车间"),
                    QString());
    line(QStringLiteral("A3"), QStringLiteral("2"), QStringLiteral("成品库"),
         QStringLiteral("欧阳明华东方"), QStringLiteral("一车间"), QStringLiteral("红色"),
         QStringLiteral("装配"), QStringLiteral("0.05"));
    line(QStringLiteral("A1"), QStringLiteral("7.5"), QStringLiteral("原料库"));
    save();
    ASSERT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    ASSERT_EQ(saved.count(), 1);
    EXPECT_EQ(saved.at(0).at(0).toString(), QStringLiteral("P1"));

    auto head =
        db->openRecordset(QStringLiteral("select cDepCode from ProductStructure where cPSPCode=?"),
                          RecordsetType::Snapshot, 0, {QStringLiteral("P1")});
    ASSERT_EQ(head->recordCount(), 1);
    EXPECT_EQ(head->field(0).toString(), QStringLiteral("D2"));
    auto rows = db->openRecordset(
        QStringLiteral(
            "select cPSCode,cWhCode,iPSQuantity,iWasteRate,cProcedureName,cDepCode,cPersonName,"
            "cFree1,cFree2 from ProductStructures where cPSPCode=? order by cPSCode"),
        RecordsetType::Snapshot, 0, {QStringLiteral("P1")});
    ASSERT_EQ(rows->recordCount(), 2);
    rows->moveFirst();
    EXPECT_EQ(rows->field(QStringLiteral("cPSCode")).toString(), QStringLiteral("A1"));
    EXPECT_EQ(rows->field(QStringLiteral("cWhCode")).toString(), QStringLiteral("W1"));
    EXPECT_DOUBLE_EQ(rows->field(QStringLiteral("iPSQuantity")).toDouble(), 7.5);
    EXPECT_TRUE(rows->field(QStringLiteral("iWasteRate")).isNull());  // empty: NULL, never ""
    rows->moveNext();
    EXPECT_EQ(rows->field(QStringLiteral("cWhCode")).toString(), QStringLiteral("W2"));
    EXPECT_DOUBLE_EQ(rows->field(QStringLiteral("iWasteRate")).toDouble(), 0.05);
    EXPECT_EQ(rows->field(QStringLiteral("cProcedureName")).toString(), QStringLiteral("装配"));
    EXPECT_EQ(rows->field(QStringLiteral("cDepCode")).toString(), QStringLiteral("D1"));
    EXPECT_EQ(rows->field(QStringLiteral("cPersonName")).toString(),
              QStringLiteral("欧阳明华东"));  // 10 bytes
    EXPECT_EQ(rows->field(QStringLiteral("cFree1")).toString(), QStringLiteral("红色"));

    // Saved: the code is fixed and the card goes on editing the structure; F6 saves a correction.
    EXPECT_FALSE(card->adding);
    EXPECT_TRUE(card->action(QStringLiteral("ButSave"))->isEnabled());
    EXPECT_FALSE(card->EdtcPSPCode()->isEnabled());
    prompter.clear();
    const int a1 = card->SupPS()->rows() - 1;  // the line added last
    ASSERT_EQ(card->SupPS()->textMatrix(a1, ColChildCode), QStringLiteral("A1"));
    card->SupPS()->setTextMatrix(a1, ColQuantity, QStringLiteral("9"));
    QTest::keyClick(card.get(), Qt::Key_F6);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(saved.count(), 2);
    auto again = db->openRecordset(
        QStringLiteral("select iPSQuantity from ProductStructures where cPSPCode=? and cPSCode=?"),
        RecordsetType::Snapshot, 0, {QStringLiteral("P1"), QStringLiteral("A1")});
    ASSERT_EQ(again->recordCount(), 1);
    EXPECT_DOUBLE_EQ(again->field(0).toDouble(), 9.0);
}

TEST_P(CardSave, ChecksRunInTheirOrderAndWriteNothing)
{
    open();
    card->setHeader(QStringLiteral("P1"), QString(), QStringLiteral("总厂"), QString());
    expectRefused(QStringLiteral("所填生产部门不存在，请修改！"));
    card->EdtcDepCode()->setText(QStringLiteral("一车间"));
    expectRefused(QStringLiteral("子产品未添加全，请修改！"));

    line(QStringLiteral("A1"), QStringLiteral("1"), QStringLiteral("成品库"));
    line(QStringLiteral("X1"), QString(), QStringLiteral("成品库"));
    // Another operator makes P1 a descendant of X1 after the lines were typed: the cycle is
    // named by its row, before the empty quantity of that same row.
    db->execute(
        QStringLiteral(
            "insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) values(?,?,?,?)"),
        {QStringLiteral("X2"), QStringLiteral("P1"), 1.0, QStringLiteral("W2")});
    expectRefused(QStringLiteral("第2个子产品与父产品发生循环调用！"));
    db->execute(QStringLiteral("delete from ProductStructures where cPSCode=?"),
                {QStringLiteral("P1")});
    expectRefused(QStringLiteral("数据未添加完整，不能存盘！"));
    card->SupPS()->setTextMatrix(2, ColQuantity, QStringLiteral("1"));

    card->EdtcPSPCode()->setText(QStringLiteral("P2"));  // already has a structure
    expectRefused(QStringLiteral("所填父项编码已定义过，请修改！"), QStringLiteral("P9"));
    card->EdtcPSPCode()->setText(QStringLiteral("P9"));
    expectRefused(QStringLiteral("所填存货编码不存在，请修改！"), QStringLiteral("P9"));

    card->EdtcPSPCode()->setText(QStringLiteral("A1"));  // a child equal to the parent
    expectRefused(QStringLiteral("存货编码出现重复，请重新定义！"), QStringLiteral("A1"));

    card->EdtcPSPCode()->setText(QStringLiteral("P1"));
    card->SupPS()->setTextMatrix(2, ColFree1, QStringLiteral("红色"));  // X1 has no free item
    expectRefused(QStringLiteral("第2条子存货没有定义颜色,请清空！"));
    card->SupPS()->setTextMatrix(2, ColFree1, QString());

    // What typing refuses is refused again for lines that were never typed.
    card->SupPS()->setTextMatrix(2, ColPerson, QStringLiteral("张'三"));
    expectRefused(QStringLiteral("请去掉非法字符 |,' "));
    card->SupPS()->setTextMatrix(2, ColPerson, QString());
    card->SupPS()->setTextMatrix(1, ColWarehouse,
                                 QStringLiteral("W2"));  // a code where a name belongs
    expectRefused(QStringLiteral("所填仓库不存在，请重新填写！"));
    card->SupPS()->setTextMatrix(1, ColWarehouse, QStringLiteral("成品库"));
    card->SupPS()->setTextMatrix(2, ColQuantity, QStringLiteral("-3"));
    expectRefused(QStringLiteral("定额数量不能小于等于零！"));
    card->SupPS()->setTextMatrix(2, ColQuantity, QStringLiteral("3"));
    card->SupPS()->setTextMatrix(2, ColChildCode, QStringLiteral("a1"));
    expectRefused(QStringLiteral("产品重复出现，请修改！"));
    card->SupPS()->setTextMatrix(2, ColChildCode, QStringLiteral("X1"));

    // An item deleted from the master data after the card was loaded.
    db->execute(QStringLiteral("delete from Inventory where cInvCode=?"), {QStringLiteral("X1")});
    expectRefused(QStringLiteral("所填存货编码不存在，请修改！"));
    card->SupPS()->removeRow(2);

    prompter.clear();
    save();
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(headerCount(QStringLiteral("P1")), 1);
    EXPECT_EQ(lineCount(QStringLiteral("P1")), 1);
}

TEST_P(CardSave, FailureHalfwayLeavesNothingWritten)
{
    open();
    card->setHeader(QStringLiteral("P1"), QString(), QString(), QString());
    line(QStringLiteral("A1"), QStringLiteral("1"), QStringLiteral("成品库"));
    // The operation is not looked up again at save; 70 characters do not fit its column, so the
    // second line fails after the header and the first line were written.
    line(QStringLiteral("A3"), QStringLiteral("1"), QStringLiteral("成品库"), {}, {}, {},
         QString(70, QLatin1Char('o')));
    expectRefused(QStringLiteral("有字段内容过长，不能存盘！"));
    EXPECT_TRUE(card->adding);
    EXPECT_EQ(card->SupPS()->rows(), 3);  // the card stays as typed

    // Another workstation adds the same parent meanwhile.
    card->SupPS()->setTextMatrix(2, ColOperation, QStringLiteral("装配"));
    auto other = Database::open(connection);
    other->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                   {QStringLiteral("P1"), QStringLiteral("D1")});
    prompter.clear();
    save();
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("该产品结构已经存在，请重新添加！")});
    EXPECT_EQ(lineCount(QStringLiteral("P1")), 0);
    EXPECT_EQ(headerCount(QStringLiteral("P1")), 1);
}

TEST_P(CardSave, EditModeRewritesAllLines)
{
    ASSERT_NO_FATAL_FAILURE(editP2());
    line(QStringLiteral("A3"), QStringLiteral("4"),
         QStringLiteral("成品库"));  // A1 removed, A3 added
    card->EdtcDepCode()->setText(QStringLiteral("二车间"));
    save();
    ASSERT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    auto rows = db->openRecordset(
        QStringLiteral("select cPSCode,iPSQuantity from ProductStructures where cPSPCode=?"),
        RecordsetType::Snapshot, 0, {QStringLiteral("P2")});
    ASSERT_EQ(rows->recordCount(), 1);
    EXPECT_EQ(rows->field(0).toString(), QStringLiteral("A3"));
    EXPECT_DOUBLE_EQ(rows->field(1).toDouble(), 4.0);
    auto head =
        db->openRecordset(QStringLiteral("select cDepCode from ProductStructure where cPSPCode=?"),
                          RecordsetType::Snapshot, 0, {QStringLiteral("P2")});
    EXPECT_EQ(head->field(0).toString(), QStringLiteral("D2"));

    // The header gone meanwhile: refused, and the lines of nobody are written.
    card->dispatch(QStringLiteral("ButAdd"));
    card->adding = false;
    card->setHeader(QStringLiteral("X2"), QString(), QString(), QString());
    line(QStringLiteral("X3"), QStringLiteral("1"), QStringLiteral("成品库"));
    auto other = Database::open(connection);
    other->execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"),
                   {QStringLiteral("X2")});
    other->execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"),
                   {QStringLiteral("X2")});
    prompter.clear();
    save();
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("该产品刚被他人删除，不能保存！")});
    EXPECT_EQ(lineCount(QStringLiteral("X2")), 0);

    // Another workstation holds the structure's lock.
    LockService theirs(*other, 999999);
    qputenv("QX_COMPUTER_NAME", "other-computer");
    const bool taken =
        theirs.lockRecord(QStringLiteral("AE"), QStringLiteral("AA"), QStringLiteral("a"),
                          QStringLiteral("other-computer"), {QStringLiteral("X1")});
    qunsetenv("QX_COMPUTER_NAME");
    ASSERT_TRUE(taken);
    card->setHeader(QStringLiteral("X1"), QString(), QString(), QString());
    card->clearLines();
    line(QStringLiteral("X2"), QStringLiteral("1"), QStringLiteral("成品库"));
    prompter.clear();
    save();
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("该产品被他人锁定使用，不能修改！")});
}

// An edited structure's lines end as a plain write of the same grid as a new structure would
// leave them, whatever changed: a value, a NULL, a line gone or added, a code's case.
TEST_P(CardSave, EditedLinesEndAsAFreshWriteOfTheGrid)
{
    struct Line {
        const char *child, *qty, *wh, *person, *free1, *op, *waste;
    };
    const std::vector<Line> stored{{"A1", "1", "原料库", "张三", "", "装配", "0.05"},
                                   {"A2", "2", "成品库", "", "", "", ""},
                                   {"A3", "3", "成品库", "", "红色", "", "1"}};
    const struct {
        const char* what;
        std::vector<Line> edited;
        bool storedNull = false;  // the stored lines hold NULL where the grid has an empty text
    } cases[] = {
        {"unchanged", stored},
        {"a quantity", {stored[0], {"A2", "2.5", "成品库", "", "", "", ""}, stored[2]}},
        {"a waste rate emptied, a person cleared",
         {{"A1", "1", "原料库", "", "", "装配", ""}, stored[1], stored[2]}},
        {"a free item set, a warehouse changed",
         {stored[0], {"A2", "2", "原料库", "", "蓝色", "", ""}, stored[2]}},
        {"a line gone, one added", {stored[2], {"X2", "4", "成品库", "", "", "", ""}, stored[0]}},
        {"a code in another case", {{"a1", "1", "原料库", "张三", "", "装配", "0.05"}, stored[1]}},
        {"a NULL stored, an empty text now", stored, true},
    };
    auto grid = [](const std::vector<Line>& lines) {
        MemoryLineGrid g;
        for (const Line& l : lines) {
            const int r = g.addLine();
            g.setCell(r, ColChildCode, QString::fromUtf8(l.child));
            g.setCell(r, ColQuantity, QString::fromUtf8(l.qty));
            g.setCell(r, ColWarehouse, QString::fromUtf8(l.wh));
            g.setCell(r, ColPerson, QString::fromUtf8(l.person));
            g.setCell(r, ColFree1, QString::fromUtf8(l.free1));
            g.setCell(r, ColOperation, QString::fromUtf8(l.op));
            g.setCell(r, ColWasteRate, QString::fromUtf8(l.waste));
            g.setCell(r, ColFree2, QString(""));  // empty, not null: written as an empty text
        }
        return g;
    };
    auto rowsOf = [&](const QString& parent) {
        auto rs = db->openRecordset(
            QStringLiteral("select cPSCode,cWhCode,iPSQuantity,iWasteRate,cProcedureName,cDepCode,"
                           "cPersonName,cFree1,cFree2 from ProductStructures where cPSPCode=? "
                           "order by cPSCode"),
            RecordsetType::Snapshot, 0, {parent});
        QStringList out;
        for (int r = 0; r < rs->recordCount(); ++r) {
            QStringList cells;
            for (int c = 0; c < 9; ++c)
                cells << (rs->value(r, c).isNull() ? QStringLiteral("NULL")
                                                   : rs->value(r, c).toString());
            out << cells.join(QLatin1Char('|'));
        }
        return out;
    };
    auto write = [&](const QString& parent, const std::vector<Line>& lines, bool adding) {
        const MemoryLineGrid g = grid(lines);
        Transaction tx(*db);
        writeStructure(lk, g, {parent, QStringLiteral("一车间"), adding, nullptr});
        tx.commit();
    };
    for (const auto& c : cases) {
        write(QStringLiteral("P1"), stored, true);
        if (c.storedNull)
            db->execute(QStringLiteral("update ProductStructures set cFree2=NULL where cPSPCode=?"),
                        {QStringLiteral("P1")});
        write(QStringLiteral("P1"), c.edited, false);
        write(QStringLiteral("X3"), c.edited, true);
        const QStringList edited = rowsOf(QStringLiteral("P1"));
        EXPECT_EQ(edited.size(), int(c.edited.size())) << c.what;
        EXPECT_EQ(edited, rowsOf(QStringLiteral("X3"))) << c.what;
        for (const char* parent : {"P1", "X3"}) {
            db->execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"),
                        {QString::fromLatin1(parent)});
            db->execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"),
                        {QString::fromLatin1(parent)});
        }
    }
}

TEST_P(CardSave, LineDeletionRespectsAStructureInUse)
{
    // X1 is made by a production order and its line X2 has lines of its own.
    db->execute(QStringLiteral("insert into mom_order(cMoCode,cPSPCode,iQuantity) values(?,?,?)"),
                {QStringLiteral("MO1"), QStringLiteral("X1"), 1.0});
    open(false);
    card->setHeader(QStringLiteral("X1"), QString(), QString(), QString());
    line(QStringLiteral("X2"), QStringLiteral("1"), QStringLiteral("成品库"));
    line(QStringLiteral("A2"), QStringLiteral("1"), QStringLiteral("成品库"));
    card->SupPS()->setRow(1);
    prompter.answers = {true};
    card->dispatch(QStringLiteral("butdeleteline"));
    EXPECT_EQ(
        prompter.texts(),
        QStringList{QStringLiteral("该产品结构已经使用且该子产品仍有下级产品，所以不能删除！")});
    EXPECT_EQ(card->SupPS()->rows(), 3);
    EXPECT_EQ(headerCount(QStringLiteral("X1")), 1);  // the trial deletion was undone
    EXPECT_EQ(lineCount(QStringLiteral("X1")), 1);

    // A child without lines of its own goes after the question.
    prompter.clear();
    card->SupPS()->setRow(2);
    card->dispatch(QStringLiteral("butdeleteline"));
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("确实要删去该子产品吗？")});
    EXPECT_EQ(card->SupPS()->rows(), 2);
}

TEST_P(CardSave, ViewingOnlyRefusesEveryChange)
{
    open(false);
    card->setHeader(QStringLiteral("P2"), QString(), QString(), QString());
    line(QStringLiteral("A1"), QStringLiteral("2"), QStringLiteral("成品库"));
    card->setEditable(false);
    for (const char* cmd : {"ButSave", "ButAdd", "butaddline", "butdeleteline"})
        EXPECT_FALSE(card->action(QString::fromLatin1(cmd))->isEnabled()) << cmd;
    QTest::keyClick(card.get(), Qt::Key_F6);
    card->SupPS()->setRow(1);
    card->SupPS()->setCol(ColQuantity);
    card->SupPS()->startEdit();
    EXPECT_FALSE(card->SupPS()->isEditing());
    card->dispatch(QStringLiteral("butdeleteline"));
    EXPECT_EQ(card->SupPS()->rows(), 2);
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_EQ(lineCount(QStringLiteral("P2")), 1);
}

TEST_P(CardSave, TwoWorkstationsCannotTogetherCloseALoop)
{
    open();
    card->setHeader(QStringLiteral("P1"), QString(), QString(), QString());
    line(QStringLiteral("X1"), QStringLiteral("1"), QStringLiteral("成品库"));
    // Another workstation is saving X3 with P1 under it (X1 -> X2 -> X3 is stored): each save is
    // right against what is stored, the two together would close X1 -> X2 -> X3 -> P1 -> X1.
    std::atomic<bool> holding{false};
    std::thread other([&] {
        auto b = Database::open(connection);
        Transaction tx(*b);
        const QString serialize = b->dialect().structureWriteLockStatement();
        if (!serialize.isEmpty()) b->execute(serialize);
        b->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                   {QStringLiteral("X3"), QStringLiteral("D1")});
        b->execute(
            QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                           "values(?,?,?,?)"),
            {QStringLiteral("X3"), QStringLiteral("P1"), 1.0, QStringLiteral("W2")});
        holding = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        tx.commit();
    });
    while (!holding) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    // This save waits for the other one and then sees its lines.
    prompter.clear();
    save();
    other.join();
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("第1个子产品与父产品发生循环调用！")});
    EXPECT_EQ(headerCount(QStringLiteral("P1")), 0);
    EXPECT_EQ(lineCount(QStringLiteral("P1")), 0);
    EXPECT_EQ(lineCount(QStringLiteral("X3")), 1);
}

// What another workstation stored just before the save can refuse it only once the stored rows
// are read: a loop it closed, a free item the item no longer has, an item made a service. Each
// refusal is the one the check order gives, nothing is stored, the card keeps its lines as typed
// and knows no new structure: once the change is taken back, the same card saves.
TEST_P(CardSave, RefusalsFromStoredRowsComeInTheCheckOrderAndLeaveNothing)
{
    struct Case {
        const char* what;
        QString change, undo;
        QString message;
    };
    const Case cases[] = {
        {"a loop through X1",
         QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                        "values('X2','P1',1,'W2')"),
         QStringLiteral("delete from ProductStructures where cPSCode='P1'"),
         QStringLiteral("第2个子产品与父产品发生循环调用！")},
        {"A1 without free items",
         QStringLiteral("update Inventory set bFree1=0 where cInvCode='A1'"),
         QStringLiteral("update Inventory set bFree1=1 where cInvCode='A1'"),
         QStringLiteral("第1条子存货没有定义颜色,请清空！")},
        {"X1 made a service", QStringLiteral("update Inventory set bService=1 where cInvCode='X1'"),
         QStringLiteral("update Inventory set bService=0 where cInvCode='X1'"),
         QStringLiteral("所填存货编码不存在，请修改！")},
        {"a loop and A1 without free items",
         QStringLiteral("update Inventory set bFree1=0 where cInvCode='A1';"
                        "insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                        "values('X2','P1',1,'W2')"),
         QStringLiteral("update Inventory set bFree1=1 where cInvCode='A1';"
                        "delete from ProductStructures where cPSCode='P1'"),
         QStringLiteral("第2个子产品与父产品发生循环调用！")},
        {"A1 without free items, X1 a service",
         QStringLiteral("update Inventory set bFree1=0 where cInvCode='A1';"
                        "update Inventory set bService=1 where cInvCode='X1'"),
         QStringLiteral("update Inventory set bFree1=1 where cInvCode='A1';"
                        "update Inventory set bService=0 where cInvCode='X1'"),
         QStringLiteral("第1条子存货没有定义颜色,请清空！")},
    };
    open();
    card->setHeader(QStringLiteral("P1"), QString(), QString(), QString());
    line(QStringLiteral("A1"), QStringLiteral("1"), QStringLiteral("成品库"), {}, {},
         QStringLiteral("R"));  // the free item's alias: the save turns it into its value
    line(QStringLiteral("X1"), QStringLiteral("2"), QStringLiteral("成品库"));
    auto other = Database::open(connection);
    const auto run = [&](const QString& statements) {
        for (const QString& sql : statements.split(QLatin1Char(';'))) other->execute(sql);
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        run(c.change);
        expectRefused(c.message);
        EXPECT_EQ(card->SupPS()->textMatrix(1, ColQuantity), QStringLiteral("1"));
        EXPECT_EQ(card->SupPS()->textMatrix(1, ColFree1), QStringLiteral("R"));
        EXPECT_EQ(card->SupPS()->textMatrix(2, ColChildName), QString());
        run(c.undo);
    }
    prompter.clear();
    save();
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(headerCount(QStringLiteral("P1")), 1);
    EXPECT_EQ(lineCount(QStringLiteral("P1")), 2);
    EXPECT_EQ(countRows(*db,
                        QStringLiteral(
                            "select count(*) from ProductStructures where cPSPCode=? and cFree1=?"),
                        {QStringLiteral("P1"), QStringLiteral("红色")}),
              1);
}

// An edit refused by what another workstation stored meanwhile leaves the stored lines as they
// were, though the edit's changes were written beside the checks; taken back, the edit saves.
TEST_P(CardSave, EditRefusedByStoredRowsLeavesTheStoredLines)
{
    ASSERT_NO_FATAL_FAILURE(editP2());
    line(QStringLiteral("A1"), QStringLiteral("5"), QStringLiteral("成品库"));
    line(QStringLiteral("X1"), QStringLiteral("1"), QStringLiteral("成品库"));
    auto other = Database::open(connection);
    other->execute(QStringLiteral("update Inventory set bService=1 where cInvCode='X1'"));
    const auto storedLines = [&] {
        QStringList out;
        auto rows =
            db->openRecordset(QStringLiteral("select cPSCode,iPSQuantity from ProductStructures "
                                             "where cPSPCode=? order by cPSCode"),
                              RecordsetType::Snapshot, 0, {QStringLiteral("P2")});
        for (int r = 0; r < rows->recordCount(); ++r)
            out << rows->value(r, 0).toString() + QLatin1Char('=') +
                       QString::number(rows->value(r, 1).toDouble());
        return out;
    };
    expectRefused(QStringLiteral("所填存货编码不存在，请修改！"), QStringLiteral("P2"));
    EXPECT_EQ(storedLines(), QStringList{QStringLiteral("A1=2")});
    other->execute(QStringLiteral("update Inventory set bService=0 where cInvCode='X1'"));
    prompter.clear();
    save();
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(storedLines(), (QStringList{QStringLiteral("A1=5"), QStringLiteral("X1=1")}));
}

QX_INSTANTIATE_BACKENDS(CardSave);

}  // namespace
