// Opening the card from the list: edit under the structure's lock, copy, add, read-only viewing,
// and the list following a save, on both backends.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "data/schema.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "shared/record_lock.h"
#include "support/structure_window.h"

#include <QAction>
#include <QHeaderView>
#include <QLineEdit>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

// P1 (成品一, 一车间) holds C1 and C2; P2 holds C1. P3 is an item without a structure.
void fillCompany(Database& db)
{
    const QVariant none(QMetaType::fromType<double>());
    const QVariantList items[] = {{"P1", "成品一", "规格一", "台", QString(), none, 90.0},
                                  {"P2", "成品二", QString(), "台", QString(), none, 80.0},
                                  {"P3", "成品三", QString(), "台", QString(), none, 70.0},
                                  {"C1", "零件一", "S-C1", "个", "箱", 4.0, 2.5},
                                  {"C2", "零件二", QString(), "个", QString(), none, 1.0}};
    for (const QVariantList& i : items)
        db.execute(
             QStringLiteral(
                 "insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,cInvA_Unit,"
                 "iInvExchRate,iInvRCost,bFree1,bFree2,bService) values(?,?,?,?,?,?,?,0,0,0)"),
             i);
    db.execute(
         QStringLiteral(
             "insert into department(cDepCode,cDepName,cDepPerson,bDepEnd) values(?,?,?,1)"),
         {"D1", "一车间", QString()});
    db.execute(
         QStringLiteral(
             "insert into warehouse(cWhCode,cWhName,cWhValueStyle,cDepCode) values(?,?,?,?)"),
         {"W2", "成品库", "全月平均法", "D1"});
    for (const char* p : {"P1", "P2"})
        db.execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
             {p, "D1"});
    const QVariantList lines[] = {{"P1", "C1", 8.0, 0.5, "W2", "D1"},
                                  {"P1", "C2", 2.0, none, "W2", QString()},
                                  {"P2", "C1", 1.0, none, "W2", QString()}};
    for (const QVariantList& l : lines)
        db.execute(
             QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,iWasteRate,"
                            "cWhCode,cDepCode) values(?,?,?,?,?,?)"),
             l);
}

// What the card looked like while it was open, and whether another workstation could lock.
struct CardSeen {
    int shown = 0;
    bool adding = false;
    bool editable = false;
    bool parentCodeEnabled = false;
    bool com1Enabled = false;
    QString parentCode, name1, department, spec;
    std::vector<QStringList> lines;
    int lockRowsWhileOpen = -1;
    bool otherWorkstationGranted = true;
};

class ListCardTest : public CompanyTest {
protected:
    void SetUp() override
    {
        CompanyTest::SetUp();
        if (IsSkipped()) return;
        other = Database::open(connection);
    }

    std::unique_ptr<FrmPS> open(bool readOnly = false)
    {
        host = std::make_unique<QXProStru>();
        auto w = openList(*db, *host, readOnly);
        w->showCard = [this](FrmProStru& card) {
            ++seen.shown;
            seen.adding = card.adding;
            seen.editable = card.editable();
            seen.parentCodeEnabled = card.EdtcPSPCode()->isEnabled();
            seen.com1Enabled = card.Com1()->isEnabled();
            seen.parentCode = card.EdtcPSPCode()->text();
            seen.name1 = card.Edtname1()->text();
            seen.department = card.EdtcDepCode()->text();
            seen.spec = card.Edtname2()->text();
            seen.lines.clear();
            for (int r = 1; r < card.SupPS()->rows(); ++r) {
                QStringList cells;
                for (int c = 0; c < 17; ++c) cells << card.SupPS()->textMatrix(r, c);
                seen.lines.push_back(cells);
            }
            seen.lockRowsWhileOpen = lockRows(*other);
            RecordLocks elsewhere(other.get(), QStringLiteral("OTHER-WS"));
            seen.otherWorkstationGranted = elsewhere.lockRecord(seen.parentCode, KeyTrim::Both);
            if (seen.otherWorkstationGranted) elsewhere.unlockRecord();
            if (duringCard) duringCard(card);
        };
        return w;
    }

    std::unique_ptr<Database> other;
    std::unique_ptr<QXProStru> host;
    CardSeen seen;
    std::function<void(FrmProStru&)> duringCard;
    ScriptedPrompter prompter;
};

TEST_P(ListCardTest, EditOpensTheFilledCardUnderTheLockAndReleasesItOnce)
{
    fillCompany(*db);
    auto w = open();
    ASSERT_EQ(w->SupPS1()->textMatrix(1, 0), QStringLiteral("P1"));
    w->dispatch(QStringLiteral("ButEdit"));
    ASSERT_EQ(seen.shown, 1);
    EXPECT_FALSE(seen.adding);
    EXPECT_TRUE(seen.editable);
    EXPECT_FALSE(seen.parentCodeEnabled);
    EXPECT_FALSE(seen.com1Enabled);
    EXPECT_EQ(seen.parentCode, QStringLiteral("P1"));
    EXPECT_EQ(seen.name1, QStringLiteral("成品一"));
    EXPECT_EQ(seen.department, QStringLiteral("一车间"));
    EXPECT_EQ(seen.spec, QStringLiteral("规格一"));
    // Lines copied cell for cell from the child grid; column 16 stays empty.
    ASSERT_EQ(seen.lines.size(), 2u);
    for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 16; ++c)
            EXPECT_EQ(seen.lines[r][c], w->SupPS2()->textMatrix(r + 1, c)) << r << "," << c;
        EXPECT_EQ(seen.lines[r][16], QString());
    }
    EXPECT_EQ(seen.lines[0][0], QStringLiteral("C1"));
    EXPECT_EQ(seen.lines[0][11], QStringLiteral("成品库"));
    EXPECT_EQ(seen.lines[0][10], QStringLiteral("0.5"));
    // Held while the card was open, by this workstation only.
    EXPECT_EQ(seen.lockRowsWhileOpen, 1);
    EXPECT_FALSE(seen.otherWorkstationGranted);
    // Released after it closed.
    EXPECT_EQ(lockRows(*db), 0);
    RecordLocks elsewhere(other.get(), QStringLiteral("OTHER-WS"));
    EXPECT_TRUE(elsewhere.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    elsewhere.unlockRecord();
    EXPECT_TRUE(prompter.shown.empty());
}

TEST_P(ListCardTest, EditRefusedWhileAnotherWorkstationHoldsTheStructure)
{
    fillCompany(*db);
    auto w = open();
    RecordLocks elsewhere(other.get(), QStringLiteral("OTHER-WS"));
    ASSERT_TRUE(elsewhere.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    w->dispatch(QStringLiteral("ButEdit"));
    EXPECT_EQ(seen.shown, 0);
    EXPECT_EQ(boxes(prompter), QStringList{"其他操作员正对本产品结构进行操作，请您稍后再试！"});
    // No unlock was issued: the other workstation still holds it.
    EXPECT_EQ(lockRows(*db), 1);
    RecordLocks third(db.get(), QStringLiteral("THIRD-WS"));
    EXPECT_FALSE(third.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    elsewhere.unlockRecord();
    // Enter in the parent grid reaches the same command once the structure is free.
    prompter.clear();
    w->SupPS1()->view()->setFocus();
    w->show();
    QTest::keyClick(w->SupPS1()->view(), Qt::Key_Return);
    EXPECT_EQ(seen.shown, 1);
    EXPECT_EQ(lockRows(*db), 0);
}

TEST_P(ListCardTest, DoubleClickOnAParentEditsItButNotOnTheHeading)
{
    fillCompany(*db);
    auto w = open();
    w->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(w.get()));
    QTableView* view = w->SupPS1()->view();
    const QRect second = view->visualRect(view->model()->index(1, 1));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, second.center());
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, second.center());
    ASSERT_EQ(seen.shown, 1);
    EXPECT_EQ(seen.parentCode, QStringLiteral("P2"));
    EXPECT_EQ(lockRows(*db), 0);
    // The heading is no structure.
    QHeaderView* heading = view->horizontalHeader();
    QTest::mouseDClick(heading->viewport(), Qt::LeftButton, {}, QPoint(heading->sectionPosition(1) + 5, 5));
    EXPECT_EQ(seen.shown, 1);
}

TEST_P(ListCardTest, CopyAndAddOpenANewStructureWithoutALockAndTheNextEditFixesTheCode)
{
    fillCompany(*db);
    auto w = open();
    w->dispatch(QStringLiteral("ButCopy"));
    ASSERT_EQ(seen.shown, 1);
    EXPECT_TRUE(seen.adding);
    EXPECT_TRUE(seen.parentCodeEnabled);
    EXPECT_TRUE(seen.com1Enabled);
    EXPECT_FALSE(w->copyFlag);
    EXPECT_EQ(seen.parentCode, QStringLiteral("P1"));
    EXPECT_EQ(seen.lines.size(), 2u);
    // A copy takes no lock.
    EXPECT_EQ(seen.lockRowsWhileOpen, 0);
    EXPECT_TRUE(seen.otherWorkstationGranted);

    w->dispatch(QStringLiteral("ButEdit"));
    ASSERT_EQ(seen.shown, 2);
    EXPECT_FALSE(seen.adding);
    EXPECT_FALSE(seen.parentCodeEnabled);
    EXPECT_FALSE(seen.com1Enabled);

    // F5 adds: an empty card with one empty line, and no lock either.
    QTest::keyClick(w->SupPS1()->view(), Qt::Key_F5);
    ASSERT_EQ(seen.shown, 3);
    EXPECT_TRUE(seen.adding);
    EXPECT_EQ(seen.parentCode, QString());
    ASSERT_EQ(seen.lines.size(), 1u);
    EXPECT_EQ(seen.lines[0].join(QString()), QString());
    EXPECT_EQ(seen.lockRowsWhileOpen, 0);
}

TEST_P(ListCardTest, ASavedCopyAppearsInTheList)
{
    fillCompany(*db);
    auto w = open();
    w->SupPS1()->setRow(2);  // P2
    duringCard = [](FrmProStru& card) {
        card.EdtcPSPCode()->setText(QStringLiteral("P3"));
        card.dispatch(QStringLiteral("ButSave"));
    };
    w->dispatch(QStringLiteral("ButCopy"));
    ASSERT_EQ(seen.shown, 1);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    ASSERT_EQ(w->SupPS1()->rows(), 4);
    EXPECT_EQ(w->SupPS1()->textMatrix(3, 0), QStringLiteral("P3"));
    EXPECT_EQ(w->SupPS1()->row(), 3);
    EXPECT_EQ(w->SupPS2()->rows(), 2);
    EXPECT_EQ(w->SupPS2()->textMatrix(1, 0), QStringLiteral("C1"));
}

TEST_P(ListCardTest, EveryDemoStructureSavesUnchangedAndFreeItemsAreStoredAsValues)
{
    schema::createDemoCompany(*db);
    // A line stored by an older release holds an alias; one holds a value nobody defined.
    const QString setFree =
        QStringLiteral("update ProductStructures set cFree1=? where cPSPCode=? and cPSCode=?");
    db->execute(setFree, {QStringLiteral("黑"), QStringLiteral("0201"), QStringLiteral("0403")});
    auto w = open();
    ASSERT_EQ(w->SupPS1()->rows(), 13);
    QStringList refused;
    duringCard = [&](FrmProStru& card) {
        prompter.clear();
        card.dispatch(QStringLiteral("ButSave"));
        if (!prompter.shown.empty()) refused << seen.parentCode + QLatin1Char(':') + prompter.last();
    };
    for (int row = 1; row < 13; ++row) {
        w->SupPS1()->setRow(row);
        w->dispatch(QStringLiteral("ButEdit"));
    }
    EXPECT_EQ(seen.shown, 12);
    EXPECT_EQ(refused, QStringList());
    EXPECT_EQ(firstValue(*db, QStringLiteral("select cFree1 from ProductStructures where cPSPCode=? "
                                         "and cPSCode=?"),
                     {QStringLiteral("0201"), QStringLiteral("0403")}),
              QStringLiteral("黑色"));
    EXPECT_EQ(firstValue(*db, QStringLiteral("select count(*) from ProductStructures where cFree1 in "
                                         "(select cAlias from userdefine) or cFree2 in (select "
                                         "cAlias from userdefine)"),
                     {}),
              QStringLiteral("0"));
    EXPECT_EQ(lockRows(*db), 0);

    // A value that is in no list is refused at save, naming its line; nothing is written.
    db->execute(setFree, {QStringLiteral("紫"), QStringLiteral("0101"), QStringLiteral("0310")});
    w->refresh();
    w->SupPS1()->setRow(1);
    refused.clear();
    w->dispatch(QStringLiteral("ButEdit"));
    EXPECT_EQ(refused, QStringList{QStringLiteral("0101:第6个子产品的颜色所填内容不存在，请修改！")});
    EXPECT_EQ(firstValue(*db, QStringLiteral("select cFree1 from ProductStructures where cPSPCode=? "
                                         "and cPSCode=?"),
                     {QStringLiteral("0101"), QStringLiteral("0310")}),
              QStringLiteral("紫"));
}

TEST_P(ListCardTest, EditOpensOnWhatIsStoredWhenTheLockIsGranted)
{
    fillCompany(*db);
    db->execute(QStringLiteral("insert into department(cDepCode,cDepName,cDepPerson,bDepEnd) values(?,?,?,1)"),
         {QStringLiteral("D2"), QStringLiteral("二车间"), QString()});
    auto w = open();
    // Workstation B saves P1 (a quantity and the department) after this list was loaded.
    other->execute(QStringLiteral("update ProductStructures set iPSQuantity=? where cPSPCode=? and cPSCode=?"),
         {5.0, QStringLiteral("P1"), QStringLiteral("C1")});
    other->execute(QStringLiteral("update ProductStructure set cDepCode=? where cPSPCode=?"),
         {QStringLiteral("D2"), QStringLiteral("P1")});
    duringCard = [](FrmProStru& card) { card.dispatch(QStringLiteral("ButSave")); };
    w->dispatch(QStringLiteral("ButEdit"));
    ASSERT_EQ(seen.shown, 1);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(seen.department, QStringLiteral("二车间"));
    EXPECT_EQ(seen.lines.at(0).at(ColQuantity), QStringLiteral("5.00"));
    // B's changes are still what is stored.
    EXPECT_EQ(firstValue(*db, QStringLiteral("select iPSQuantity from ProductStructures where cPSPCode=? and cPSCode=?"),
                     {QStringLiteral("P1"), QStringLiteral("C1")}).toDouble(),
              5.0);
    EXPECT_EQ(firstValue(*db, QStringLiteral("select cDepCode from ProductStructure where cPSPCode=?"),
                     {QStringLiteral("P1")}),
              QStringLiteral("D2"));

    // B deletes P2 meanwhile: no card, the list shows the truth, no lock is left.
    other->execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {QStringLiteral("P2")});
    other->execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"), {QStringLiteral("P2")});
    prompter.clear();
    w->SupPS1()->setRow(2);
    w->dispatch(QStringLiteral("ButEdit"));
    EXPECT_EQ(seen.shown, 1);
    EXPECT_EQ(prompter.texts(), QStringList{QStringLiteral("该记录刚被他人删除！")});
    EXPECT_EQ(w->SupPS1()->rows(), 2);
    EXPECT_EQ(w->SupPS1()->textMatrix(1, 0), QStringLiteral("P1"));
    EXPECT_EQ(lockRows(*db), 0);
}

TEST_P(ListCardTest, SavesLockUnderTheEditKeyAndTheCardGoesOnEditingUnderIt)
{
    fillCompany(*db);
    // A code with a trailing blank: the edit and the save lock the same trimmed key.
    db->execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvM_Unit,bFree1,bFree2,bService) "
                             "values(?,?,?,0,0,0)"),
         {QStringLiteral("P4 "), QStringLiteral("成品四"), QStringLiteral("台")});
    db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
         {QStringLiteral("P4 "), QStringLiteral("D1")});
    db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) values(?,?,?,?)"),
         {QStringLiteral("P4 "), QStringLiteral("C2"), 1.0, QStringLiteral("W2")});
    auto w = open();
    const auto quantityOf = [&](const QString& parent) {
        return firstValue(*db, QStringLiteral("select iPSQuantity from ProductStructures where cPSPCode=?"),
                      {parent}).toDouble();
    };
    struct Step {
        int locksAfterFirstSave = -1;
        bool otherGranted = true;
    } step;
    // Save, correct, save again (F6): the second save is written too, under the lock held.
    duringCard = [&](FrmProStru& card) {
        card.dispatch(QStringLiteral("ButSave"));
        step.locksAfterFirstSave = lockRows(*other);
        RecordLocks elsewhere(other.get(), QStringLiteral("OTHER-WS"));
        step.otherGranted = elsewhere.lockRecord(card.EdtcPSPCode()->text(), KeyTrim::Both);
        card.SupPS()->setTextMatrix(1, ColQuantity, QStringLiteral("7"));
        QTest::keyClick(card.SupPS()->view(), Qt::Key_F6);
        EXPECT_FALSE(card.adding);
        EXPECT_FALSE(card.EdtcPSPCode()->isEnabled());
    };
    w->SupPS1()->setRow(3);
    ASSERT_EQ(w->SupPS1()->textMatrix(3, 0), QStringLiteral("P4 "));
    w->dispatch(QStringLiteral("ButEdit"));
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(step.locksAfterFirstSave, 1);
    EXPECT_FALSE(step.otherGranted);
    EXPECT_EQ(quantityOf(QStringLiteral("P4 ")), 7.0);
    EXPECT_EQ(lockRows(*db), 0);

    // A new structure: once saved the card edits it under its lock; F6 saves the correction.
    step = {};
    duringCard = [&](FrmProStru& card) {
        card.EdtcPSPCode()->setText(QStringLiteral("P3"));
        card.EdtcDepCode()->setText(QStringLiteral("一车间"));
        QStringList cells(16);
        cells[ColChildCode] = QStringLiteral("C2");
        cells[ColQuantity] = QStringLiteral("1");
        cells[ColWarehouse] = QStringLiteral("成品库");
        card.appendLine(cells);
        card.dispatch(QStringLiteral("ButSave"));
        step.locksAfterFirstSave = lockRows(*other);
        RecordLocks elsewhere(other.get(), QStringLiteral("OTHER-WS"));
        step.otherGranted = elsewhere.lockRecord(QStringLiteral("P3"), KeyTrim::Both);
        card.SupPS()->setTextMatrix(card.SupPS()->rows() - 1, ColQuantity, QStringLiteral("3"));
        card.dispatch(QStringLiteral("ButSave"));
    };
    w->dispatch(QStringLiteral("ButAdd"));
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(step.locksAfterFirstSave, 1);
    EXPECT_FALSE(step.otherGranted);
    EXPECT_EQ(quantityOf(QStringLiteral("P3")), 3.0);
    EXPECT_EQ(lockRows(*db), 0);
}

TEST_P(ListCardTest, CopyFlagLivesOnlyAsLongAsTheCopyAndClosingReleasesLocks)
{
    fillCompany(*db);
    db->execute(QStringLiteral("delete from ProductStructures"));
    db->execute(QStringLiteral("delete from ProductStructure"));
    auto w = open();
    w->dispatch(QStringLiteral("ButCopy"));  // nothing to copy
    EXPECT_FALSE(w->copyFlag);
    // Another workstation adds a structure; the list shows it.
    other->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
         {QStringLiteral("P1"), QStringLiteral("D1")});
    other->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                                "values(?,?,?,?)"),
         {QStringLiteral("P1"), QStringLiteral("C1"), 1.0, QStringLiteral("W2")});
    w->dispatch(QStringLiteral("Butref"));
    duringCard = [](FrmProStru& card) { card.dispatch(QStringLiteral("ButSave")); };
    w->dispatch(QStringLiteral("ButEdit"));
    ASSERT_EQ(seen.shown, 1);
    EXPECT_FALSE(seen.adding);
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();

    // Closing the window gives back whatever it still holds.
    ASSERT_TRUE(w->locks().lockRecord(QStringLiteral("P2"), KeyTrim::Both));
    EXPECT_EQ(lockRows(*other), 1);
    w->close();
    EXPECT_EQ(lockRows(*other), 0);
}

QX_INSTANTIATE_BACKENDS(ListCardTest);

}  // namespace
