// The print layout table: the scratch database, its eleven fields and the ten head rows, written
// all or nothing.

#include "platform/database.h"
#include "platform/prompter.h"
#include "print/layout_table.h"
#include "print/print_commands.h"
#include "print/scratch_database.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace qx;
using namespace qx::print;

namespace {

PrintSource sampleSource(const QString& parentName = QStringLiteral("电动自行车"))
{
    PrintSource s;
    s.head = {QStringLiteral("产品结构"), QStringLiteral("P001"), parentName,
              QStringLiteral("26寸"), QStringLiteral("0301"), 2026, QDate(2026, 3, 9)};
    s.columns = {{QStringLiteral("子项编码"), 1000, false}, {QStringLiteral("定额数量"), 800, true}};
    s.lines = {{QStringLiteral("C01"), QStringLiteral("2.00")}};
    return s;
}

// The rows as the layout table must hold them for sampleSource().
std::vector<LayoutRow> expectedRows()
{
    const QString b = QStringLiteral(" ");
    const QString f = QStringLiteral("宋体");
    return {
        {2, 0, 0, 9012, 2252, b, 12, b, 0, 0, b},
        {2, 50, 8000, 9012, 2250, b, 0, b, 1, 0, b},
        {0, 3500, 500, 6000, 350, f, 14, QStringLiteral("产品结构"), 0, 0, QStringLiteral("BU")},
        {0, 2500, 1150, 6000, 250, f, 10, QStringLiteral("父产品编码：P001"), 0, 0, b},
        {0, 2500, 1425, 6000, 250, f, 10, QStringLiteral("父产品名称：电动自行车"), 0, 0, b},
        {0, 2500, 1700, 6000, 200, f, 10, QStringLiteral("规格型号：26寸"), 0, 0, b},
        {0, 2500, 2000, 6000, 200, f, 10, QStringLiteral("使用部门编码：0301"), 0, 0, b},
        {0, 3700, 900, 6000, 250, f, 10, QStringLiteral("2026年度"), 0, 0, b},
        {0, 5900, 100, 4000, 250, f, 10, QStringLiteral("打印日期：2026.03.09"), 0, 1, b},
        {0, 7100, 400, 3000, 250, f, 10, QStringLiteral("【岚禾软件】"), 0, 1, b},
    };
}

QStringList layoutTables(Database& scratch)
{
    QStringList names;
    auto rs = scratch.openRecordset(
        QStringLiteral("select name from sqlite_master where type='table' and name like ?"),
        RecordsetType::Snapshot, 0, {QStringLiteral("TempPrint_%")});
    for (rs->moveFirst(); !rs->eof(); rs->moveNext()) names << rs->field(0).toString();
    return names;
}

class PrintLayout : public ::testing::Test {
protected:
    void SetUp() override
    {
        test::ensureApplication();
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(prepareScratchDatabase(dir.path()));
    }
    QTemporaryDir dir;
};

}  // namespace

TEST_F(PrintLayout, ScratchDatabaseIsRecreatedAtEveryLoading)
{
    const QString path = scratchDatabasePath(dir.path());
    EXPECT_TRUE(path.endsWith(QStringLiteral("/qxinit.mdb")));
    ASSERT_TRUE(QFile::exists(path));
    {
        auto scratch = openScratchDatabase(dir.path());
        createLayoutTable(*scratch, QStringLiteral("TempPrint_100000000"));
        ASSERT_EQ(layoutTables(*scratch).size(), 1);
    }
    ASSERT_TRUE(prepareScratchDatabase(dir.path()));
    auto scratch = openScratchDatabase(dir.path());
    EXPECT_TRUE(layoutTables(*scratch).isEmpty());
}

TEST_F(PrintLayout, RowsWrittenReadBackAsThePaintRoutineGetsThem)
{
    ScriptedPrompter prompter;
    QString table;
    const auto job = prepareJob(sampleSource(), dir.path(), &table);
    ASSERT_TRUE(job.has_value());
    EXPECT_TRUE(prompter.shown.empty());

    // Read back from the file through a connection of its own.
    auto scratch = Database::open(QStringLiteral("sqlite:") + scratchDatabasePath(dir.path()));
    ASSERT_EQ(layoutTables(*scratch), QStringList{table});
    const auto expected = expectedRows();
    EXPECT_EQ(readLayoutTable(*scratch, table), expected);
    // What the paint routine gets is what the table holds.
    EXPECT_EQ(job->layout, expected);
}

TEST_F(PrintLayout, WritingIsAllOrNothing)
{
    auto scratch = openScratchDatabase(dir.path());
    const QString t = QStringLiteral("TempPrint_150120000");
    createLayoutTable(*scratch, t);
    auto rows = expectedRows();
    // The font name column holds 50 characters: a longer one is refused by the database...
    rows[6].cFontName = QString(51, QLatin1Char('x'));
    EXPECT_THROW(writeLayoutRows(*scratch, t, rows), DbError);
    // ...and the rows before it are not left behind.
    EXPECT_TRUE(readLayoutTable(*scratch, t).empty());
    // A table name that is not one of ours is never put into a statement.
    EXPECT_THROW(createLayoutTable(*scratch, QStringLiteral("TempPrint_1; drop table x")), DbError);
}
