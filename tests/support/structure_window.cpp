#include "support/structure_window.h"

#include <QTableView>
#include <QTest>

namespace qx::test {

namespace {

const QString kOtherComputer = QStringLiteral("OTHER-PC");

void item(Database& db, const QString& code, const QString& name, const QString& spec)
{
    db.execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,bFree1,bFree2,"
                              "bService) values(?,?,?,?,0,0,0)"),
               {code, name, spec, QStringLiteral("个")});
}

void line(Database& db, const QString& parent, const QString& child, double quantity)
{
    db.execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode,cDepCode) "
                              "values(?,?,?,?,?)"),
               {parent, child, quantity, QStringLiteral("W1"), QStringLiteral("D1")});
}

int rowOf(const Grid& g, const QString& code)
{
    for (int r = 1; r < g.rows(); ++r)
        if (g.textMatrix(r, 0).trimmed() == code) return r;
    return 0;
}

}  // namespace

void fillStructures(Database& db)
{
    item(db, QStringLiteral("P1"), QStringLiteral("成品一"), QStringLiteral("规格一"));
    item(db, QStringLiteral("P2"), QStringLiteral("成品二"), QStringLiteral("规格二"));
    item(db, QStringLiteral("P3"), QStringLiteral("成品三"), QString());
    item(db, QStringLiteral("C1"), QStringLiteral("零件一"), QStringLiteral("S-C1"));
    item(db, QStringLiteral("C2"), QStringLiteral("零件二"), QString());
    item(db, QStringLiteral("C3"), QStringLiteral("零件三"), QString());
    db.execute(QStringLiteral("insert into department(cDepCode,cDepName,bDepEnd) values(?,?,1)"),
               {QStringLiteral("D1"), QStringLiteral("一车间")});
    db.execute(QStringLiteral("insert into warehouse(cWhCode,cWhName,cWhValueStyle,cDepCode) values(?,?,?,?)"),
               {QStringLiteral("W1"), QStringLiteral("原料库"), QStringLiteral("全月平均法"), QStringLiteral("D1")});
    for (const char* p : {"P1", "P2", "P3"})
        db.execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                   {QString::fromLatin1(p), QStringLiteral("D1")});
    line(db, QStringLiteral("P1"), QStringLiteral("C1"), 2);
    line(db, QStringLiteral("P1"), QStringLiteral("C2"), 3.5);
    line(db, QStringLiteral("P2"), QStringLiteral("C3"), 1);
    line(db, QStringLiteral("P3"), QStringLiteral("C1"), 4);
    line(db, QStringLiteral("P3"), QStringLiteral("P2"), 1);
    db.execute(QStringLiteral("insert into mom_order(cMoCode,cPSPCode,iQuantity) values(?,?,?)"),
               {QStringLiteral("MO1"), QStringLiteral("P2"), 10.0});
}

QStringList gridColumn(const Grid& g, int col)
{
    QStringList out;
    for (int r = 1; r < g.rows(); ++r) out << g.textMatrix(r, col);
    return out;
}

std::unique_ptr<FrmPS> openList(Database& db, QXProStru& host, bool readOnly, bool unwritable)
{
    EXPECT_TRUE(host.Init(db, readOnly));
    auto w = std::make_unique<FrmPS>();
    w->setDatabase(&db);
    w->setReadOnly(readOnly, unwritable);
    w->setRecordsets(host.parentRecords(), host.childRecords(), host.joinedRecords());
    w->load();
    return w;
}

void StructureWindowTest::SetUp()
{
    CompanyTest::SetUp();
    if (IsSkipped()) return;
    fillStructures(*db);
}

void StructureWindowTest::TearDown()
{
    window.reset();
    component.reset();
    otherLocks.reset();
    db2.reset();
    db.reset();
}

FrmPS& StructureWindowTest::openWindow()
{
    window.reset();
    component = std::make_unique<QXProStru>();
    EXPECT_TRUE(component->Init(*db, false));
    window = std::make_unique<FrmPS>();
    window->setDatabase(db.get());
    window->setReadOnly(false);
    window->setRecordsets(component->parentRecords(), component->childRecords(),
                          component->joinedRecords());
    window->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    window->activateWindow();
    return *window;
}

bool StructureWindowTest::selectParent(const QString& code)
{
    const int r = rowOf(*window->SupPS1(), code);
    if (r == 0) return false;
    window->SupPS1()->setRow(r);
    return window->SupPS1()->row() == r;
}

bool StructureWindowTest::selectChild(const QString& code)
{
    const int r = rowOf(*window->SupPS2(), code);
    if (r == 0) return false;
    window->SupPS2()->setRow(r);
    return window->SupPS2()->row() == r;
}

void StructureWindowTest::focusParents()
{
    window->SupPS1()->view()->setFocus();
    EXPECT_EQ(window->activeControlName(), QStringLiteral("SupPS1"));
}

void StructureWindowTest::focusChildren()
{
    window->SupPS2()->view()->setFocus();
    EXPECT_EQ(window->activeControlName(), QStringLiteral("SupPS2"));
}

Database& StructureWindowTest::other()
{
    if (!db2) db2 = Database::open(connection);
    return *db2;
}

bool StructureWindowTest::lockElsewhere(const QString& code)
{
    if (!otherLocks) otherLocks = std::make_unique<LockService>(other());
    return otherLocks->lockRecord(QStringLiteral("AE"), QStringLiteral("AA"), QStringLiteral("a"),
                                  kOtherComputer, {code});
}

void StructureWindowTest::unlockElsewhere(const QString& code)
{
    if (otherLocks) otherLocks->unlockRecord(QStringLiteral("AE"), {code});
}

bool StructureWindowTest::lockFree(const QString& code)
{
    if (!lockElsewhere(code)) return false;
    unlockElsewhere(code);
    return true;
}

}  // namespace qx::test
