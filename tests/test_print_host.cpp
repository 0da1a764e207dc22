// `qxprostru DB --pdf FILE --structure CODE`: the printed page of one structure, no window.

#include "support/structure_window.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

using namespace qx;
using namespace qx::test;

namespace {

struct ExeRun {
    int exitCode = -1;
    QString out;
    QString err;
};

class PrintHost : public BackendTest {
protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        if (IsSkipped()) return;
        exe = qEnvironmentVariable("QXPROSTRU_EXE");
        if (exe.isEmpty()) GTEST_SKIP() << "QXPROSTRU_EXE is not set (run the tests through ctest)";
        ASSERT_TRUE(dir.isValid());
        db = openFreshCompany(backend(), &connection);
        fillStructures(*db);
    }

    ExeRun run(const QStringList& args)
    {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QX_SYSTEM_DIR"), dir.filePath(QStringLiteral("sys")));
        // No screen: the job must not need one.
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        p.setProcessEnvironment(env);
        p.start(exe, args);
        ExeRun r;
        if (!p.waitForFinished(120000)) return r;
        r.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
        r.out = QString::fromUtf8(p.readAllStandardOutput());
        r.err = QString::fromUtf8(p.readAllStandardError());
        return r;
    }

    QString exe;
    QTemporaryDir dir;
    QString connection;
    std::unique_ptr<Database> db;
};

QString pdfText(const QString& file)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")});
    p.waitForFinished(30000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

// Qt's own notices (runtime directory and the like) are not the job's error line.
QStringList errorLines(const QString& err)
{
    QStringList lines;
    for (const QString& l : err.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        if (!l.startsWith(QLatin1String("QStandardPaths:"))) lines << l;
    return lines;
}

}  // namespace

TEST_P(PrintHost, WritesThePageOfOneStructure)
{
    const QString pdf = dir.filePath(QStringLiteral("p3.pdf"));
    const ExeRun r = run({connection, QStringLiteral("--pdf"), pdf, QStringLiteral("--structure"),
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
    const ExeRun r = run({connection, QStringLiteral("--pdf"), pdf, QStringLiteral("--structure"),
                       QStringLiteral("NOPE")});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_NE(r.exitCode, -1);
    EXPECT_EQ(errorLines(r.err), QStringList{QStringLiteral("产品结构不存在：NOPE")});
    EXPECT_FALSE(QFile::exists(pdf));

    // A file that cannot be written is named too.
    const QString bad = dir.filePath(QStringLiteral("no/such/dir/x.pdf"));
    const ExeRun w = run({connection, QStringLiteral("--pdf"), bad, QStringLiteral("--structure"),
                       QStringLiteral("P1")});
    EXPECT_NE(w.exitCode, 0);
    EXPECT_EQ(errorLines(w.err), QStringList{QStringLiteral("无法写入文件 ") + bad +
                                             QStringLiteral("，请检查该文件能否写入后再试一次！")});
}

QX_INSTANTIATE_BACKENDS(PrintHost);
