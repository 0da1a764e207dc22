// What printing writes: the one paint routine as PDF (read back with pdftotext), the CSV output,
// the scratch database of the print layout, and `qxprostru DB --pdf FILE --structure CODE`.

#include "platform/database.h"
#include "print/csv_output.h"
#include "print/layout_table.h"
#include "print/page_painter.h"
#include "print/print_commands.h"
#include "print/scratch_database.h"
#include "support/host_run.h"
#include "support/structure_window.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

using namespace qx;
using namespace qx::print;
using namespace qx::test;

namespace {

PrintJob sampleJob(int lineCount)
{
    PrintJob job;
    PrintHead head{QStringLiteral("产品结构"), QStringLiteral("P001"), QStringLiteral("电动自行车"),
                   QStringLiteral("26寸"), QStringLiteral("0301"), 2026, QDate(2026, 3, 9)};
    job.layout = headRows(head);
    job.columns = {{QStringLiteral("子项编码"), 1000, false},
                   {QStringLiteral("子项名称"), 1200, false},
                   {QStringLiteral("定额数量"), 800, true}};
    for (int i = 1; i <= lineCount; ++i)
        job.lines.push_back({QStringLiteral("C%1").arg(i, 3, 10, QLatin1Char('0')),
                             QStringLiteral("零件%1").arg(i), QStringLiteral("%1.00").arg(i)});
    return job;
}

class PrintOutput : public ::testing::Test {
protected:
    void SetUp() override
    {
        ensureApplication();
        ASSERT_TRUE(dir.isValid());
        if (QProcess::execute(QStringLiteral("pdftotext"), {QStringLiteral("-v")}) < 0)
            GTEST_SKIP() << "pdftotext (poppler-utils) is not installed";
    }
    QTemporaryDir dir;
};

}  // namespace

TEST_F(PrintOutput, LongStructureGoesOnOverPagesWithTheHeadRepeated)
{
    const QString file = dir.filePath(QStringLiteral("long.pdf"));
    ASSERT_TRUE(writePdf(file, sampleJob(120)));
    const QString text = pdfText(file);
    const int pages = int(text.count(QLatin1Char('\f')));
    EXPECT_GT(pages, 1);
    EXPECT_EQ(text.count(QStringLiteral("父产品编码：P001")), pages);
    EXPECT_EQ(text.count(QStringLiteral("子项编码")), pages);
    // Every line printed exactly once.
    for (int i = 1; i <= 120; ++i)
        EXPECT_EQ(text.count(QStringLiteral("C%1").arg(i, 3, 10, QLatin1Char('0'))), 1) << i;
}

TEST_F(PrintOutput, CsvIsUtf8WithBomHeadCaptionsAndQuotedLines)
{
    PrintJob job = sampleJob(2);
    job.lines.push_back({QStringLiteral("C,9"), QStringLiteral("名称\"甲\""), QStringLiteral("1.50")});
    const QString file = dir.filePath(QStringLiteral("out.csv"));
    ASSERT_TRUE(writeCsv(file, job));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray bytes = f.readAll();
    ASSERT_TRUE(bytes.startsWith("\xEF\xBB\xBF"));
    const QStringList records = QString::fromUtf8(bytes.mid(3)).split(QStringLiteral("\r\n"));
    // The eight texts of the head, an empty record, the captions, three lines.
    ASSERT_EQ(records.size(), 8 + 1 + 1 + 3 + 1);
    EXPECT_EQ(records[0], QStringLiteral("产品结构"));
    EXPECT_EQ(records[1], QStringLiteral("父产品编码：P001"));
    EXPECT_EQ(records[7], QStringLiteral("【岚禾软件】"));
    EXPECT_EQ(records[8], QString());
    EXPECT_EQ(records[9], QStringLiteral("子项编码,子项名称,定额数量"));
    EXPECT_EQ(records[10], QStringLiteral("C001,零件1,1.00"));
    EXPECT_EQ(records[12], QStringLiteral("\"C,9\",\"名称\"\"甲\"\"\",1.50"));
    EXPECT_EQ(records[13], QString());

    QString error;
    EXPECT_FALSE(writeCsv(dir.filePath(QStringLiteral("missing/x.csv")), job, &error));
    EXPECT_FALSE(error.isEmpty());
}

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
        ensureApplication();
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

namespace {

class PrintHost : public CompanyTest {
protected:
    void SetUp() override
    {
        CompanyTest::SetUp();
        if (IsSkipped()) return;
        if (hostExe().isEmpty())
            GTEST_SKIP() << "QXPROSTRU_EXE is not set (run the tests through ctest)";
        fillStructures(*db);
    }

    // No screen: the job must not need one.
    HostRun run(const QStringList& args)
    {
        return runHost(args,
                       {QStringLiteral("QX_SYSTEM_DIR=") + systemDir.filePath(QStringLiteral("sys")),
                        QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("DISPLAY"),
                        QStringLiteral("WAYLAND_DISPLAY")});
    }
};

}  // namespace

TEST_P(PrintHost, WritesThePageOfOneStructure)
{
    const QString pdf = systemDir.filePath(QStringLiteral("p3.pdf"));
    const HostRun r = run({connection, QStringLiteral("--pdf"), pdf, QStringLiteral("--structure"),
                           QStringLiteral("P3")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(errorLines(r.err).isEmpty()) << r.err.toStdString();
    const QString text = pdfText(pdf);
    for (const char* s : {"父产品编码：P3", "父产品名称：成品三", "使用部门编码：D1", "【岚禾软件】",
                          "C1", "零件一", "P2", "成品二"})
        EXPECT_TRUE(text.contains(QString::fromUtf8(s))) << s << "\n" << text.toStdString();
    EXPECT_FALSE(text.contains(QStringLiteral("零件二")));
    // Nothing of the company changed.
    EXPECT_EQ(countRows(*db, QStringLiteral("select count(*) from ProductStructures")), 5);
}

TEST_P(PrintHost, UnknownStructureExitsWithOneLine)
{
    const QString pdf = systemDir.filePath(QStringLiteral("none.pdf"));
    const HostRun r = run({connection, QStringLiteral("--pdf"), pdf, QStringLiteral("--structure"),
                           QStringLiteral("NOPE")});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_NE(r.exitCode, -1);
    EXPECT_EQ(errorLines(r.err), QStringList{QStringLiteral("产品结构不存在：NOPE")});
    EXPECT_FALSE(QFile::exists(pdf));

    // A file that cannot be written is named too.
    const QString bad = systemDir.filePath(QStringLiteral("no/such/dir/x.pdf"));
    const HostRun w = run({connection, QStringLiteral("--pdf"), bad, QStringLiteral("--structure"),
                           QStringLiteral("P1")});
    EXPECT_NE(w.exitCode, 0);
    EXPECT_EQ(errorLines(w.err), QStringList{QStringLiteral("无法写入文件 ") + bad +
                                             QStringLiteral("，请检查该文件能否写入后再试一次！")});
}

QX_INSTANTIATE_BACKENDS(PrintHost);
