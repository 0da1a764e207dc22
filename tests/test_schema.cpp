// The company schema, its upgrades, the demo company and the common routines, on SQLite and PostgreSQL.

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
    // The new column takes fractions; an upgrade of a current table changes nothing, and creating
    // the company again over itself is harmless too.
    db->execute(QStringLiteral("update ProductStructures set iWasteRate=? where cPSCode=?"),
                {2.125, QStringLiteral("C")});
    const int columns = lines->fieldCount();
    schema::upgradeWasteRate(*db);
    schema::createCompany(*db);
    lines = db->openRecordset(QStringLiteral("productstructures"));
    EXPECT_EQ(lines->fieldCount(), columns);
    ASSERT_EQ(lines->recordCount(), 1);
    EXPECT_EQ(lines->field(QStringLiteral("iWasteRate")).toDouble(), 2.125);
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
    EXPECT_EQ(qx::test::countRows(*db, QStringLiteral("select count(*) from ProductStructures where cPSPCode=?"),
                    {QStringLiteral("GONE")}),
              0);

    db->execute(QStringLiteral("insert into mom_order(cMoCode,cPSPCode,iQuantity) values(?,?,?)"),
                {QStringLiteral("MO1"), QStringLiteral("P"), 10.0});
    db->execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {QStringLiteral("P")});
    EXPECT_EQ(failureOf(*db, QStringLiteral("delete from ProductStructure where cPSPCode=?"), {QStringLiteral("P")}),
              DbErrorKind::InUse);
    EXPECT_EQ(qx::test::countRows(*db, QStringLiteral("select count(*) from ProductStructure")), 1);
}

TEST_P(SchemaTest, DemoCompanyIsCleanAndRepeatable)
{
    auto db = test::openFreshDatabase(backend());
    schema::createDemoCompany(*db);

    const int items = qx::test::countRows(*db, QStringLiteral("select count(*) from Inventory"));
    const int lines = qx::test::countRows(*db, QStringLiteral("select count(*) from ProductStructures"));
    // Four levels: bicycle, front wheel, rim, aluminium; the front wheel is shared.
    EXPECT_EQ(CollectAncestors(QStringLiteral("0407"), *db).codes,
              (QSet<QString>{"0301", "0202", "0203", "0101", "0102", "0103"}));
    EXPECT_EQ(qx::test::countRows(*db, QStringLiteral("select count(*) from ProductStructures where cPSCode=?"), {QStringLiteral("0202")}), 3);

    const VerifyReport report = verifyStructures(*db);
    EXPECT_TRUE(report.clean) << report.lines.join(QLatin1Char('\n')).toStdString();

    schema::createDemoCompany(*db);
    EXPECT_EQ(qx::test::countRows(*db, QStringLiteral("select count(*) from Inventory")), items);
    EXPECT_EQ(qx::test::countRows(*db, QStringLiteral("select count(*) from ProductStructures")), lines);
}

QX_INSTANTIATE_BACKENDS(SchemaTest);

// ---------------------------------------------------------------------------------------------
// The common routines: number formats, the byte cut, the leading number, FindRecord.
TEST(FormatNum, RoundsHalfAwayFromZeroOnTheDecimalsAsTyped)
{
    EXPECT_EQ(FormatNum(12, 3), "12.000");
    EXPECT_EQ(FormatNum(2.675, 2), "2.68");  // binary 2.67499999...
    EXPECT_EQ(FormatNum(1.005, 2), "1.01");  // binary 1.00499999...
    EXPECT_EQ(FormatNum(0.125, 2), "0.13");
    EXPECT_EQ(FormatNum(0.124999, 2), "0.12");
    EXPECT_EQ(FormatNum(9.995, 2), "10.00");
    EXPECT_EQ(FormatNum(99.5, 0), "100");
    EXPECT_EQ(FormatNum(0.5, 0), "1");
    EXPECT_EQ(FormatNum(0.0, 2), "0.00");
    EXPECT_EQ(FormatNum(0.05, 1), "0.1");
}

TEST(FormatNum, WholeNumbersHaveNoGroupSeparatorsAndNegativesKeepTheirSign)
{
    EXPECT_EQ(FormatNum(1200000, 0), "1200000");
    EXPECT_EQ(FormatNum(1200000, -1), "1200000");
    EXPECT_EQ(FormatNum(123456789012345.0, 0), "123456789012345");
    EXPECT_EQ(FormatNum(-2.675, 2), "-2.68");
    EXPECT_EQ(FormatNum(-1.5, 0), "-2");
    EXPECT_EQ(FormatNum(-12, 3), "-12.000");
    // Rounded to nothing, a tiny negative shows no sign.
    EXPECT_EQ(FormatNum(-0.001, 2), "0.00");
}

TEST(FormatWasteRate, KeepsThePointOnWholeNumbersAndAtMostEightDecimals)
{
    EXPECT_EQ(FormatWasteRate(3), "3.");
    EXPECT_EQ(FormatWasteRate(0), "0.");
    EXPECT_EQ(FormatWasteRate(0.125), "0.125");
    EXPECT_EQ(FormatWasteRate(2.5), "2.5");
    EXPECT_EQ(FormatWasteRate(1.123456789), "1.12345679");
    EXPECT_EQ(FormatWasteRate(0.000000004), "0.");
    EXPECT_EQ(FormatWasteRate(0.000000005), "0.00000001");
    EXPECT_EQ(FormatWasteRate(-1.5), "-1.5");
}

TEST(CutByBytes, ChineseCountsTwoAndIsNeverSplit)
{
    const QString six = QStringLiteral("阿卜杜热合曼");
    EXPECT_EQ(CutByBytes(six, 10), QStringLiteral("阿卜杜热合"));
    EXPECT_EQ(CutByBytes(QStringLiteral("ab") + QStringLiteral("一二三四五"), 10),
              QStringLiteral("ab一二三四"));
    // A Chinese character straddling the limit is dropped whole.
    EXPECT_EQ(CutByBytes(QStringLiteral("a一二三四五"), 10), QStringLiteral("a一二三四"));
    EXPECT_EQ(CutByBytes(QStringLiteral("abcdefghijkl"), 10), QStringLiteral("abcdefghij"));
    EXPECT_EQ(CutByBytes(QStringLiteral("张伟"), 10), QStringLiteral("张伟"));
    EXPECT_EQ(CutByBytes(QString(), 10), QString());
    EXPECT_EQ(CutByBytes(QStringLiteral("一"), 1), QString());
    EXPECT_EQ(CutByBytes(QStringLiteral("abc"), 0), QString());
    // Characters beyond the basic plane stay whole.
    const QString face = QString::fromUcs4(U"\U0001F600x");
    EXPECT_EQ(CutByBytes(face, 2), QString::fromUcs4(U"\U0001F600"));
    EXPECT_EQ(CutByBytes(face, 1), QString());
    // U+0080 is the first character that counts two.
    EXPECT_EQ(CutByBytes(QString(QChar(0x7f)) + QChar(0x80), 2), QString(QChar(0x7f)));
}

TEST(LeadingNumber, ReadsTheNumberAtTheStartOfATypedText)
{
    EXPECT_EQ(LeadingNumber(QStringLiteral("12abc")), 12);
    EXPECT_EQ(LeadingNumber(QStringLiteral("abc")), 0);
    EXPECT_EQ(LeadingNumber(QString()), 0);
    EXPECT_EQ(LeadingNumber(QStringLiteral("  3.5")), 3.5);
    EXPECT_EQ(LeadingNumber(QStringLiteral("-2.25kg")), -2.25);
    EXPECT_EQ(LeadingNumber(QStringLiteral("+7")), 7);
    EXPECT_EQ(LeadingNumber(QStringLiteral(".5")), 0.5);
    EXPECT_EQ(LeadingNumber(QStringLiteral("1e3x")), 1000);
    EXPECT_EQ(LeadingNumber(QStringLiteral("1ex")), 1);
    EXPECT_EQ(LeadingNumber(QStringLiteral("1.2.3")), 1.2);
    EXPECT_EQ(LeadingNumber(QStringLiteral("1 2")), 12);
    EXPECT_EQ(LeadingNumber(QStringLiteral("-")), 0);
    EXPECT_EQ(LeadingNumber(QStringLiteral("５")), 0);  // a full-width digit is no number
}

class FindRecordTest : public BackendTest {};

TEST_P(FindRecordTest, EmptyRecordsetFindsNothingAndFilledOneStopsOnTheRow)
{
    auto db = test::openFreshCompany(backend());
    auto empty = db->openRecordset(QStringLiteral("department"), RecordsetType::Dynaset, kReadOnly);
    EXPECT_FALSE(FindRecord(QStringLiteral("01"), *empty, QStringLiteral("cDepCode")));

    db->execute(QStringLiteral("insert into department(cDepCode,cDepName,bDepEnd) values(?,?,?)"),
                {QStringLiteral("01"), QStringLiteral("生产部"), 0});
    db->execute(QStringLiteral("insert into department(cDepCode,cDepName,bDepEnd) values(?,?,?)"),
                {QStringLiteral("0'2"), QStringLiteral("装配车间"), 1});
    auto rs = db->openRecordset(QStringLiteral("department"), RecordsetType::Dynaset, kReadOnly);
    rs->moveLast();
    ASSERT_TRUE(FindRecord(QStringLiteral("01"), *rs, QStringLiteral("cdepcode")));
    EXPECT_EQ(rs->field(QStringLiteral("cDepName")).toString(), QStringLiteral("生产部"));
    // A quote in the value is a value, not syntax.
    ASSERT_TRUE(FindRecord(QStringLiteral("0'2"), *rs, QStringLiteral("cDepCode")));
    EXPECT_EQ(rs->field(QStringLiteral("cDepName")).toString(), QStringLiteral("装配车间"));
    EXPECT_FALSE(FindRecord(QStringLiteral("0"), *rs, QStringLiteral("cDepCode")));
    EXPECT_FALSE(FindRecord(QStringLiteral("' or '1'='1"), *rs, QStringLiteral("cDepCode")));
}

QX_INSTANTIATE_BACKENDS(FindRecordTest);
