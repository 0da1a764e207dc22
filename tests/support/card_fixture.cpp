#include "support/card_fixture.h"

#include "shared/code_to_name.h"

#include <QApplication>
#include <QTest>

namespace qx::test {

namespace {
QVariant nullDouble()
{
    return QVariant(QMetaType::fromType<double>());
}
}  // namespace

void fillCardMasterData(Database& db)
{
    const QString inv = QStringLiteral(
        "insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,cInvA_Unit,iInvExchRate,"
        "iInvRCost,bFree1,bFree2,bService) values(?,?,?,?,?,?,?,?,?,?)");
    struct Item {
        const char* code;
        QString name, spec, unit, aux;
        QVariant rate, price;
        int free1, free2, service;
    };
    const Item items[] = {
        {"P1", "成品一", "规格P1", "台", "", nullDouble(), 100.0, 0, 0, 0},
        {"P2", "成品二", "规格P2", "台", "", nullDouble(), 120.0, 0, 0, 0},
        {"A1", "零件一", "S-A1", "个", "箱", 2.5, 5.0, 1, 1, 0},
        {"A2", "零件二", "S-A2", "个", "", nullDouble(), nullDouble(), 0, 0, 0},
        {"A3", "零件三", "S-A3", "只", "盒", 2.0, 3.0, 1, 0, 0},
        {"0101", "部件一", "", "件", "", nullDouble(), 1.0, 0, 0, 0},
        {"0102", "部件二", "", "件", "", nullDouble(), 1.0, 0, 0, 0},
        {"0201", "部件三", "", "件", "", nullDouble(), 1.0, 0, 0, 0},
        {"S1", "服务", "", "次", "", nullDouble(), 1.0, 0, 0, 1},
        {"X1", "链一", "", "件", "", nullDouble(), 1.0, 0, 0, 0},
        {"X2", "链二", "", "件", "", nullDouble(), 1.0, 0, 0, 0},
        {"X3", "链三", "", "件", "", nullDouble(), 1.0, 0, 0, 0},
    };
    for (const Item& i : items)
        db.execute(inv, {QString::fromLatin1(i.code), i.name, i.spec, i.unit, i.aux, i.rate,
                         i.price, i.free1, i.free2, i.service});

    const QString dep = QStringLiteral(
        "insert into department(cDepCode,cDepName,cDepPerson,bDepEnd) values(?,?,?,?)");
    db.execute(dep, {QStringLiteral("D1"), QStringLiteral("一车间"), QStringLiteral("王五"), 1});
    db.execute(dep, {QStringLiteral("D2"), QStringLiteral("二车间"), QString(), 1});
    db.execute(dep, {QStringLiteral("D3"), QStringLiteral("D1"), QString(), 1});
    db.execute(dep, {QStringLiteral("D9"), QStringLiteral("总厂"), QString(), 0});

    const QString per =
        QStringLiteral("insert into person(cPersonCode,cPersonName,cDepCode) values(?,?,?)");
    db.execute(per, {QStringLiteral("E1"), QStringLiteral("张三"), QStringLiteral("D1")});
    db.execute(per, {QStringLiteral("E2"), QStringLiteral("欧阳明华东方"), QStringLiteral("D1")});

    const QString wh = QStringLiteral(
        "insert into warehouse(cWhCode,cWhName,cWhValueStyle,cDepCode) values(?,?,?,?)");
    db.execute(wh, {QStringLiteral("W1"), QStringLiteral("原料库"), QStringLiteral("计划价法"),
                    QStringLiteral("D1")});
    db.execute(wh, {QStringLiteral("W2"), QStringLiteral("成品库"), QStringLiteral("全月平均法"),
                    QStringLiteral("D2")});
    db.execute(wh, {QStringLiteral("W3"), QStringLiteral("成品库"), QStringLiteral("全月平均法"),
                    QStringLiteral("D2")});

    db.execute(
        QStringLiteral("insert into CA_PreDf(cProcedureID,cProcedureName,cDeptId) values(?,?,?)"),
        {QStringLiteral("OP1"), QStringLiteral("装配"), QStringLiteral("D1")});

    const QString ud = QStringLiteral("insert into userdefine(cid,cAlias,cValue) values(?,?,?)");
    db.execute(ud, {QStringLiteral("20"), QStringLiteral("R"), QStringLiteral("红色")});
    db.execute(ud, {QStringLiteral("20"), QStringLiteral("B"), QStringLiteral("蓝色")});
    db.execute(ud, {QStringLiteral("21"), QStringLiteral("A"), QStringLiteral("一等")});

    const QString acc =
        QStringLiteral("insert into accinformation(cSysID,cID,cName,cValue) values(?,?,?,?)");
    db.execute(acc, {QStringLiteral("AA"), QStringLiteral("19"), QStringLiteral("iStrsQuanDecDgt"),
                     QStringLiteral("2")});
    db.execute(acc, {QStringLiteral("AA"), QStringLiteral("22"), QStringLiteral("cInvA_Unit"),
                     QStringLiteral("TRUE")});

    const QString head =
        QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)");
    const QString line = QStringLiteral(
        "insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) values(?,?,?,?)");
    for (const char* p : {"X1", "X2", "P2"})
        db.execute(head, {QString::fromLatin1(p), QStringLiteral("D1")});
    db.execute(line, {QStringLiteral("X1"), QStringLiteral("X2"), 1.0, QStringLiteral("W2")});
    db.execute(line, {QStringLiteral("X2"), QStringLiteral("X3"), 1.0, QStringLiteral("W2")});
    db.execute(line, {QStringLiteral("P2"), QStringLiteral("A1"), 2.0, QStringLiteral("W2")});
}

std::unique_ptr<ListContext> makeListContext(Database& db, bool unnamedFreeItems)
{
    auto ctx = std::make_unique<ListContext>();
    ctx->dbase = &db;
    ctx->quantityDecimals = 2;
    ctx->ComputerName = QStringLiteral("card-test");
    if (!unnamedFreeItems) {
        ctx->FreeName1 = QStringLiteral("颜色");
        ctx->FreeName2 = QStringLiteral("等级");
        ctx->HaveFree1 = ctx->HaveFree2 = true;
    }
    const auto ro = [&db](const QString& sql) {
        return db.openRecordset(sql, RecordsetType::Dynaset, kReadOnly);
    };
    ctx->inventory = ro(QStringLiteral("inventory"));
    ctx->RecDep = ro(QStringLiteral("select cDepCode,cDepName from department where bDepEnd=1 "));
    ctx->RecFree1 = ro(QStringLiteral("select cAlias,cvalue from userdefine where cid='20' "));
    ctx->RecFree2 = ro(QStringLiteral("select cAlias,cvalue from userdefine where cid='21' "));
    ctx->RecPer = ro(QStringLiteral(
        "select person.cPersonCode,person.cPersonName,person.cDepCode,department.cdepname from "
        "person,department where person.cdepcode=department.cdepcode "));
    ctx->RecCa = ro(QStringLiteral("select cProcedureID,cProcedureName,cDeptId from CA_PreDf "));
    ctx->mrecPro = db.openRecordset(QStringLiteral("ProductStructure"));
    ctx->mrecPros = db.openRecordset(QStringLiteral("productstructures"));
    return ctx;
}

CardLists openCardLists(Database& db)
{
    CardLists l;
    l.inventory = db.openRecordset(kCardInventorySql);
    l.department = db.openRecordset(kDepartmentListSql);
    l.warehouse = db.openRecordset(kWarehouseListSql);
    return l;
}

CardLookups lookupsOf(Database& db, const ListContext& ctx, const CardLists& lists)
{
    CardLookups lk;
    lk.db = &db;
    lk.list = &ctx;
    lk.inventory = lists.inventory.get();
    lk.department = lists.department.get();
    lk.warehouse = lists.warehouse.get();
    return lk;
}

std::unique_ptr<FrmProStru> openCard(ListContext& ctx, bool adding)
{
    auto card = std::make_unique<FrmProStru>(ctx);
    card->adding = adding;
    card->setRecordsets(ctx.mrecPro.get(), ctx.mrecPros.get());
    card->show();
    QApplication::setActiveWindow(card.get());
    EXPECT_TRUE(QTest::qWaitForWindowActive(card.get()));
    return card;
}

void CardCompanyTest::SetUp()
{
    CompanyTest::SetUp();
    if (IsSkipped()) return;
    fillCardMasterData(*db);
    ctx = makeListContext(*db);
    lists = openCardLists(*db);
    lk = lookupsOf(*db, *ctx, lists);
}

int CardCompanyTest::tableCount(const QString& from)
{
    return db
        ->openRecordset(QStringLiteral("select count(*) from ") + from, RecordsetType::Snapshot)
        ->field(0)
        .toInt();
}

}  // namespace qx::test
