#include "platform/host_facts.h"
#include "platform/prompter.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>

#include <unistd.h>

using namespace qx;

namespace {

struct EnvGuard {
    explicit EnvGuard(const char* name) : name_(name), old_(qgetenv(name)), had_(qEnvironmentVariableIsSet(name)) {}
    ~EnvGuard()
    {
        if (had_)
            qputenv(name_, old_);
        else
            qunsetenv(name_);
    }
    const char* name_;
    QByteArray old_;
    bool had_;
};

TEST(HostFacts, ComputerNameIsCutTo30BytesOnAWholeCharacter)
{
    EnvGuard guard("QX_COMPUTER_NAME");
    const QString han14 = QString(14, QChar(0x5de5));  // 28 bytes
    qputenv("QX_COMPUTER_NAME", (han14 + QStringLiteral("ab") + QStringLiteral("c")).toUtf8());
    EXPECT_EQ(computerName(), han14 + QStringLiteral("ab"));
    // The 15th Chinese character would straddle byte 30: left out whole.
    qputenv("QX_COMPUTER_NAME", (han14 + QStringLiteral("a") + QChar(0x4e2d)).toUtf8());
    EXPECT_EQ(computerName(), han14 + QStringLiteral("a"));
    qputenv("QX_COMPUTER_NAME", "WS-B");
    EXPECT_EQ(computerName(), QStringLiteral("WS-B"));

    qunsetenv("QX_COMPUTER_NAME");
    char host[256] = {};
    ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
    EXPECT_EQ(computerName(), QString::fromLocal8Bit(host).left(30));
}

TEST(Prompter, MessageBoxesAskAndTellWithTheirButtons)
{
    qx::test::ensureApplication();
    // Without a script the real boxes answer: the test presses their buttons.
    Prompter& boxes = Prompter::current();
    struct Seen {
        QString title, text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QMessageBox::StandardButtons buttons;
    } seen;
    auto press = [&](QMessageBox::StandardButton which) {
        QTimer::singleShot(0, [&seen, which] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            seen = {box->windowTitle(), box->text(), box->icon(), box->standardButtons()};
            box->button(which)->click();
        });
    };
    press(QMessageBox::Yes);
    EXPECT_TRUE(boxes.ask(QStringLiteral("确实要删除吗？"), QStringLiteral("提示！"), Prompter::Icon::Question));
    EXPECT_EQ(seen.title, QStringLiteral("提示！"));
    EXPECT_EQ(seen.icon, QMessageBox::Question);
    EXPECT_EQ(seen.buttons, QMessageBox::Yes | QMessageBox::No);
    press(QMessageBox::No);
    EXPECT_FALSE(boxes.ask(QStringLiteral("问"), QStringLiteral("提示！"), Prompter::Icon::Information));
    EXPECT_EQ(seen.icon, QMessageBox::Information);
    press(QMessageBox::Ok);
    boxes.inform(QStringLiteral("该记录刚被他人删除！"), QStringLiteral("提示！"));
    EXPECT_EQ(seen.text, QStringLiteral("该记录刚被他人删除！"));
    EXPECT_EQ(seen.icon, QMessageBox::Information);
    EXPECT_EQ(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

}  // namespace
