// The one paint routine as PDF (read back with pdftotext and pdfinfo) and the CSV output.

#include "print/csv_output.h"
#include "print/layout_table.h"
#include "print/page_painter.h"
#include "print/print_commands.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace qx;
using namespace qx::print;

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

QString run(const QString& program, const QStringList& args)
{
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(30000) || p.exitCode() != 0) return QString();
    return QString::fromUtf8(p.readAllStandardOutput());
}

int pdfPages(const QString& file)
{
    const auto m = QRegularExpression(QStringLiteral("Pages:\\s+(\\d+)"))
                       .match(run(QStringLiteral("pdfinfo"), {file}));
    return m.hasMatch() ? m.captured(1).toInt() : -1;
}

QString pdfText(const QString& file)
{
    return run(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")});
}

class PrintOutput : public ::testing::Test {
protected:
    void SetUp() override
    {
        test::ensureApplication();
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
    const int pages = pdfPages(file);
    EXPECT_GT(pages, 1);
    const QString text = pdfText(file);
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
