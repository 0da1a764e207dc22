// The host executable renders the card: `--screenshot PNG --card CODE` and `--new-card`.

#include "support/host_run.h"

#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qx::test;

TEST(CardHost, RendersTheCardOfAStructureAndANewCard)
{
    if (hostExe().isEmpty()) GTEST_SKIP() << "QXPROSTRU_EXE is not set (ctest sets it)";
    QTemporaryDir dir;
    const QString db = dir.filePath(QStringLiteral("demo.db"));
    ASSERT_EQ(runHost({QStringLiteral("demo"), db}).exitCode, 0);

    const QString card = dir.filePath(QStringLiteral("card.png"));
    const HostRun shown = runHost({db, QStringLiteral("--screenshot"), card,
                                   QStringLiteral("--card"), QStringLiteral("0101")});
    EXPECT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    EXPECT_GT(QImage(card).width(), 300);

    const QString fresh = dir.filePath(QStringLiteral("new.png"));
    EXPECT_EQ(
        runHost({db, QStringLiteral("--screenshot"), fresh, QStringLiteral("--new-card")}).exitCode,
        0);
    EXPECT_FALSE(QImage(fresh).isNull());

    const QString none = dir.filePath(QStringLiteral("none.png"));
    const HostRun unknown = runHost({db, QStringLiteral("--screenshot"), none,
                                     QStringLiteral("--card"), QStringLiteral("NOPE")});
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("NOPE"))) << unknown.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(none));
}
