// The company schema, its upgrades, and the demo company, on SQLite and PostgreSQL.

#include "data/common.h"
#include "data/schema.h"
#include "data/verify.h"
#include "platform/database.h"
#include "platform/db_error.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QSet>

using namespace qx;
using qx::test::BackendTest;

namespace {

int count(Database& db, const QString& sql, const QVariantList& params = {})
{
    return db.openRecordset(sql, RecordsetType::Snapshot, 0, params)->field(0).toInt();
}

DbErrorKind failureOf(Database& db, const QString& sql, const QVariantList& params)
{
    try {
        db.execute(sql, params);
    } catch (const DbError& e) {
        return e.kind();
    }
    ADD_FAILURE() << "no error from: " << sql.toStdString();
    return DbErrorKind::Other;
}

const QString kInsertHeader = QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)");
const QString kInsertLine =
    QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values(?,?,?)");

}  // namespace

class SchemaTest : public BackendTest {};

TEST_P(SchemaTest, UpgradeAddsANullableWasteRateOnceAndLeavesOldLinesNull)
{
    auto db = test::openFreshDatabase(backend());
    schema::createCompany(*db, /*withWasteRate=*/false);
    EXPECT_FALSE(db->openRecordset(QStringLiteral("productstructures"))->hasField(QStringLiteral("iWasteRate")));
    db->execute(kInsertHeader, {QStringLiteral("P"), QStringLiteral("01")});
    db->execute(kInsertLine, {QStringLiteral("P"), QStringLiteral("C"), 2.0});

    schema::upgradeWasteRate(*db);
    schema::upgradeWasteRate(*db);  // the second run fails inside and is ignored

    auto lines = db->openRecordset(QStringLiteral("productstructures"));
    ASSERT_TRUE(lines->hasField(QStringLiteral("iWasteRate")));
    ASSERT_EQ(lines->recordCount(), 1);
    EXPECT_TRUE(lines->field(QStringLiteral("iwasterate")).isNull());
    EXPECT_EQ(lines->field(QStringLiteral("iPSQuantity")).toDouble(), 2.0);
    // The new column takes fractions.
    db->execute(QStringLiteral("update ProductStructures set iWasteRate=? where cPSCode=?"),
                {2.125, QStringLiteral("C")});
    lines->requery();
    EXPECT_EQ(lines->field(QStringLiteral("iWasteRate")).toDouble(), 2.125);
}

TEST_P(SchemaTest, UpgradeOnACurrentTableChangesNothing)
{
    auto db = test::openFreshCompany(backend());
    db->execute(kInsertHeader, {QStringLiteral("P"), QStringLiteral("01")});
    db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,iWasteRate) "
                               "values(?,?,?,?)"),
                {QStringLiteral("P"), QStringLiteral("C"), 1.0, 3.0});
    const int columnsBefore = db->openRecordset(QStringLiteral("productstructures"))->fieldCount();
    schema::upgradeWasteRate(*db);
    auto lines = db->openRecordset(QStringLiteral("productstructures"));
    EXPECT_EQ(lines->fieldCount(), columnsBefore);
    EXPECT_EQ(lines->field(QStringLiteral("iWasteRate")).toDouble(), 3.0);
    // Creating the company again over itself is harmless too.
    schema::createCompany(*db);
    EXPECT_EQ(count(*db, QStringLiteral("select count(*) from ProductStructures")), 1);
}

TEST_P(SchemaTest, KeysTieLinesToTheirHeaderAndOrdersToTheirStructureButNotLinesToInventory)
{
    auto db = test::openFreshCompany(backend());
    db->execute(kInsertHeader, {QStringLiteral("P"), QStringLiteral("01")});
    // A child that is in no item master is still stored: the item master belongs to others.
    db->execute(kInsertLine, {QStringLiteral("P"), QStringLiteral("NOITEM"), 1.0});
    // The same child twice under one parent is refused by the key.
    EXPECT_EQ(failureOf(*db, kInsertLine, {QStringLiteral("P"), QStringLiteral("NOITEM"), 2.0}),
              DbErrorKind::Duplicate);
    // A line of a parent without header is refused.
    EXPECT_EQ(failureOf(*db, kInsertLine, {QStringLiteral("GONE"), QStringLiteral("C"), 1.0}),
              DbErrorKind::RecordDeleted);
    EXPECT_EQ(count(*db, QStringLiteral("select count(*) from ProductStructures where cPSPCode=?"),
                    {QStringLiteral("GONE")}),
              0);

    db->execute(QStringLiteral("insert into mom_order(cMoCode,cPSPCode,iQuantity) values(?,?,?)"),
                {QStringLiteral("MO1"), QStringLiteral("P"), 10.0});
    db->execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {QStringLiteral("P")});
    EXPECT_EQ(failureOf(*db, QStringLiteral("delete from ProductStructure where cPSPCode=?"), {QStringLiteral("P")}),
              DbErrorKind::InUse);
    EXPECT_EQ(count(*db, QStringLiteral("select count(*) from ProductStructure")), 1);
}

TEST_P(SchemaTest, DemoCompanyIsCleanAndRepeatable)
{
    auto db = test::openFreshDatabase(backend());
    schema::createDemoCompany(*db);

    const int items = count(*db, QStringLiteral("select count(*) from Inventory"));
    const int lines = count(*db, QStringLiteral("select count(*) from ProductStructures"));
    // Four levels: bicycle, front wheel, rim, aluminium; the front wheel is shared.
    EXPECT_EQ(CollectAncestors(QStringLiteral("0407"), *db).codes,
              (QSet<QString>{"0301", "0202", "0203", "0101", "0102", "0103"}));
    EXPECT_EQ(count(*db, QStringLiteral("select count(*) from ProductStructures where cPSCode=?"), {QStringLiteral("0202")}), 3);

    const VerifyReport report = verifyStructures(*db);
    EXPECT_TRUE(report.clean) << report.lines.join(QLatin1Char('\n')).toStdString();

    schema::createDemoCompany(*db);
    EXPECT_EQ(count(*db, QStringLiteral("select count(*) from Inventory")), items);
    EXPECT_EQ(count(*db, QStringLiteral("select count(*) from ProductStructures")), lines);
}

QX_INSTANTIATE_BACKENDS(SchemaTest);
