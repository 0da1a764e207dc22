// The demo company: a small bicycle works, with enough master data that every rule of the list
// and the card can be tried (free items, planned prices, conversion rates, a service item,
// end-level and higher-level departments, a person whose name is longer than a line takes,
// warehouses valued by planned price) and structures four levels deep that share
// sub-assemblies, one of them in use by a production order.

#include "data/schema.h"

#include "platform/database.h"

#include <QDate>
#include <QVariant>

#include <initializer_list>
#include <memory>

namespace qx::schema {

namespace {

const QVariant kNull;

// Inserts a row unless one with the same key is there, so that running the demo again on
// a company that already has some of the data does no harm.
void insertMissing(Database& db, const QString& table, const QStringList& columns,
                   const QVariantList& values, int keyColumns)
{
    QStringList where;
    QVariantList keys;
    for (int i = 0; i < keyColumns; ++i) {
        where << columns[i] + QStringLiteral("=?");
        keys << values[i];
    }
    auto found = db.openRecordset(QStringLiteral("select count(*) from ") + table +
                                      QStringLiteral(" where ") + where.join(QStringLiteral(" and ")),
                                  RecordsetType::Snapshot, 0, keys);
    if (found->field(0).toInt() > 0) return;
    QStringList marks;
    for (int i = 0; i < columns.size(); ++i) marks << QStringLiteral("?");
    db.execute(QStringLiteral("insert into ") + table + QStringLiteral(" (") +
                   columns.join(QLatin1Char(',')) + QStringLiteral(") values (") +
                   marks.join(QLatin1Char(',')) + QStringLiteral(")"),
               values);
}

void insertMissingRows(Database& db, const QString& table, const QStringList& columns,
                       std::initializer_list<QVariantList> rows, int keyColumns)
{
    for (const QVariantList& row : rows) insertMissing(db, table, columns, row, keyColumns);
}

struct Item {
    const char* code;
    const char* name;
    const char* std;
    const char* unit;
    const char* auxUnit;  // nullptr: none
    double exchRate;      // 0: none
    double plannedPrice;  // 0: no planned price
    int free1;
    int free2;
    int service;
};

// Finished goods 01.., sub-assemblies 02.., parts 03.., raw materials 04.., services 05...
const Item kItems[] = {
    {"0101", "26寸男式自行车", "ZX-26M 黑色", "辆", nullptr, 0, 420.00, 0, 0, 0},
    {"0102", "儿童自行车", "TC-16 带辅助轮", "辆", nullptr, 0, 260.00, 1, 0, 0},
    {"0103", "电动自行车", "DD-48V 锂电", "辆", nullptr, 0, 1850.00, 1, 0, 0},
    {"0104", "24寸女式自行车", "ZX-24F", "辆", nullptr, 0, 390.00, 0, 0, 0},
    {"0105", "山地自行车", "SD-27 速", "辆", nullptr, 0, 980.00, 0, 0, 0},
    {"0201", "车架组件", "焊接车架 26寸", "套", nullptr, 0, 118.50, 1, 0, 0},
    {"0202", "前轮组件", "26×1.75", "套", nullptr, 0, 66.00, 0, 0, 0},
    {"0203", "后轮组件", "26×1.75 带飞轮", "套", nullptr, 0, 82.00, 0, 0, 0},
    {"0204", "传动组件", "单速", "套", nullptr, 0, 54.00, 0, 0, 0},
    {"0205", "车把组件", "平把 580mm", "套", nullptr, 0, 38.00, 0, 0, 0},
    {"0206", "电机组件", "48V 350W", "套", nullptr, 0, 0, 0, 0, 0},
    {"0301", "车轮钢圈", "26寸 36孔", "个", nullptr, 0, 18.60, 0, 0, 0},
    {"0302", "辐条", "2.0×260mm", "根", "把", 36, 0.35, 0, 0, 0},
    {"0303", "外胎", "26×1.75", "条", nullptr, 0, 21.00, 0, 1, 0},
    {"0304", "内胎", "26×1.75 美嘴", "条", nullptr, 0, 6.80, 0, 0, 0},
    {"0305", "链条", "1/2×1/8 112节", "条", nullptr, 0, 12.50, 0, 0, 0},
    {"0306", "飞轮", "18齿", "个", nullptr, 0, 9.40, 0, 0, 0},
    {"0307", "曲柄", "170mm", "只", "副", 2, 15.00, 0, 0, 0},
    {"0308", "脚踏", "塑料 9/16", "只", "副", 2, 4.20, 0, 0, 0},
    {"0309", "车把", "钢制 580mm", "根", nullptr, 0, 13.00, 0, 0, 0},
    {"0310", "车座", "海绵座 大号", "个", nullptr, 0, 16.50, 1, 1, 0},
    {"0311", "刹车", "V刹 铝合金", "副", nullptr, 0, 11.80, 0, 0, 0},
    {"0312", "车铃", "铜铃 55mm", "个", nullptr, 0, 0, 0, 0, 0},
    {"0313", "花鼓", "36孔 钢制", "个", nullptr, 0, 14.00, 0, 0, 0},
    {"0314", "中轴", "方孔 122mm", "套", nullptr, 0, 17.30, 0, 0, 0},
    {"0315", "控制器", "48V 无刷", "个", nullptr, 0, 0, 0, 0, 0},
    {"0316", "挡泥板", "26寸 塑料", "副", nullptr, 0, 7.50, 1, 0, 0},
    {"0401", "无缝钢管", "Φ28×1.5", "公斤", "根", 6.5, 7.20, 0, 0, 0},
    {"0402", "天然橡胶", "一级烟片胶", "公斤", nullptr, 0, 14.80, 0, 0, 0},
    {"0403", "油漆", "醇酸磁漆", "公斤", "桶", 18, 23.00, 1, 0, 0},
    {"0404", "螺栓", "M8×40", "个", "盒", 100, 0.18, 0, 0, 0},
    {"0405", "螺母", "M8", "个", "盒", 200, 0.06, 0, 0, 0},
    {"0406", "镀锌钢丝", "Φ2.0", "公斤", nullptr, 0, 6.10, 0, 0, 0},
    {"0407", "铝合金型材", "6061-T6", "公斤", nullptr, 0, 24.50, 0, 0, 0},
    {"0408", "锂电池组", "48V 12Ah", "组", nullptr, 0, 0, 0, 0, 0},
    {"0409", "电线", "RVV 2×1.0", "米", "卷", 100, 1.30, 0, 0, 0},
    {"0410", "焊丝", "ER50-6 Φ1.0", "公斤", nullptr, 0, 9.80, 0, 0, 0},
    {"0411", "包装纸箱", "五层瓦楞", "个", nullptr, 0, 8.00, 0, 0, 0},
    {"0501", "外协喷涂加工", "", "次", nullptr, 0, 0, 0, 0, 1},
    {"0502", "运输服务", "", "次", nullptr, 0, 0, 0, 0, 1},
};

struct Line {
    const char* parent;
    const char* child;
    double quantity;
    double wasteRate;  // < 0: none
    const char* warehouse;
    const char* department;
    const char* person;
    const char* operation;
    const char* free1;
    const char* free2;
};

// Warehouses 01 and 04 are valued by planned price: only items with a planned price are kept there.
// Free items are stored as their values (the card turns a typed alias into its value).
const Line kLines[] = {
    {"0101", "0201", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0101", "0202", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0101", "0203", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0101", "0204", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0101", "0205", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0101", "0310", 1, 0.5, "04", "0102", "赵强", "装配", "黑色", "一等品"},
    {"0101", "0312", 1, -1, "03", "0102", "赵强", "装配", nullptr, nullptr},
    {"0101", "0411", 1, 1, "01", "0102", "赵强", "检验", nullptr, nullptr},
    {"0102", "0202", 2, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0102", "0205", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0102", "0310", 1, -1, "04", "0102", "赵强", "装配", "红色", "合格品"},
    {"0102", "0316", 1, 2, "04", "0102", "赵强", "装配", "蓝色", nullptr},
    {"0103", "0201", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0103", "0202", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0103", "0203", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0103", "0205", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0103", "0206", 1, -1, "02", "0102", "李娜", "装配", nullptr, nullptr},
    {"0103", "0408", 1, -1, "03", "0102", "赵强", "装配", nullptr, nullptr},
    {"0201", "0401", 3.2, 3, "01", "0101", "张伟", "下料", nullptr, nullptr},
    {"0201", "0403", 0.35, 5, "01", "0103", "王芳", "喷涂", "黑色", nullptr},
    {"0201", "0404", 6, -1, "04", "0101", "张伟", "焊接", nullptr, nullptr},
    {"0201", "0405", 6, -1, "04", "0101", "张伟", "焊接", nullptr, nullptr},
    {"0201", "0410", 0.25, 8, "01", "0101", "张伟", "焊接", nullptr, nullptr},
    {"0202", "0301", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0202", "0302", 36, 1.5, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0202", "0303", 1, -1, "04", "0102", "赵强", "装配", nullptr, "一等品"},
    {"0202", "0304", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0202", "0313", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0203", "0301", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0203", "0302", 36, 1.5, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0203", "0303", 1, -1, "04", "0102", "赵强", "装配", nullptr, "二等品"},
    {"0203", "0304", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0203", "0306", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0203", "0313", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0204", "0305", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0204", "0307", 2, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0204", "0308", 2, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0204", "0314", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0205", "0309", 1, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0205", "0311", 2, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0205", "0404", 2, -1, "04", "0102", "赵强", "装配", nullptr, nullptr},
    {"0206", "0315", 1, -1, "03", "0102", "李娜", "装配", nullptr, nullptr},
    {"0206", "0409", 1.8, 2.5, "01", "0102", "李娜", "装配", nullptr, nullptr},
    {"0206", "0404", 4, -1, "04", "0102", "李娜", "装配", nullptr, nullptr},
    {"0301", "0407", 1.15, 4, "01", "0101", "张伟", "下料", nullptr, nullptr},
    {"0303", "0402", 0.85, 6, "01", "0101", "张伟", "下料", nullptr, nullptr},
    {"0302", "0406", 0.012, 3, "01", "0101", "张伟", "下料", nullptr, nullptr},
};

QVariant text(const char* s) { return s ? QVariant(QString::fromUtf8(s)) : kNull; }

}  // namespace

void createDemoCompany(Database& db)
{
    createCompany(db, true);
    {
        auto existing = db.openRecordset(QStringLiteral("select count(*) from ProductStructure"),
                                         RecordsetType::Snapshot);
        if (existing->field(0).toInt() > 0) return;
    }

    Transaction trans(db);
    const QStringList invColumns{"cInvCode", "cInvName", "cInvStd", "cInvM_Unit", "cInvA_Unit",
                                 "iInvExchRate", "iInvRCost", "bFree1", "bFree2", "bService"};
    for (const Item& it : kItems) {
        insertMissing(db, QStringLiteral("Inventory"), invColumns,
                      {text(it.code), text(it.name), text(it.std), text(it.unit), text(it.auxUnit),
                       it.exchRate > 0 ? QVariant(it.exchRate) : kNull,
                       it.plannedPrice > 0 ? QVariant(it.plannedPrice) : kNull, it.free1, it.free2,
                       it.service},
                      1);
    }

    insertMissingRows(db, QStringLiteral("department"),
                      {"cDepCode", "cDepName", "cDepPerson", "bDepEnd"},
                      {
                          {"01", "生产部", "刘建国", 0},   {"0101", "车架车间", "张伟", 1},
                          {"0102", "装配车间", "李娜", 1}, {"0103", "涂装车间", "王芳", 1},
                          {"02", "供应部", "陈静", 0},     {"0201", "采购科", "陈静", 1},
                          {"03", "仓储部", "赵强", 1},     {"04", "质检部", "孙丽", 1},
                      },
                      1);

    // 阿卜杜热合曼 has six characters: twelve bytes, more than a line's storekeeper column takes.
    insertMissingRows(db, QStringLiteral("person"), {"cPersonCode", "cPersonName", "cDepCode"},
                      {
                          {"001", "张伟", "0101"},   {"002", "李娜", "0102"},
                          {"003", "王芳", "0103"},   {"004", "赵强", "03"},
                          {"005", "阿卜杜热合曼", "03"}, {"006", "陈静", "0201"},
                          {"007", "欧阳明", "0102"}, {"008", "孙丽", "04"},
                      },
                      1);

    insertMissingRows(db, QStringLiteral("warehouse"),
                      {"cWhCode", "cWhName", "cWhValueStyle", "cDepCode"},
                      {
                          {"01", "原材料库", "计划价法", "03"},
                          {"02", "半成品库", "全月平均法", "03"},
                          {"03", "成品库", "先进先出法", "03"},
                          {"04", "配件库", "计划价法", "03"},
                      },
                      1);

    insertMissingRows(db, QStringLiteral("CA_PreDf"), {"cProcedureID", "cProcedureName", "cDeptId"},
                      {
                          {"0001", "下料", "0101"}, {"0002", "焊接", "0101"},
                          {"0003", "喷涂", "0103"}, {"0004", "装配", "0102"},
                          {"0005", "检验", "04"},
                      },
                      1);

    insertMissingRows(db, QStringLiteral("userdefine"), {"cid", "cAlias", "cValue"},
                      {
                          {"20", "红", "红色"},     {"20", "蓝", "蓝色"},
                          {"20", "黑", "黑色"},     {"20", "银", "银灰色"},
                          {"21", "一等", "一等品"}, {"21", "二等", "二等品"},
                          {"21", "合格", "合格品"},
                      },
                      2);

    const QStringList accColumns{"cSysID", "cID", "cName", "cValue"};
    insertMissing(db, QStringLiteral("accinformation"), accColumns,
                  {"AA", "19", "iStrsQuanDecDgt", "2"}, 3);
    // The auxiliary-unit switch, under the common settings' system id like every settings row
    // (system ids are compared without regard to case).
    insertMissing(db, QStringLiteral("accinformation"), accColumns,
                  {"AA", "22", "bAssUnit", "TRUE"}, 2);

    insertMissingRows(db, QStringLiteral("UserDefItem"), {"cID", "cName"},
                      {{"20", "颜色"}, {"21", "等级"}}, 1);

    // Producing departments of the structures: assembly makes the bicycles and wheels, the frame
    // shop the frames and rims.
    insertMissingRows(db, QStringLiteral("ProductStructure"), {"cPSPCode", "cDepCode"},
                      {
                          {"0101", "0102"}, {"0102", "0102"}, {"0103", "0102"}, {"0201", "0101"},
                          {"0202", "0102"}, {"0203", "0102"}, {"0204", "0102"}, {"0205", "0102"},
                          {"0206", "0102"}, {"0301", "0101"}, {"0302", "0101"}, {"0303", "0102"},
                      },
                      1);

    const QStringList lineColumns{"cPSPCode", "cPSCode", "iPSQuantity", "iWasteRate", "cWhCode",
                                  "cDepCode", "cPersonName", "cProcedureName", "cFree1", "cFree2"};
    for (const Line& l : kLines) {
        insertMissing(db, QStringLiteral("ProductStructures"), lineColumns,
                      {text(l.parent), text(l.child), l.quantity,
                       l.wasteRate >= 0 ? QVariant(l.wasteRate) : kNull, text(l.warehouse),
                       text(l.department), text(l.person), text(l.operation), text(l.free1),
                       text(l.free2)},
                      2);
    }

    insertMissing(db, QStringLiteral("mom_order"), {"cMoCode", "cPSPCode", "iQuantity", "dDate"},
                  {"MO20240001", "0101", 500.0, QDate(2024, 3, 18)}, 1);
    trans.commit();
}

}  // namespace qx::schema
