// `qxprostru DB --pdf FILE --structure CODE`: the printed page of one structure, no window.

#include "support/host_run.h"
#include "support/structure_window.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

using namespace qx;
using namespace qx::test;

namespace {

class PrintHost : public BackendTest {
protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        if (IsSkipped()) return;
        if (hostExe().isEmpty())
            GTEST_SKIP() << "QXPROSTRU_EXE is not set (run the tests through ctest)";
        ASSERT_TRUE(dir.isValid());
        db = openFreshCompany(backend(), &connection);
        fillStructures(*db);
    }

    // No screen: the job must not need one.
    HostRun run(const QStringList& args)
    {
        return runHost(args,
                       {QStringLiteral("QX_SYSTEM_DIR=") + dir.filePath(QStringLiteral("sys")),
                        QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("DISPLAY"),
                        QStringLiteral("WAYLAND_DISPLAY")});
    }

    QTemporaryDir dir;
    QString connection;
    std::unique_ptr<Database> db;
};

}  // namespace

TEST_P(PrintHost, WritesThePageOfOneStructure)
{
    const QString pdf = dir.filePath(QStringLiteral("p3.pdf"));
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
    const QString pdf = dir.filePath(QStringLiteral("none.pdf"));
    const HostRun r = run({connection, QStringLiteral("--pdf"), pdf, QStringLiteral("--structure"),
                           QStringLiteral("NOPE")});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_NE(r.exitCode, -1);
    EXPECT_EQ(errorLines(r.err), QStringList{QStringLiteral("产品结构不存在：NOPE")});
    EXPECT_FALSE(QFile::exists(pdf));

    // A file that cannot be written is named too.
    const QString bad = dir.filePath(QStringLiteral("no/such/dir/x.pdf"));
    const HostRun w = run({connection, QStringLiteral("--pdf"), bad, QStringLiteral("--structure"),
                           QStringLiteral("P1")});
    EXPECT_NE(w.exitCode, 0);
    EXPECT_EQ(errorLines(w.err), QStringList{QStringLiteral("无法写入文件 ") + bad +
                                             QStringLiteral("，请检查该文件能否写入后再试一次！")});
}

QX_INSTANTIATE_BACKENDS(PrintHost);
