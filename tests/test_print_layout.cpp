// The print layout table: the scratch database made afresh at every loading, and the head rows
// written all or nothing.

#include "platform/database.h"
#include "print/layout_table.h"
#include "print/scratch_database.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace qx;
using namespace qx::print;

namespace {

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

TEST_F(PrintLayout, WritingIsAllOrNothing)
{
    auto scratch = openScratchDatabase(dir.path());
    const QString t = QStringLiteral("TempPrint_150120000");
    createLayoutTable(*scratch, t);
    auto rows = headRows({QStringLiteral("产品结构"), QStringLiteral("P001"), QStringLiteral("车"),
                          QStringLiteral("26寸"), QStringLiteral("0301"), 2026, QDate(2026, 3, 9)});
    ASSERT_GE(rows.size(), 7u);
    // The font name column holds 50 characters: a longer one is refused by the database...
    rows[6].cFontName = QString(51, QLatin1Char('x'));
    EXPECT_THROW(writeLayoutRows(*scratch, t, rows), DbError);
    // ...and the rows before it are not left behind.
    EXPECT_TRUE(readLayoutTable(*scratch, t).empty());
    // A table name that is not one of ours is never put into a statement.
    EXPECT_THROW(createLayoutTable(*scratch, QStringLiteral("TempPrint_1; drop table x")), DbError);
}
