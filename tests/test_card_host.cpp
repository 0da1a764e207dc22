// The host executable renders the card: `--screenshot PNG --card CODE` and `--new-card`.

#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct HostRun {
    int exitCode = -1;
    QString err;
};

HostRun run(const QString& exe, const QStringList& args)
{
    QProcess p;
    p.start(exe, args);
    p.waitForFinished(120000);
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromUtf8(p.readAllStandardError())};
}

TEST(CardHost, RendersTheCardOfAStructureAndANewCard)
{
    const QString exe = qEnvironmentVariable("QXPROSTRU_EXE");
    if (exe.isEmpty() || !QFileInfo(exe).isExecutable())
        GTEST_SKIP() << "QXPROSTRU_EXE does not name the host executable (ctest sets it)";
    QTemporaryDir dir;
    const QString db = dir.filePath(QStringLiteral("demo.db"));
    ASSERT_EQ(run(exe, {QStringLiteral("demo"), db}).exitCode, 0);

    const QString card = dir.filePath(QStringLiteral("card.png"));
    const HostRun shown = run(exe, {db, QStringLiteral("--screenshot"), card,
                                    QStringLiteral("--card"), QStringLiteral("0101")});
    EXPECT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    const QImage picture(card);
    EXPECT_FALSE(picture.isNull());
    EXPECT_GT(picture.width(), 300);

    const QString fresh = dir.filePath(QStringLiteral("new.png"));
    EXPECT_EQ(run(exe, {db, QStringLiteral("--screenshot"), fresh, QStringLiteral("--new-card")})
                  .exitCode,
              0);
    EXPECT_FALSE(QImage(fresh).isNull());

    const QString none = dir.filePath(QStringLiteral("none.png"));
    const HostRun unknown = run(exe, {db, QStringLiteral("--screenshot"), none,
                                      QStringLiteral("--card"), QStringLiteral("NOPE")});
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("NOPE"))) << unknown.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(none));
}

}  // namespace
