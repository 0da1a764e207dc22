// The list window FrmPS on real company databases (SQLite and PostgreSQL), offscreen, with the
// scripted message boxes: loading, the caches, the grids, the toolbar, the keys, read-only mode.

#include "data/schema.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "support/structure_window.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

// Records every dispatched key; the commands that open the card are only recorded, so that no
// modal card can stop a test.
class RecordingFrmPS : public FrmPS {
public:
    QStringList keys;
    void dispatch(const QString& key) override
    {
        keys << key;
        if (key == QLatin1String("ButAdd") || key == QLatin1String("ButEdit") ||
            key == QLatin1String("ButCopy"))
            return;
        FrmPS::dispatch(key);
    }
};

void insertItem(Database& db, const QString& code, const QString& name, const QString& spec,
                const QString& aux, const QVariant& rate, const QVariant& price)
{
    db.execute(QStringLiteral(
                   "insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,cInvA_Unit,"
                   "iInvExchRate,iInvRCost,bFree1,bFree2,bService) values(?,?,?,?,?,?,?,0,0,0)"),
               {code, name, spec, QStringLiteral("个"), aux, rate, price});
}

void insertLine(Database& db, const QString& parent, const QString& child, double quantity,
                const QVariant& waste, const QString& wh, const QString& dep)
{
    db.execute(QStringLiteral(
                   "insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,iWasteRate,"
                   "cWhCode,cDepCode,cPersonName,cProcedureName,cFree1) values(?,?,?,?,?,?,?,?,?)"),
               {parent, child, quantity, waste, wh, dep, QStringLiteral("张三"),
                QStringLiteral("装配"), QStringLiteral("R")});
}

const QVariant kNull = QVariant(QMetaType::fromType<double>());

// Parents inserted out of code order: P2, P1, B1. P1 holds B1 (which has its own structure),
// C1 and C2; B1 holds C3; P2 holds C1.
void fillCompany(Database& db)
{
    insertItem(db, "P2", "成品二", "规格二", {}, kNull, 100.0);
    insertItem(db, "P1", "成品一", "规格一", {}, kNull, 90.0);
    insertItem(db, "B1", "部件", QString(), {}, kNull, 10.0);
    insertItem(db, "C1", "零件一", "S-C1", "箱", 4.0, 2.5);
    insertItem(db, "C2", "零件二", QString(), QString(), kNull, kNull);
    insertItem(db, "C3", "零件三", QString(), "盒", 0.0, 1.0);
    db.execute(QStringLiteral(
                   "insert into department(cDepCode,cDepName,cDepPerson,bDepEnd) values(?,?,?,1)"),
               {"D1", "一车间", QString()});
    db.execute(QStringLiteral(
                   "insert into warehouse(cWhCode,cWhName,cWhValueStyle,cDepCode) values(?,?,?,?)"),
               {"W1", "原料库", "计划价法", "D1"});
    db.execute(
        QStringLiteral("insert into CA_PreDf(cProcedureID,cProcedureName,cDeptId) values(?,?,?)"),
        {"OP1", "装配", "D1"});
    for (const char* p : {"P2", "P1", "B1"})
        db.execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                   {p, "D1"});
    insertLine(db, "P1", "C2", 1.5, 3.0, "W1", "D1");
    insertLine(db, "P1", "C1", 8.0, 0.125, "W1", "D1");
    insertLine(db, "P1", "B1", 2.0, kNull, QString(), QString());
    insertLine(db, "B1", "C3", 1.0, kNull, "W1", "D9");
    insertLine(db, "P2", "C1", 3.0, kNull, "W1", "D1");
}

void setting(Database& db, const QString& sys, const QString& id, const QString& name,
             const QVariant& value)
{
    db.execute(
        QStringLiteral("insert into accinformation(cSysID,cID,cName,cValue) values(?,?,?,?)"),
        {sys, id, name, value});
}

// The headings and widths of the columns `cols` of a grid.
QStringList headings(const Grid& g, std::initializer_list<int> cols)
{
    QStringList out;
    for (int c : cols) out << g.textMatrix(0, c);
    return out;
}
QList<int> widths(const Grid& g, std::initializer_list<int> cols)
{
    QList<int> out;
    for (int c : cols) out << g.colWidth(c);
    return out;
}

class ListWindowTest : public CompanyTest {
protected:
    std::unique_ptr<RecordingFrmPS> open(bool readOnly = false, bool show = false)
    {
        const auto type = readOnly ? RecordsetType::Snapshot : RecordsetType::Dynaset;
        parent = db->openRecordset(kParentQuery, type);
        child = db->openRecordset(kChildQuery, type);
        joined = db->openRecordset(kJoinedQuery, type);
        auto w = std::make_unique<RecordingFrmPS>();
        w->setDatabase(db.get());
        w->setReadOnly(readOnly);
        w->setRecordsets(parent.get(), child.get(), joined.get());
        if (show) {
            w->show();
            EXPECT_TRUE(QTest::qWaitForWindowExposed(w.get()));
        } else {
            w->load();
        }
        return w;
    }

    std::unique_ptr<Recordset> parent, child, joined;
    ScriptedPrompter prompter;
};

TEST_P(ListWindowTest, LoadingCreatesCaptionTableOnceAndRenamedWordsReachHeadingsAndTitle)
{
    fillCompany(*db);
    ASSERT_FALSE(db->tableExists(QStringLiteral("CA_MenuDef")));
    auto w = open();
    ASSERT_TRUE(db->tableExists(QStringLiteral("CA_MenuDef")));
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ca_menudef")), 3);
    // The unique index is there: a fourth row with a built-in word is refused.
    EXPECT_THROW(db->execute(QStringLiteral("insert into ca_menudef(cdefault) values(?)"),
                             {QStringLiteral("父项")}),
                 DbError);
    w.reset();
    auto again = open();
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ca_menudef")), 3);
    EXPECT_EQ(again->windowTitle(), QStringLiteral("产品结构"));
    EXPECT_EQ(again->context().sProStru, QStringLiteral("产品结构"));
    EXPECT_EQ(headings(*again->SupPS1(), {0, 1, 2, 3}),
              (QStringList{"父项编码", "父项名称", "生产部门", "规格型号"}));
    EXPECT_EQ(headings(*again->SupPS2(), {0}), QStringList{"子项编码"});
    EXPECT_TRUE(prompter.shown.empty());
    again.reset();

    // Renamed words reach the headings and the title; an empty new caption keeps the built-in word.
    const QString rename = QStringLiteral("update ca_menudef set cNewMenu=? where cdefault=?");
    db->execute(rename, {QStringLiteral("产品"), QStringLiteral("父项")});
    db->execute(rename, {QStringLiteral("物料清单"), QStringLiteral("产品结构")});
    db->execute(rename, {QString(""), QStringLiteral("子项")});
    auto renamed = open();
    EXPECT_EQ(headings(*renamed->SupPS1(), {0, 1}), (QStringList{"产品编码", "产品名称"}));
    EXPECT_EQ(headings(*renamed->SupPS2(), {0, 1}), (QStringList{"子项编码", "子项名称"}));
    EXPECT_EQ(renamed->windowTitle(), QStringLiteral("物料清单"));
    EXPECT_EQ(renamed->context().sProStru, QStringLiteral("物料清单"));
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ca_menudef")), 3);
}

TEST_P(ListWindowTest, QuantityDecimalsDefaultAndConfigured)
{
    fillCompany(*db);
    setting(*db, QStringLiteral("AA"), QStringLiteral("19"), QStringLiteral("iStrsQuanDecDgt"), QVariant());
    // No value, 3, 0, and 1 under the system id in another letter case.
    const struct {
        const char* sys;
        QVariant value;
        QStringList p1Quantities;
    } cases[] = {{"AA", QVariant(), {"2.00", "8.00", "1.50"}},
                 {"AA", QStringLiteral("3"), {"2.000", "8.000", "1.500"}},
                 {"AA", QStringLiteral("0"), {"2", "8", "2"}},
                 {"aA", QStringLiteral("1"), {"2.0", "8.0", "1.5"}}};
    for (const auto& c : cases) {
        db->execute(QStringLiteral("update accinformation set cSysID=?, cValue=? where cID=?"),
                    {QString::fromLatin1(c.sys), c.value, QStringLiteral("19")});
        auto w = open();
        w->Ffliter(QStringLiteral("P1"));
        EXPECT_EQ(gridColumn(*w->SupPS2(), 9), c.p1Quantities) << c.value.toString().toStdString();
    }
}

TEST_P(ListWindowTest, AuxiliaryUnitSwitchTrueFalseAbsent)
{
    fillCompany(*db);
    {
        auto w = open();
        EXPECT_EQ(widths(*w->SupPS2(), {5, 6, 7}), (QList<int>{-1, -1, -1}));
    }
    // Stored under the common settings' system id, as every settings row is.
    setting(*db, QStringLiteral("AA"), QStringLiteral("22"), QStringLiteral("aux"),
            QStringLiteral("TRUE"));
    {
        auto w = open();
        EXPECT_EQ(widths(*w->SupPS2(), {5, 6, 7}), (QList<int>{1000, 800, 800}));
        EXPECT_EQ(headings(*w->SupPS2(), {5, 6, 7}), (QStringList{"辅计量单位", "件数", "换算率"}));
        EXPECT_EQ(w->SupPS2()->colKind(6), ColumnKind::Number);
        w->Ffliter(QStringLiteral("P1"));
        // B1 has no rate; C1: 8 / 4; C2 no rate.
        EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"B1", "C1", "C2"}));
        EXPECT_EQ(gridColumn(*w->SupPS2(), 6), (QStringList{"", "2", ""}));
        EXPECT_EQ(gridColumn(*w->SupPS2(), 7), (QStringList{"", "4", ""}));
        EXPECT_EQ(gridColumn(*w->SupPS2(), 5), (QStringList{"", "箱", ""}));
        // A rate of 0: no pieces, the rate itself shown.
        w->Ffliter(QStringLiteral("B1"));
        EXPECT_EQ(gridColumn(*w->SupPS2(), 6), (QStringList{""}));
        EXPECT_EQ(gridColumn(*w->SupPS2(), 7), (QStringList{"0"}));
    }
    db->execute(QStringLiteral("update accinformation set cValue=? where cID=?"),
                {QStringLiteral("FALSE"), QStringLiteral("22")});
    {
        auto w = open();
        EXPECT_EQ(widths(*w->SupPS2(), {5, 6, 7, 8}), (QList<int>{0, 0, 0, 1000}));
    }
}

TEST_P(ListWindowTest, FreeItemColumnsFollowTheNamesOfTheCompany)
{
    fillCompany(*db);
    {
        auto w = open();
        EXPECT_FALSE(w->context().HaveFree1);
        EXPECT_FALSE(w->context().HaveFree2);
        EXPECT_EQ(widths(*w->SupPS2(), {3, 4}), (QList<int>{0, 0}));
        EXPECT_EQ(headings(*w->SupPS2(), {3, 4}), (QStringList{"自由项一", "自由项二"}));
    }
    db->execute(QStringLiteral("insert into UserDefItem(cID,cName) values(?,?)"),
                {QStringLiteral("20"), QStringLiteral("颜色")});
    // A company that kept the built-in name has not named the item.
    db->execute(QStringLiteral("insert into UserDefItem(cID,cName) values(?,?)"),
                {QStringLiteral("21"), QStringLiteral("自由项2")});
    {
        auto w = open();
        EXPECT_TRUE(w->context().HaveFree1);
        EXPECT_EQ(w->context().FreeName1, QStringLiteral("颜色"));
        EXPECT_FALSE(w->context().HaveFree2);
        EXPECT_EQ(widths(*w->SupPS2(), {3, 4}), (QList<int>{1000, 0}));
        EXPECT_EQ(headings(*w->SupPS2(), {3, 4}), (QStringList{"颜色", "自由项二"}));
        w->Ffliter(QStringLiteral("P2"));
        EXPECT_EQ(w->SupPS2()->textMatrix(1, 3), QStringLiteral("R"));
    }
}

TEST_P(ListWindowTest, ParentsSortedAndFirstParentsLinesShown)
{
    fillCompany(*db);
    auto w = open();
    const Grid& p = *w->SupPS1();
    EXPECT_EQ(gridColumn(p, 0), (QStringList{"B1", "P1", "P2"}));
    EXPECT_EQ(gridColumn(p, 1), (QStringList{"部件", "成品一", "成品二"}));
    EXPECT_EQ(gridColumn(p, 2), (QStringList{"D1", "D1", "D1"}));
    EXPECT_EQ(gridColumn(p, 3), (QStringList{"", "规格一", "规格二"}));
    // Loading selects the first parent and shows its lines.
    EXPECT_EQ(p.row(), 1);
    const Grid& c = *w->SupPS2();
    EXPECT_EQ(gridColumn(c, 0), (QStringList{"C3"}));
    // Its department D9 is no end-level department: the code stays visible.
    EXPECT_EQ(gridColumn(c, 13), (QStringList{"D9"}));

    w->Ffliter(QStringLiteral("P1"));
    EXPECT_EQ(gridColumn(c, 0), (QStringList{"B1", "C1", "C2"}));
    EXPECT_EQ(gridColumn(c, 1), (QStringList{"部件", "零件一", "零件二"}));
    EXPECT_EQ(gridColumn(c, 2), (QStringList{"", "S-C1", ""}));
    EXPECT_EQ(gridColumn(c, 8), (QStringList{"个", "个", "个"}));
    // The waste rate keeps its point on a whole number; a null rate is an empty cell.
    EXPECT_EQ(gridColumn(c, 10), (QStringList{"", "0.125", "3."}));
    // Warehouse and department by name.
    EXPECT_EQ(gridColumn(c, 11), (QStringList{"", "原料库", "原料库"}));
    EXPECT_EQ(gridColumn(c, 12), (QStringList{"张三", "张三", "张三"}));
    EXPECT_EQ(gridColumn(c, 13), (QStringList{"", "一车间", "一车间"}));
    EXPECT_EQ(gridColumn(c, 14), (QStringList{"装配", "装配", "装配"}));
    EXPECT_EQ(gridColumn(c, 15), (QStringList{"10", "2.5", ""}));
}

TEST_P(ListWindowTest, SelectionRefillsChildGridAndChildDoubleClickSelectsItsStructure)
{
    fillCompany(*db);
    auto w = open(false, true);
    Grid& p = *w->SupPS1();
    p.setRow(2);  // P1, as a click on the row does
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"B1", "C1", "C2"}));
    EXPECT_TRUE(w->Label2()->text().contains(QStringLiteral("P1")));
    // The child B1 has its own structure: a double-click on its line selects it.
    QTableView* view = w->SupPS2()->view();
    const QRect cell = view->visualRect(view->model()->index(0, 0));
    // A real double-click: press and release, then the double-click.
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cell.center());
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, cell.center());
    EXPECT_EQ(p.row(), 1);
    EXPECT_EQ(p.textMatrix(p.row(), 0), QStringLiteral("B1"));
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"C3"}));
    // A child without a structure of its own leaves the selection alone.
    p.setRow(3);
    ASSERT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"C1"}));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cell.center());
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, cell.center());
    EXPECT_EQ(p.row(), 3);
}

TEST_P(ListWindowTest, HeaderClickSortsTheGridsNumbersAsNumbers)
{
    fillCompany(*db);
    db->execute(QStringLiteral("update Inventory set cInvName=? where cInvCode=?"),
                {QStringLiteral("A成品"), QStringLiteral("P2")});
    parent.reset();
    auto w = open(false, true);
    emit w->SupPS1()->mousePressed(0, 1, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"P2", "P1", "B1"}));
    // The lines shown belong to the parent under the selection.
    const QHash<QString, QString> firstLine{{"P2", "C1"}, {"P1", "B1"}, {"B1", "C3"}};
    const Grid& p = *w->SupPS1();
    EXPECT_EQ(w->SupPS2()->textMatrix(1, 0), firstLine.value(p.textMatrix(p.row(), 0)));
    // A press on a data row does not sort.
    emit w->SupPS1()->mousePressed(1, 0, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"P2", "P1", "B1"}));
    emit w->SupPS1()->mousePressed(0, 0, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"B1", "P1", "P2"}));

    w->Ffliter(QStringLiteral("P1"));
    emit w->SupPS2()->mousePressed(0, 1, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS2(), 1), (QStringList{"部件", "零件一", "零件二"}));
    // Only columns 0 to 4 of the child grid sort.
    emit w->SupPS2()->mousePressed(0, 10, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS2(), 10), (QStringList{"", "0.125", "3."}));

    // Codes that read as numbers: the fill sorts them as texts, a heading click as numbers.
    w.reset();
    for (const char* code : {"9", "100", "10"}) {
        const QString c = QString::fromLatin1(code);
        insertItem(*db, c, QStringLiteral("件") + c, QString(), {}, kNull, 1.0);
        db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                    {c, QStringLiteral("D1")});
        insertLine(*db, c, QStringLiteral("C2"), 1.0, kNull, QStringLiteral("W1"),
                   QStringLiteral("D1"));
        insertLine(*db, QStringLiteral("P2"), c, 1.0, kNull, QStringLiteral("W1"),
                   QStringLiteral("D1"));
    }
    w = open(false, true);
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"10", "100", "9", "B1", "P1", "P2"}));
    emit w->SupPS1()->mousePressed(0, 0, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"9", "10", "100", "B1", "P1", "P2"}));

    w->Ffliter(QStringLiteral("P2"));
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"10", "100", "9", "C1"}));
    emit w->SupPS2()->mousePressed(0, 0, Qt::LeftButton);
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"9", "10", "100", "C1"}));
}

TEST_P(ListWindowTest, EmptyCompanyShowsHeadersOnlyAndRefusesPrintingWithoutData)
{
    auto w = open(false, true);
    EXPECT_EQ(w->SupPS1()->rows(), 1);
    EXPECT_EQ(w->SupPS2()->rows(), 1);
    EXPECT_EQ(w->SupPS2()->textMatrix(0, 0), QStringLiteral("子项编码"));
    w->dispatch(QStringLiteral("Butref"));
    EXPECT_EQ(w->SupPS1()->rows(), 1);
    EXPECT_EQ(w->SupPS2()->rows(), 1);
    w->dispatch(QStringLiteral("Butprint"));
    w->dispatch(QStringLiteral("Butpre"));
    w->dispatch(QStringLiteral("Butout"));
    EXPECT_EQ(boxes(prompter), (QStringList{"没有可供打印的数据！", "没有可供打印的数据！", "没有数据可以输出！"}));
    // Delete with no parent does nothing: no question, no lock asked.
    prompter.clear();
    QTest::keyClick(w->SupPS1()->view(), Qt::Key_Delete);
    w->dispatch(QStringLiteral("ButDelete"));
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_EQ(lockRows(*db), 0);
}

TEST_P(ListWindowTest, KeysReachTheDispatcher)
{
    fillCompany(*db);
    auto w = open(false, true);
    QTableView* parents = w->SupPS1()->view();
    QTableView* children = w->SupPS2()->view();
    parents->setFocus();
    QTest::keyClick(parents, Qt::Key_F5);
    QTest::keyClick(parents, Qt::Key_Return);
    QTest::keyClick(parents, Qt::Key_Enter);
    EXPECT_EQ(w->keys, (QStringList{"ButAdd", "ButEdit", "ButEdit"}));
    // Enter in the child grid does not edit.
    w->keys.clear();
    children->setFocus();
    EXPECT_EQ(w->activeControlName(), QStringLiteral("SupPS2"));
    QTest::keyClick(children, Qt::Key_Return);
    EXPECT_TRUE(w->keys.isEmpty());
    QTest::keyClick(children, Qt::Key_F5, Qt::ShiftModifier);
    EXPECT_EQ(w->keys, (QStringList{"ButAdd"}));
    // F4 alone is nothing; Alt+F4 closes through the exit command.
    w->keys.clear();
    QSignalSpy closed(w.get(), &FrmPS::closed);
    QTest::keyClick(children, Qt::Key_F4);
    EXPECT_TRUE(w->keys.isEmpty());
    EXPECT_TRUE(w->isVisible());
    QTest::keyClick(children, Qt::Key_F4, Qt::AltModifier);
    EXPECT_EQ(w->keys, (QStringList{"ButExit"}));
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(w->isVisible());
}

TEST_P(ListWindowTest, MovementCommandsChangeNothingAndRefreshReadsNewStructures)
{
    fillCompany(*db);
    auto w = open(false, true);
    w->SupPS1()->setRow(2);
    const QStringList lines = gridColumn(*w->SupPS2(), 0);
    for (const char* key : {"Butfirst", "Butprivous", "Butnext", "Butlast", "NoSuchKey"}) {
        w->dispatch(QString::fromLatin1(key));
        EXPECT_EQ(w->SupPS1()->row(), 2) << key;
        EXPECT_EQ(w->SupPS1()->rows(), 4) << key;
        EXPECT_EQ(gridColumn(*w->SupPS2(), 0), lines) << key;
    }
    EXPECT_TRUE(prompter.shown.empty());

    // Another workstation saves a structure; refresh shows it and keeps the selection.
    insertItem(*db, QStringLiteral("A0"), QStringLiteral("新品"), QString(), {}, kNull, kNull);
    db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                {QStringLiteral("A0"), QStringLiteral("D1")});
    insertLine(*db, QStringLiteral("A0"), QStringLiteral("C2"), 1.0, kNull, QString(), QString());
    EXPECT_EQ(w->SupPS1()->rows(), 4);
    w->dispatch(QStringLiteral("Butref"));
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"A0", "B1", "P1", "P2"}));
    EXPECT_EQ(w->SupPS1()->textMatrix(w->SupPS1()->row(), 0), QStringLiteral("P1"));
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), lines);
    w->Ffliter(QStringLiteral("A0"));
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"C2"}));
    // A code with no lines empties the child grid.
    w->Ffliter(QStringLiteral("no'such|code"));
    EXPECT_EQ(w->SupPS2()->rows(), 1);
}

TEST_P(ListWindowTest, ReadOnlyDisablesAddDeleteAndCopy)
{
    fillCompany(*db);
    auto w = open(true, true);
    EXPECT_TRUE(w->context().readOnly);
    EXPECT_FALSE(w->action(QStringLiteral("ButAdd"))->isEnabled());
    EXPECT_FALSE(w->action(QStringLiteral("ButDelete"))->isEnabled());
    EXPECT_FALSE(w->action(QStringLiteral("ButCopy"))->isEnabled());
    EXPECT_TRUE(w->action(QStringLiteral("ButEdit"))->isEnabled());
    EXPECT_TRUE(w->action(QStringLiteral("Butref"))->isEnabled());
    // The copy flag is not set by a copy that read-only mode refuses.
    w->FrmPS::dispatch(QStringLiteral("ButCopy"));
    EXPECT_FALSE(w->copyFlag);
    // Delete through the key: nothing asked, no lock taken.
    w->SupPS1()->view()->setFocus();
    QTest::keyClick(w->SupPS1()->view(), Qt::Key_Delete);
    EXPECT_TRUE(prompter.shown.empty());
    EXPECT_EQ(lockRows(*db), 0);
    EXPECT_EQ(w->SupPS1()->rows(), 4);
    // Browsing works as ever.
    w->SupPS1()->setRow(2);
    EXPECT_EQ(gridColumn(*w->SupPS2(), 0), (QStringList{"B1", "C1", "C2"}));
}

TEST_P(ListWindowTest, CompanyMissingLookupTablesStillOpens)
{
    fillCompany(*db);
    for (const char* t :
         {"CA_PreDf", "userdefine", "accinformation", "UserDefItem", "person", "warehouse"})
        db->execute(QStringLiteral("drop table ") + QString::fromLatin1(t));
    auto w = open(false, true);
    EXPECT_EQ(w->context().RecCa, nullptr);
    EXPECT_EQ(w->context().RecFree1, nullptr);
    EXPECT_EQ(w->context().RecFree2, nullptr);
    EXPECT_EQ(w->context().RecPer, nullptr);
    EXPECT_NE(w->context().RecDep, nullptr);
    EXPECT_NE(w->context().inventory, nullptr);
    EXPECT_EQ(w->context().quantityDecimals, 2);
    EXPECT_FALSE(w->context().HaveFree1);
    EXPECT_EQ(gridColumn(*w->SupPS1(), 0), (QStringList{"B1", "P1", "P2"}));
    w->Ffliter(QStringLiteral("P1"));
    // Without the warehouse table the codes stand where the names would.
    EXPECT_EQ(gridColumn(*w->SupPS2(), 11), (QStringList{"", "W1", "W1"}));
    EXPECT_TRUE(prompter.shown.empty());
}

QX_INSTANTIATE_BACKENDS(ListWindowTest);

// The splitter: thirds at opening, the bar dragged with the mouse moves both grids, a resize gives
// thirds again.
TEST(ListSplitter, BarDraggedWithTheMouseAndResizeRestoresThirds)
{
    ensureApplication();
    QTemporaryDir systemDir;
    qputenv("QX_SYSTEM_DIR", systemDir.path().toUtf8());
    FrmPS w;
    w.resize(twipsToPixels(13500, &w), twipsToPixels(7500, &w));
    w.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&w));
    EXPECT_NEAR(pixelsToTwips(w.SupPS1()->width(), &w), pixelsToTwips(w.width(), &w) / 3, 20);
    QWidget* bar = w.PicPS();
    const int startX = bar->x();
    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(1, 5));
    QMouseEvent move(QEvent::MouseMove, QPointF(40, 5), bar->mapToGlobal(QPointF(40, 5)),
                     Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(bar, &move);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(1, 5));
    EXPECT_NEAR(bar->x(), startX + 40, 1);
    EXPECT_NEAR(w.SupPS1()->width(), bar->x(), 1);
    EXPECT_NEAR(w.SupPS2()->x(), bar->x() + bar->width(), 1);
    EXPECT_EQ(w.Label2()->x(), w.SupPS2()->x());
    w.resize(w.width() + 30, w.height());
    QApplication::processEvents();
    EXPECT_NEAR(w.SupPS1()->width(), w.width() / 3, 2);
}

}  // namespace
