// Recordset rows held compactly: every cell reads back exactly as the driver gave it (type,
// null-ness, text), through repeated values, columns of all-different texts, later edits and
// added rows; on SQLite and PostgreSQL.

#include "platform/cell_store.h"
#include "platform/database.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDate>
#include <QSqlQuery>
#include <QSqlRecord>

using namespace qx;
using qx::test::BackendTest;

namespace {

// Same type, same null-ness, same value.
void expectSame(const QVariant& got, const QVariant& want, const std::string& where)
{
    EXPECT_EQ(got.metaType(), want.metaType()) << where;
    EXPECT_EQ(got.isNull(), want.isNull()) << where;
    if (want.metaType().id() == QMetaType::QString) {
        const QString g = got.toString(), w = want.toString();
        EXPECT_EQ(g, w) << where;
        EXPECT_EQ(g.isNull(), w.isNull()) << where;
    } else if (!want.isNull()) {
        EXPECT_EQ(got, want) << where;
    }
}

}  // namespace

TEST(CellStore, EveryKindOfCellReadsBackAsGiven)
{
    // Column 0 repeats a few texts; column 1 has texts that all differ (kept apart after a while)
    // mixed with empty and null texts; column 2 numbers of several types with nulls; column 3
    // other types, one value per cell.
    std::vector<std::vector<QVariant>> want;
    for (int r = 0; r < 3000; ++r) {
        std::vector<QVariant> row(4);
        row[0] = QStringList{"个", "箱", "D1"}[r % 3];
        if (r % 97 == 0)
            row[1] = QVariant(QMetaType::fromType<QString>());
        else if (r % 89 == 0)
            row[1] = QString(QLatin1String(""));
        else if (r % 83 == 0)
            row[1] = QString();
        else
            row[1] = QStringLiteral("物料%1").arg(r);
        switch (r % 6) {
            case 0: row[2] = 1.5 + r % 4; break;
            case 1: row[2] = qlonglong(r % 5); break;
            case 2: row[2] = int(r % 5); break;  // the same digits as the qlonglongs, another type
            case 3: row[2] = QVariant(QMetaType::fromType<double>()); break;
            case 4: row[2] = r % 2 == 0; break;
            default: row[2] = double(r % 5); break;  // the same numbers as the integers, as doubles
        }
        row[3] = r % 2 ? QVariant(QByteArray("b") + QByteArray::number(r)) : QVariant(QDate(2024, 1, 1 + r % 28));
        want.push_back(row);
    }
    CellStore store;
    store.reset(4);
    for (const auto& row : want) {
        for (int c = 0; c < 4; ++c) store.push(c, row[size_t(c)]);
        store.endRow();
    }
    store.finish();
    ASSERT_EQ(store.rows(), want.size());

    // Edits after the fetch: a column of one-byte references gets more values than fit.
    for (int r = 0; r < 600; ++r) {
        auto row = want[size_t(r)];
        row[0] = QStringLiteral("新%1").arg(r);
        row[2] = qlonglong(100000 + r);
        store.setRow(size_t(r), row);
        want[size_t(r)] = row;
    }
    const std::vector<QVariant> added{QStringLiteral("个"), QStringLiteral("added"), 7.25, QVariant()};
    store.appendRow(added);
    want.push_back(added);

    for (size_t r = 0; r < want.size(); ++r)
        for (int c = 0; c < 4; ++c)
            expectSame(store.at(r, c), want[r][size_t(c)], "row " + std::to_string(r) + " col " + std::to_string(c));
    EXPECT_EQ(store.row(5).size(), 4u);
}

TEST(CellStore, ColumnOfTensOfThousandsOfCodesReadsBack)
{
    // More distinct texts than two-byte references hold, each repeated once, fetched the way the
    // drivers hand them over; then a row changed after the fetch.
    std::vector<QVariant> want;
    CellStore store;
    store.reset(1);
    for (int i = 0; i < 80000; ++i) {
        const int k = i % 2 ? i / 2 : 39999 - i / 2;
        const QByteArray code = "I" + QByteArray::number(k) + (k % 5 ? "" : "物料");
        store.pushText(0, code.constData(), int(code.size()));
        store.endRow();
        want.push_back(QString::fromUtf8(code));
    }
    store.finish();
    store.setRow(70001, {QStringLiteral("新")});
    want[70001] = QStringLiteral("新");
    ASSERT_EQ(store.rows(), want.size());
    for (size_t r = 0; r < want.size(); ++r) {
        ASSERT_EQ(store.at(r, 0), want[r]) << r;
    }
}

class RecordsetCells : public BackendTest {};

TEST_P(RecordsetCells, CellsAreTheDriversOwnValues)
{
    auto db = test::openFreshCompany(backend());
    {
        Transaction t(*db);
        for (int i = 0; i < 1500; ++i)
            db->execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,iInvExchRate,"
                                       "iInvRCost,bFree1) values(?,?,?,?,?,?,?)"),
                        {QStringLiteral("I%1").arg(i, 5, 10, QLatin1Char('0')), QStringLiteral("物料'%1").arg(i),
                         i % 7 ? QVariant(QStringLiteral("规格%1").arg(i % 7)) : QVariant(),
                         i % 2 ? QStringLiteral("个") : QString(QLatin1String("")),
                         i % 3 ? QVariant(12.5) : QVariant(), double(i % 11), i % 2});
        t.commit();
    }
    const QString sql = QStringLiteral("select * from Inventory order by cInvCode");
    auto rs = db->openRecordset(sql, RecordsetType::Snapshot);
    QSqlQuery q = db->run(sql, {});
    const int n = q.record().count();
    int r = 0;
    while (q.next()) {
        ASSERT_LT(r, rs->recordCount());
        for (int c = 0; c < n; ++c)
            expectSame(rs->value(r, c), q.value(c), "row " + std::to_string(r) + " col " + std::to_string(c));
        ++r;
    }
    EXPECT_EQ(r, rs->recordCount());

    // Field names as the driver spells them, a join's repeated column included.
    db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                {QStringLiteral("I00001"), QStringLiteral("D1")});
    db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values(?,?,?)"),
                {QStringLiteral("I00001"), QStringLiteral("I00002"), 2.5});
    const QString joined = QStringLiteral(
        "SELECT ProductStructure.*, ProductStructures.* FROM ProductStructure INNER JOIN ProductStructures ON "
        "ProductStructure.cPSPCode = ProductStructures.cPSPCode");
    auto js = db->openRecordset(joined, RecordsetType::Snapshot);
    QSqlQuery jq = db->run(joined, {});
    ASSERT_EQ(js->fieldCount(), jq.record().count());
    for (int c = 0; c < js->fieldCount(); ++c) EXPECT_EQ(js->fieldName(c), jq.record().fieldName(c)) << c;
    ASSERT_TRUE(jq.next());
    for (int c = 0; c < js->fieldCount(); ++c) expectSame(js->value(0, c), jq.value(c), "joined col " + std::to_string(c));

    // Filter, find and an edit through the dynaset see the same values.
    auto dyn = db->openRecordset(QStringLiteral("Inventory"));
    dyn->setFilter(Criteria::eq(QStringLiteral("cInvM_Unit"), QStringLiteral("个")));
    EXPECT_EQ(dyn->recordCount(), 750);
    dyn->findFirst(Criteria::eq(QStringLiteral("cInvCode"), QStringLiteral("I01001")));
    ASSERT_FALSE(dyn->noMatch());
    EXPECT_EQ(dyn->field(QStringLiteral("cInvName")).toString(), QStringLiteral("物料'1001"));
    dyn->edit();
    dyn->setField(QStringLiteral("cInvName"), QStringLiteral("改名"));
    dyn->update();
    EXPECT_EQ(dyn->field(QStringLiteral("cInvName")).toString(), QStringLiteral("改名"));
    dyn->requery();
    dyn->findFirst(Criteria::eq(QStringLiteral("cInvName"), QStringLiteral("改名")));
    ASSERT_FALSE(dyn->noMatch());
    EXPECT_EQ(dyn->field(QStringLiteral("cInvCode")).toString(), QStringLiteral("I01001"));
}

QX_INSTANTIATE_BACKENDS(RecordsetCells);
