// The host interface (QXProStru, Init, the open-recordset routine) and the qxprostru executable.

#include "data/schema.h"
#include "host/command_line.h"
#include "host/qxprostru.h"
#include "platform/database.h"
#include "platform/db_error.h"
#include "platform/prompter.h"
#include "platform/qt_translations.h"
#include "support/company.h"
#include "support/host_run.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <QTranslator>

using namespace qx;
using qx::test::BackendTest;

class HostTest : public BackendTest {};

// The real message boxes after the host's start-up loading: they ask and tell with the component's
// title, icon and buttons, and Qt's own texts (buttons, the edit fields' menu) read Chinese.
TEST(QtTranslations, MessageBoxesAskAndTellWithChineseButtonsAndEditMenu)
{
    test::ensureApplication();
    QTranslator* zh = installQtTranslations(*qApp);
    ASSERT_NE(zh, nullptr) << "qtbase_zh_CN.qm (qt6-translations-l10n) did not load";
    // "是(&Y)" shows as 是 with Y as its key.
    const auto shown = [](const QString& text) {
        return QString(text).remove(QRegularExpression(QStringLiteral("\\(&.\\)"))).remove('&');
    };
    Prompter& boxes = Prompter::current();  // no script: the test presses the real buttons
    struct Seen {
        QString title, text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QStringList buttons;
    } seen;
    auto press = [&](QMessageBox::StandardButton which) {
        QTimer::singleShot(0, [&seen, which, shown] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            seen = {box->windowTitle(), box->text(), box->icon(), {}};
            for (QAbstractButton* b : box->buttons()) seen.buttons << shown(b->text());
            seen.buttons.sort();
            box->button(which)->click();
        });
    };
    press(QMessageBox::Yes);
    EXPECT_TRUE(boxes.ask(QStringLiteral("确实要删除吗？"), QStringLiteral("提示！"),
                          Prompter::Icon::Question));
    EXPECT_EQ(seen.title, QStringLiteral("提示！"));
    EXPECT_EQ(seen.icon, QMessageBox::Question);
    EXPECT_EQ(seen.buttons, (QStringList{"否", "是"}));
    press(QMessageBox::No);
    EXPECT_FALSE(boxes.ask(QStringLiteral("问"), QStringLiteral("提示！"), Prompter::Icon::Information));
    EXPECT_EQ(seen.icon, QMessageBox::Information);
    press(QMessageBox::Ok);
    boxes.inform(QStringLiteral("该记录刚被他人删除！"), QStringLiteral("提示！"));
    EXPECT_EQ(seen.text, QStringLiteral("该记录刚被他人删除！"));
    EXPECT_EQ(seen.icon, QMessageBox::Information);
    EXPECT_EQ(seen.buttons, QStringList{"确定"});

    QLineEdit edit(QStringLiteral("P1"));
    std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    QStringList entries;
    for (QAction* a : menu->actions())
        if (!a->isSeparator()) entries << shown(a->text()).section(QLatin1Char('\t'), 0, 0);
    EXPECT_TRUE(entries.contains(QStringLiteral("复制"))) << entries.join(' ').toStdString();
    EXPECT_TRUE(entries.contains(QStringLiteral("粘贴"))) << entries.join(' ').toStdString();
    QCoreApplication::removeTranslator(zh);
    delete zh;
}

TEST_P(HostTest, InitOpensDynasetsOrSnapshotsAndKeepsTheHostsValues)
{
    auto db = test::openFreshDatabase(backend());
    schema::createDemoCompany(*db);
    ScriptedPrompter prompter;

    QXProStru host;
    ASSERT_TRUE(host.Init(*db, false));
    EXPECT_FALSE(host.ReadOnly());
    for (Recordset* rs : {host.parentRecords(), host.childRecords(), host.joinedRecords()}) {
        ASSERT_NE(rs, nullptr);
        EXPECT_EQ(rs->type(), RecordsetType::Dynaset);
    }
    EXPECT_EQ(host.parentRecords()->recordCount(), 12);
    EXPECT_EQ(host.childRecords()->recordCount(), 47);
    EXPECT_EQ(host.joinedRecords()->recordCount(), 47);
    // The child query is ordered by child code and carries the waste rate.
    EXPECT_EQ(host.childRecords()->field(QStringLiteral("cPSCode")).toString(), QStringLiteral("0201"));
    EXPECT_TRUE(host.childRecords()->hasField(QStringLiteral("iWasteRate")));

    ASSERT_TRUE(host.Init(*db, true));
    EXPECT_TRUE(host.ReadOnly());
    for (Recordset* rs : {host.parentRecords(), host.childRecords(), host.joinedRecords()}) {
        ASSERT_NE(rs, nullptr);
        EXPECT_EQ(rs->type(), RecordsetType::Snapshot);
    }
    EXPECT_FALSE(host.parentRecords()->updatable());

    EXPECT_TRUE(prompter.shown.empty());
}

TEST_P(HostTest, InitFailsQuietlyWithoutTheTablesItReads)
{
    ScriptedPrompter prompter;
    {
        auto db = test::openFreshDatabase(backend());
        schema::createCompany(*db);
        db->execute(QStringLiteral("drop table mom_order"));
        db->execute(QStringLiteral("drop table ProductStructures"));
        db->execute(QStringLiteral("drop table ProductStructure"));
        QXProStru host;
        EXPECT_FALSE(host.Init(*db, false));
        EXPECT_EQ(host.parentRecords(), nullptr);
        EXPECT_EQ(host.joinedRecords(), nullptr);
    }
    {
        auto db = test::openFreshDatabase(backend());
        schema::createCompany(*db);
        db->execute(QStringLiteral("drop table Inventory"));
        QXProStru host;
        EXPECT_FALSE(host.Init(*db, true));
        EXPECT_EQ(host.parentRecords(), nullptr);
        EXPECT_EQ(host.childRecords(), nullptr);
        EXPECT_NE(host.joinedRecords(), nullptr);  // it joins only the component's own tables
        EXPECT_TRUE(host.ReadOnly());
    }
    {
        auto db = test::openFreshDatabase(backend());
        QXProStru host;
        EXPECT_FALSE(host.Init(*db, false));
    }
    EXPECT_TRUE(prompter.shown.empty());
}

TEST_P(HostTest, OpenRecordsetGivesNothingOnAnyError)
{
    auto db = test::openFreshCompany(backend());
    EXPECT_EQ(OpenRecordset(*db, QStringLiteral("select * from NoSuchTable"), true, "x"), nullptr);
    EXPECT_EQ(OpenRecordset(*db, QStringLiteral("select cInvCode from Inventory where cInvCode='"), false, "x"),
              nullptr);
    EXPECT_EQ(OpenRecordset(*db, QStringLiteral("nosuchtable"), false, "x"), nullptr);
    auto ok = OpenRecordset(*db, QStringLiteral("select cInvCode from Inventory"), true, "x");
    ASSERT_NE(ok, nullptr);
    EXPECT_EQ(ok->type(), RecordsetType::Snapshot);
    EXPECT_TRUE(ok->bof() && ok->eof());
}

QX_INSTANTIATE_BACKENDS(HostTest);

TEST(HostCommandLine, AcceptsTheDocumentedForms)
{
    auto main = parseCommandLine({"--read-only", "sqlite:/tmp/a.db"});
    ASSERT_TRUE(main.command) << main.error.toStdString();
    EXPECT_EQ(main.command->job, CommandLine::Job::Main);
    EXPECT_TRUE(main.command->readOnly);
    EXPECT_EQ(main.command->database, "sqlite:/tmp/a.db");
    EXPECT_TRUE(main.command->wantsWindow());

    // --screenshot, --card, --new-card, --pdf and --structure: see the card and print host tests.
    auto cc = parseCommandLine({"check-cycle", "postgresql://u@/db?host=/s", "A'B", "C"});
    ASSERT_TRUE(cc.command);
    EXPECT_EQ(cc.command->job, CommandLine::Job::CheckCycle);
    EXPECT_EQ(cc.command->parent, "A'B");
    EXPECT_EQ(cc.command->child, "C");
    // No database: the list window on the default demo company.
    auto none = parseCommandLine({"--read-only"});
    ASSERT_TRUE(none.command);
    EXPECT_EQ(none.command->job, CommandLine::Job::Main);
    EXPECT_TRUE(none.command->database.isEmpty());
    EXPECT_EQ(parseCommandLine({"demo", "d.db"}).command->job, CommandLine::Job::Demo);
    EXPECT_EQ(parseCommandLine({"verify", "d.db"}).command->job, CommandLine::Job::Verify);
    // A database file that happens to be called like a job goes after "--".
    auto named = parseCommandLine({"--", "demo"});
    ASSERT_TRUE(named.command);
    EXPECT_EQ(named.command->job, CommandLine::Job::Main);
    EXPECT_EQ(named.command->database, "demo");
}

TEST(HostCommandLine, RefusesWhatDoesNotFitWithAMessageNamingIt)
{
    auto refused = [](const QStringList& args) {
        auto r = parseCommandLine(args);
        EXPECT_FALSE(r.command) << args.join(' ').toStdString();
        return r.error;
    };
    EXPECT_EQ(refused({""}), "命令行不正确：缺少数据库");
    EXPECT_EQ(refused({"a.db", "--card", "X"}), "命令行不正确：选项 --card 须与 --screenshot 同用");
    EXPECT_EQ(refused({"a.db", "--screenshot", "x.png", "--card", "X", "--new-card"}),
              "命令行不正确：选项 --card 与 --new-card 不能同用");
    EXPECT_EQ(refused({"a.db", "--new-card"}), "命令行不正确：选项 --new-card 须与 --screenshot 同用");
    EXPECT_EQ(refused({"a.db", "--pdf", "o.pdf"}), "命令行不正确：选项 --pdf 须与 --structure 同用");
    EXPECT_EQ(refused({"a.db", "--structure", "0101"}), "命令行不正确：选项 --structure 须与 --pdf 同用");
    EXPECT_EQ(refused({"a.db", "--pdf", "o.pdf", "--structure", "0101", "--screenshot", "x.png"}),
              "命令行不正确：选项 --pdf 与 --screenshot 不能同用");
    EXPECT_EQ(refused({"a.db", "--screenshot"}), "命令行不正确：选项 --screenshot 缺少取值");
    EXPECT_EQ(refused({"a.db", "--colour"}), "命令行不正确：不认识的选项 --colour");
    EXPECT_EQ(refused({"a.db", "--read-only", "--read-only"}), "命令行不正确：选项 --read-only 重复");
    EXPECT_EQ(refused({"a.db", "b.db"}), "命令行不正确：qxprostru 的参数个数不对");
    EXPECT_EQ(refused({"check-cycle", "a.db", "P"}), "命令行不正确：check-cycle 的参数个数不对");
    EXPECT_EQ(refused({"verify", "--read-only", "a.db"}), "命令行不正确：选项 --read-only 不能用于 verify");
    EXPECT_EQ(refused({"demo"}), "命令行不正确：demo 的参数个数不对");
}

// The built executable, run as the people who look after company databases run it.
class HostExecutable : public BackendTest {
protected:
    using Run = test::HostRun;
    Run run(const QStringList& args) { return test::runHost(args); }

    // A company database to run on: a new file, or a new empty PostgreSQL database.
    QString freshConnection()
    {
        if (backend() == test::TestBackend::Sqlite) return QStringLiteral("sqlite:") + dir.filePath("company.db");
        QString connection;
        test::openFreshDatabase(backend(), &connection);
        return connection;
    }

    QTemporaryDir dir;
};

TEST_P(HostExecutable, DemoThenVerifyAndCheckCycleAnswerByExitStatus)
{
    const QString db = freshConnection();
    Run demo = run({"demo", db});
    ASSERT_EQ(demo.exitCode, 0) << demo.err.toStdString();
    EXPECT_TRUE(demo.out.startsWith("演示账套已建立：")) << demo.out.toStdString();
    Run again = run({"demo", db});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_TRUE(again.out.startsWith("演示账套已存在，未作改动：")) << again.out.toStdString();

    Run clean = run({"verify", db});
    EXPECT_EQ(clean.exitCode, 0) << clean.out.toStdString();
    EXPECT_EQ(clean.out.trimmed(), "产品结构数据完整，未发现问题");

    // The aluminium is below the bicycle: placing the bicycle under it closes a loop.
    Run cycle = run({"check-cycle", db, "0407", "0101"});
    EXPECT_EQ(cycle.exitCode, 1) << cycle.err.toStdString();
    EXPECT_EQ(cycle.out.trimmed(), "循环：0101 放在 0407 之下会出现循环调用");
    Run allowed = run({"check-cycle", db, "0101", "0407"});
    EXPECT_EQ(allowed.exitCode, 0) << allowed.err.toStdString();
    EXPECT_EQ(allowed.out.trimmed(), "允许：0407 可作为 0101 的子项");
    EXPECT_EQ(run({"check-cycle", db, "0101", "0101"}).exitCode, 1);
    // A product under itself in other letter case: refused, as the card refuses it.
    Run himself = run({"check-cycle", db, "a1", "A1"});
    EXPECT_EQ(himself.exitCode, 1) << himself.out.toStdString();
    EXPECT_EQ(himself.out.trimmed(), "循环：A1 放在 a1 之下会出现循环调用");
    EXPECT_EQ(run({"check-cycle", db, "0407", "x' or '1'='1"}).exitCode, 0);

    // Damage it through a connection of our own: a line to a vanished item.
    {
        auto conn = Database::open(db);
        conn->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values(?,?,?)"),
                      {"0102", "GONE", 1.0});
    }
    Run damaged = run({"verify", db});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_EQ(damaged.out.split('\n', Qt::SkipEmptyParts),
              (QStringList{"子项存货不存在：父项 0102 子项 GONE", "共发现 1 个问题"}));
}

TEST_P(HostExecutable, FailuresAreOneLineOnStandardErrorAndANonZeroExit)
{
    auto oneLine = [](const Run& r) {
        EXPECT_NE(r.exitCode, 0);
        EXPECT_NE(r.exitCode, 1) << "1 is the answer 'cycle', not a failure";
        EXPECT_EQ(r.err.trimmed().count('\n'), 0) << r.err.toStdString();
        EXPECT_FALSE(r.err.trimmed().isEmpty());
        return r.err.trimmed();
    };
    const QString db = freshConnection();
    // A company without the component's tables: Init fails.
    {
        auto conn = Database::open(db);
        conn->execute(QStringLiteral("create table unrelated (a integer)"));
    }
    EXPECT_EQ(oneLine(run({db})), "不能打开产品结构数据（Inventory、ProductStructure、ProductStructures）");
    EXPECT_TRUE(oneLine(run({"verify", db})).size() > 0);
    EXPECT_TRUE(oneLine(run({"check-cycle", db, "A", "B"})).size() > 0);
    EXPECT_TRUE(oneLine(run({"--colour", db})).startsWith("命令行不正确："));

    if (backend() == test::TestBackend::Sqlite) {
        const QString missing = dir.filePath("none.db");
        EXPECT_EQ(oneLine(run({"verify", "sqlite:" + missing})), "不能打开数据库 " + missing + "：文件不存在");
        EXPECT_FALSE(QFile::exists(missing));
        EXPECT_FALSE(oneLine(run({"demo", "sqlite:" + dir.filePath("no/such/dir/x.db")})).isEmpty());
    } else {
        const Run r = run({"verify", "postgresql://nobody@/nosuchdb?host=" + dir.path()});
        EXPECT_TRUE(oneLine(r).contains(dir.path())) << r.err.toStdString();
    }
}

QX_INSTANTIATE_BACKENDS(HostExecutable);

// The host executable renders the card: `--screenshot PNG --card CODE` and `--new-card`.
TEST(HostCard, RendersTheCardOfAStructureAndANewCard)
{
    if (test::hostExe().isEmpty()) GTEST_SKIP() << "QXPROSTRU_EXE is not set (ctest sets it)";
    QTemporaryDir dir;
    const QString db = dir.filePath(QStringLiteral("demo.db"));
    ASSERT_EQ(test::runHost({QStringLiteral("demo"), db}).exitCode, 0);

    const QString card = dir.filePath(QStringLiteral("card.png"));
    const test::HostRun shown = test::runHost({db, QStringLiteral("--screenshot"), card,
                                   QStringLiteral("--card"), QStringLiteral("0101")});
    EXPECT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    EXPECT_GT(QImage(card).width(), 300);

    const QString fresh = dir.filePath(QStringLiteral("new.png"));
    EXPECT_EQ(
        test::runHost({db, QStringLiteral("--screenshot"), fresh, QStringLiteral("--new-card")}).exitCode,
        0);
    EXPECT_FALSE(QImage(fresh).isNull());

    const QString none = dir.filePath(QStringLiteral("none.png"));
    const test::HostRun unknown = test::runHost({db, QStringLiteral("--screenshot"), none,
                                     QStringLiteral("--card"), QStringLiteral("NOPE")});
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("NOPE"))) << unknown.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(none));
}
