// Deleting from the list window on real companies (SQLite and PostgreSQL): whole structures from
// the parent grid, single lines from the child grid, under the parent's lock.

#include "list/list_delete.h"
#include "support/structure_window.h"

#include <QTest>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTableView>

using namespace qx;
using namespace qx::test;

namespace {

class ListDelete : public StructureWindowTest {
protected:
    int headers(const QString& code)
    {
        return countRows(*db, QStringLiteral("select count(*) from ProductStructure where cPSPCode=?"), {code});
    }
    int lines(const QString& code)
    {
        return countRows(*db, QStringLiteral("select count(*) from ProductStructures where cPSPCode=?"), {code});
    }
    // P1 is stored and listed as it was, with its lines C1 and C2.
    void expectP1AsItWas()
    {
        EXPECT_EQ(headers(QStringLiteral("P1")), 1);
        EXPECT_EQ(lines(QStringLiteral("P1")), 2);
        EXPECT_EQ(gridColumn(*window->SupPS1(), 0), (QStringList{"P1", "P2", "P3"}));
        EXPECT_EQ(gridColumn(*window->SupPS2(), 0), (QStringList{"C1", "C2"}));
    }
    void deleteParent(const QString& code)
    {
        ASSERT_TRUE(selectParent(code));
        focusParents();
        window->dispatch(QStringLiteral("ButDelete"));
    }
    void deleteLine(const QString& parent, const QString& child)
    {
        ASSERT_TRUE(selectParent(parent));
        ASSERT_TRUE(selectChild(child));
        focusChildren();
        window->dispatch(QStringLiteral("ButDelete"));
    }
};

}  // namespace

TEST_P(ListDelete, ParentDeletedWithItsLinesAndGridsFollow)
{
    openWindow();
    prompter.answers = {true};
    deleteParent(QStringLiteral("P1"));

    EXPECT_EQ(boxes(prompter), QStringList{"? 确实要删除：P1产品：成品一及其结构定义吗？"});
    EXPECT_EQ(headers(QStringLiteral("P1")), 0);
    EXPECT_EQ(lines(QStringLiteral("P1")), 0);
    EXPECT_EQ(headers(QStringLiteral("P3")), 1);
    EXPECT_EQ(lines(QStringLiteral("P3")), 2);

    // The parent grid lost the row; the child grid shows the lines of the row now selected.
    EXPECT_EQ(gridColumn(*window->SupPS1(), 0), (QStringList{"P2", "P3"}));
    const QString now = window->SupPS1()->textMatrix(window->SupPS1()->row(), 0);
    EXPECT_EQ(gridColumn(*window->SupPS2(), 0),
              now == QStringLiteral("P2") ? QStringList{"C3"} : (QStringList{"C1", "P2"}));
    // The lock went with the command.
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));

    // The Delete key reaches the same command.
    prompter.clear();
    prompter.answers = {true};
    ASSERT_TRUE(selectParent(QStringLiteral("P3")));
    focusParents();
    QKeyEvent del(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
    QCoreApplication::sendEvent(window->SupPS1()->view(), &del);
    EXPECT_EQ(headers(QStringLiteral("P3")), 0);
    EXPECT_EQ(gridColumn(*window->SupPS1(), 0), QStringList{"P2"});
    EXPECT_EQ(gridColumn(*window->SupPS2(), 0), QStringList{"C3"});

    // The last parent: both grids keep their header row only and no parent is named.
    db->execute(QStringLiteral("delete from mom_order"));
    prompter.answers = {true};
    deleteParent(QStringLiteral("P2"));
    EXPECT_EQ(window->SupPS1()->rows(), 1);
    EXPECT_EQ(window->SupPS2()->rows(), 1);
    EXPECT_EQ(window->Label2()->text(), QString());
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructures")), 0);
    // With the header row only, delete does nothing at all (no question, no lock).
    prompter.clear();
    focusParents();
    window->dispatch(QStringLiteral("ButDelete"));
    EXPECT_TRUE(prompter.shown.empty());
}

TEST_P(ListDelete, StructureReferredToElsewhereIsRefusedAndLeftWhole)
{
    openWindow();
    prompter.answers = {true};
    deleteParent(QStringLiteral("P2"));
    EXPECT_EQ(boxes(prompter), QStringList{"该产品结构已经使用，不能删除！"});
    // The trial deletion was rolled back: header and line are still there.
    EXPECT_EQ(headers(QStringLiteral("P2")), 1);
    EXPECT_EQ(lines(QStringLiteral("P2")), 1);
    EXPECT_EQ(gridColumn(*window->SupPS1(), 0), (QStringList{"P1", "P2", "P3"}));
    EXPECT_EQ(gridColumn(*window->SupPS2(), 0), QStringList{"C3"});
    EXPECT_TRUE(lockFree(QStringLiteral("P2")));

    // BeUsed itself: used for P2, not used for P1, and the set stands on the code afterwards.
    auto rs = db->openRecordset(QStringLiteral("ProductStructure"));
    EXPECT_TRUE(BeUsed(QStringLiteral("P2"), *rs, *db));
    EXPECT_FALSE(BeUsed(QStringLiteral("P1"), *rs, *db));
    ASSERT_FALSE(rs->noMatch());
    EXPECT_EQ(rs->field(QStringLiteral("cPSPCode")).toString(), QStringLiteral("P1"));
    EXPECT_EQ(rs->recordCount(), 3);
    EXPECT_EQ(lines(QStringLiteral("P1")), 2);
}

TEST_P(ListDelete, LinesOfAStructureInUseCanGoUnlessTheChildHasItsOwnStructure)
{
    // P3 comes into use; its line C1 may still be deleted, its line P2 (a structure of its own)
    // may not.
    db->execute(QStringLiteral("insert into mom_order(cMoCode,cPSPCode,iQuantity) values(?,?,?)"),
                {QStringLiteral("MO2"), QStringLiteral("P3"), 1.0});
    openWindow();
    deleteLine(QStringLiteral("P3"), QStringLiteral("P2"));
    EXPECT_EQ(boxes(prompter), QStringList{"该产品结构已经使用且该子产品仍有下级产品，所以不能删除！"});
    EXPECT_EQ(lines(QStringLiteral("P3")), 2);
    EXPECT_TRUE(lockFree(QStringLiteral("P3")));

    prompter.clear();
    prompter.answers = {true};
    deleteLine(QStringLiteral("P3"), QStringLiteral("C1"));
    EXPECT_EQ(boxes(prompter), QStringList{"? 确实要删除：C1子项：零件一定义吗？"});
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructures where cPSPCode=? and cPSCode=?"),
                        {QStringLiteral("P3"), QStringLiteral("C1")}),
              0);
    EXPECT_EQ(lines(QStringLiteral("P3")), 1);
    EXPECT_EQ(gridColumn(*window->SupPS2(), 0), QStringList{"P2"});
    // C1 under P1 is untouched: the row was found by parent and child code.
    EXPECT_EQ(lines(QStringLiteral("P1")), 2);
    EXPECT_TRUE(lockFree(QStringLiteral("P3")));
}

TEST_P(ListDelete, LastLineIsRefusedBeforeAnyLock)
{
    openWindow();
    // Even with the parent locked elsewhere the answer is the last-line refusal: it comes first.
    ASSERT_TRUE(lockElsewhere(QStringLiteral("P2")));
    deleteLine(QStringLiteral("P2"), QStringLiteral("C3"));
    EXPECT_EQ(boxes(prompter), QStringList{"删除此条将导致产品结构不合法，不能删除！"});
    EXPECT_EQ(lines(QStringLiteral("P2")), 1);
    EXPECT_EQ(window->SupPS2()->rows(), 2);
}

// Answering No, or a lock another workstation holds, changes nothing; the command gives back only
// its own lock.
TEST_P(ListDelete, AnswerNoAndALockHeldElsewhereChangeNothing)
{
    openWindow();
    prompter.answers = {false};
    deleteParent(QStringLiteral("P1"));
    EXPECT_EQ(boxes(prompter), QStringList{"? 确实要删除：P1产品：成品一及其结构定义吗？"});
    expectP1AsItWas();
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));

    prompter.clear();
    prompter.answers = {false};
    deleteLine(QStringLiteral("P1"), QStringLiteral("C2"));
    EXPECT_EQ(boxes(prompter), QStringList{"? 确实要删除：C2子项：零件二定义吗？"});
    EXPECT_EQ(lines(QStringLiteral("P1")), 2);
    EXPECT_EQ(window->SupPS2()->rows(), 3);
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));

    prompter.clear();
    ASSERT_TRUE(lockElsewhere(QStringLiteral("P1")));
    prompter.answers = {true, true};
    deleteParent(QStringLiteral("P1"));
    EXPECT_EQ(boxes(prompter), QStringList{"其他操作员正对本产品结构进行操作，请您稍后再试!"});

    prompter.clear();
    deleteLine(QStringLiteral("P1"), QStringLiteral("C2"));
    EXPECT_EQ(boxes(prompter), QStringList{"其他操作员正对本产品结构进行操作，请您稍后在试！"});

    expectP1AsItWas();
    // The refusals released nothing of the other holder's.
    EXPECT_FALSE(window->locks().lockRecord(QStringLiteral("P1"), KeyTrim::Leading));
    unlockElsewhere(QStringLiteral("P1"));
}

TEST_P(ListDelete, RowDeletedByAnotherWorkstationMeanwhile)
{
    openWindow();
    // The line goes while the question is on this screen.
    prompter.answers = {true};
    prompter.onAsk = [&] {
        other().execute(QStringLiteral("delete from ProductStructures where cPSPCode=? and cPSCode=?"),
                        {QStringLiteral("P1"), QStringLiteral("C2")});
    };
    deleteLine(QStringLiteral("P1"), QStringLiteral("C2"));
    EXPECT_EQ(boxes(prompter), (QStringList{"? 确实要删除：C2子项：零件二定义吗？", "该记录刚被他人删除！"}));
    EXPECT_EQ(window->SupPS2()->rows(), 3);  // the grid as it was
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));

    // The whole structure goes the same way.
    prompter.clear();
    prompter.answers = {true};
    prompter.onAsk = [&] {
        other().execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {QStringLiteral("P1")});
        other().execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"), {QStringLiteral("P1")});
    };
    deleteParent(QStringLiteral("P1"));
    EXPECT_EQ(boxes(prompter), (QStringList{"? 确实要删除：P1产品：成品一及其结构定义吗？", "该记录刚被他人删除！"}));
    EXPECT_EQ(gridColumn(*window->SupPS1(), 0), (QStringList{"P1", "P2", "P3"}));
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));
}

TEST_P(ListDelete, DatabaseErrorDuringDeletionLeavesStructureAndGridsAsTheyWere)
{
    openWindow();
    const bool sqlite = backend() == TestBackend::Sqlite;
    // Another workstation's administrator blocks header deletions after the checks passed.
    prompter.answers = {true};
    prompter.onAsk = [&] {
        if (sqlite) {
            other().execute(QStringLiteral("CREATE TRIGGER qx_block BEFORE DELETE ON ProductStructure "
                                           "BEGIN SELECT RAISE(ABORT, 'deletion blocked'); END"));
        } else {
            other().execute(QStringLiteral("CREATE FUNCTION qx_block() RETURNS trigger LANGUAGE plpgsql AS "
                                           "'BEGIN RAISE EXCEPTION ''deletion blocked''; END'"));
            other().execute(QStringLiteral("CREATE TRIGGER qx_block BEFORE DELETE ON ProductStructure "
                                           "FOR EACH ROW EXECUTE FUNCTION qx_block()"));
        }
    };
    deleteParent(QStringLiteral("P1"));

    ASSERT_EQ(prompter.shown.size(), 2u);
    EXPECT_FALSE(boxes(prompter)[1].isEmpty() || boxes(prompter)[1].startsWith('?') ||
                 boxes(prompter)[1].endsWith(']'));
    // The lines went first inside the transaction; the rollback brought them back.
    expectP1AsItWas();
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));
    // The connection is usable again (no transaction left open).
    EXPECT_FALSE(db->inTransaction());
    EXPECT_EQ(db->execute(QStringLiteral("update ProductStructure set cDepCode=? where cPSPCode=?"),
                          {QStringLiteral("D1"), QStringLiteral("P3")}),
              1);
}

TEST_P(ListDelete, ReferenceAddedMeanwhileGivesTheInUseMessage)
{
    openWindow();
    // A production order for P1 is entered elsewhere after the used-test passed.
    prompter.answers = {true};
    prompter.onAsk = [&] {
        other().execute(QStringLiteral("insert into mom_order(cMoCode,cPSPCode,iQuantity) values(?,?,?)"),
                        {QStringLiteral("MO9"), QStringLiteral("P1"), 1.0});
    };
    deleteParent(QStringLiteral("P1"));
    EXPECT_EQ(boxes(prompter), (QStringList{"? 确实要删除：P1产品：成品一及其结构定义吗？", "该产品结构已被使用，不能删除！"}));
    expectP1AsItWas();
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));
}

TEST_P(ListDelete, RowsHeldByAnotherWorkstationGiveTheConcurrentChangeMessage)
{
    openWindow();
    // Another workstation has P1's header in an open transaction while this one deletes.
    prompter.answers = {true};
    prompter.onAsk = [&] {
        other().beginTrans();
        other().execute(QStringLiteral("update ProductStructure set cDepCode=cDepCode where cPSPCode=?"),
                        {QStringLiteral("P1")});
    };
    deleteParent(QStringLiteral("P1"));
    other().rollback();
    EXPECT_EQ(boxes(prompter), (QStringList{"? 确实要删除：P1产品：成品一及其结构定义吗？",
                                            "您正试图和他人同时对本记录操作，请暂时放弃，下次进入再对本记录操作！"}));
    expectP1AsItWas();
    EXPECT_FALSE(db->inTransaction());
    // This error, like every other way out of the command, gives the key back: at once, or (the
    // database still busy) as soon as it can be written.
    for (int i = 0; i < 40 && window->locks().holdsAny(); ++i) QTest::qWait(250);
    EXPECT_FALSE(window->locks().holdsAny());
    EXPECT_TRUE(lockFree(QStringLiteral("P1")));
}

TEST_P(ListDelete, OtherActiveControlOnlyUnlocks)
{
    openWindow();
    prompter.answers = {true};
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));
    auto* elsewhere = new QLineEdit(window.get());
    elsewhere->show();
    elsewhere->setFocus();
    ASSERT_EQ(window->activeControlName(), QString());
    window->dispatch(QStringLiteral("ButDelete"));
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_EQ(headers(QStringLiteral("P1")), 1);
    EXPECT_EQ(lines(QStringLiteral("P1")), 2);
}

QX_INSTANTIATE_BACKENDS(ListDelete);
