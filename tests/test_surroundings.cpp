// Faults of the surroundings, one test group per fault: a mistyped company path, a company that
// cannot be written, a server that restarts or a company file that vanishes under an open card,
// and a full disk.

#include "card/card_columns.h"
#include "card/frm_pro_stru.h"
#include "card/save_structure.h"
#include "data/schema.h"
#include "host/company_open.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/database.h"
#include "platform/grid.h"
#include "platform/grid_view.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "shared/line_grid.h"
#include "shared/record_lock.h"
#include "support/card_fixture.h"
#include "support/company.h"
#include "support/host_run.h"
#include "support/structure_window.h"
#include "support/throwaway_server.h"

#include <QAction>
#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace qx;
using namespace qx::test;

namespace {

const QString kLost = "与账套数据库的连接已断开，所填内容仍然保留，请稍后再试！";
const QString kFull = "磁盘空间不足，数据没有写入，请清理磁盘后再试！";

double quantity(Database& db, const QString& parent, const QString& child)
{
    return firstValue(db, "select iPSQuantity from ProductStructures where cPSPCode=? and cPSCode=?",
                      {parent, child}).toDouble();
}

// The list window over a company, as the host hands it over.
struct ListOnCompany {
    QXProStru host;
    std::unique_ptr<FrmPS> owned;
    FrmPS& window;
    ListOnCompany(Database& db, bool readOnly = false, bool unwritable = false)
        : owned(openList(db, host, readOnly, unwritable)), window(*owned)
    {
    }
    bool select(const QString& code)
    {
        Grid& parents = *window.SupPS1();
        for (int r = 1; r < parents.rows(); ++r) {
            if (parents.textMatrix(r, 0).trimmed() != code) continue;
            parents.setRow(r);
            return true;
        }
        return false;
    }
    // Edit on the structure of `code` opens the card only to view.
    bool editOnlyViews(const QString& code)
    {
        bool viewed = false;
        window.showCard = [&](FrmProStru& card) { viewed = !card.editable(); };
        if (select(code)) window.dispatch(QStringLiteral("ButEdit"));
        return viewed;
    }
};

QByteArray fileHash(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return {};
    return QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// A company path that names no file

TEST(MissingCompanyFile, IsAnErrorNeverADemoAndTheDemoComesOnlyWhenAsked)
{
    QTemporaryDir dir, runtime, data;
    const QStringList env{"XDG_RUNTIME_DIR=" + runtime.path(), "XDG_DATA_HOME=" + data.path(),
                          "QX_SYSTEM_DIR=" + dir.filePath("sys"), "QT_QPA_PLATFORM=offscreen"};
    const QString typo = dir.filePath("compnay.db");
    const QString png = dir.filePath("list.png");
    const QString expected = "不能打开数据库 " + typo + "：文件不存在";
    for (const QStringList& args :
         {QStringList{"sqlite:" + typo, "--screenshot", png},
          QStringList{typo, "--screenshot", png},
          QStringList{"--read-only", "sqlite:" + typo, "--screenshot", png},
          QStringList{"sqlite:" + typo, "--pdf", dir.filePath("o.pdf"), "--structure", "0101"},
          QStringList{"verify", "sqlite:" + typo}, QStringList{"check-cycle", typo, "A", "B"}}) {
        const HostRun r = runHost(args, env);
        EXPECT_EQ(r.exitCode, 2) << args.join(' ').toStdString();
        EXPECT_EQ(r.err.trimmed(), expected) << args.join(' ').toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
        EXPECT_FALSE(QFile::exists(typo));
        EXPECT_FALSE(QFile::exists(png));
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 0);

    // Asked for by name.
    const HostRun demo = runHost({"demo", "sqlite:" + typo}, env);
    EXPECT_EQ(demo.exitCode, 0) << demo.err.toStdString();
    EXPECT_TRUE(QFile::exists(typo));

    // No database named: the demo company of the user's data directory, made on first run only.
    const QString demoFile = data.filePath("qxprostru/demo-company.db");
    const HostRun first = runHost({"--screenshot", png}, env);
    EXPECT_EQ(first.exitCode, 0) << first.err.toStdString();
    EXPECT_EQ(first.out.trimmed(), "演示账套已建立：sqlite:" + demoFile);
    ASSERT_TRUE(QFile::exists(demoFile));
    EXPECT_TRUE(QFile::exists(png));
    {
        // Emptied: a run that made the demo again would fill it.
        auto db = Database::open("sqlite:" + demoFile);
        for (const char* table : {"mom_order", "ProductStructures", "ProductStructure"})
            db->execute("delete from " + QString::fromLatin1(table));
    }
    const HostRun second = runHost({"--screenshot", png}, env);
    EXPECT_EQ(second.exitCode, 0) << second.err.toStdString();
    EXPECT_TRUE(second.out.trimmed().isEmpty()) << second.out.toStdString();
    auto db = Database::open("sqlite:" + demoFile);
    EXPECT_EQ(countRows(*db, "select count(*) from ProductStructure"), 0)
        << "the second run opened the company as it was, without making it again";
}

// ---------------------------------------------------------------------------------------------
// A company that cannot be written

// A company file the user may read but not write, in a directory the user cannot write (an
// archived year): --read-only and the plain opening both show, print and render it, and nothing
// beside it is made or changed.
TEST(UnwritableCompany, AFileOthersOwnOpensForReadingWithoutWritingAnything)
{
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to run the program as another user";
    QTemporaryDir archive, work;
    ASSERT_TRUE(archive.isValid() && work.isValid());
    const QString file = archive.filePath("company.db");
    {
        auto db = Database::open("sqlite:" + file);
        schema::createDemoCompany(*db);
    }
    QFile::setPermissions(archive.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                                              QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                              QFileDevice::ExeOther);
    const QStringList before = QDir(archive.path()).entryList(QDir::Files);
    ASSERT_EQ(before, QStringList{"company.db"});
    const QByteArray hash = fileHash(file);
    // The other user's own places: a runtime directory, the component's data directory, output.
    QDir(work.path()).mkpath("run");
    QDir(work.path()).mkpath("sys");
    QProcess::execute("chown", {"-R", "nobody", work.path()});
    QFile::setPermissions(work.filePath("run"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const QStringList env{"XDG_RUNTIME_DIR=" + work.filePath("run"), "HOME=" + work.path(),
                          "QX_SYSTEM_DIR=" + work.filePath("sys"), "QT_QPA_PLATFORM=offscreen"};
    const QString company = "sqlite:" + file;
    const QString nobody = "nobody";

    const HostRun asked =
        runHost({"--read-only", company, "--screenshot", work.filePath("ro.png")}, env, nobody);
    EXPECT_EQ(asked.exitCode, 0) << asked.err.toStdString();
    EXPECT_TRUE(asked.out.trimmed().isEmpty()) << asked.out.toStdString();
    EXPECT_TRUE(QFile::exists(work.filePath("ro.png")));

    const HostRun card = runHost(
        {"--read-only", company, "--screenshot", work.filePath("card.png"), "--card", "0101"}, env,
        nobody);
    EXPECT_EQ(card.exitCode, 0) << card.err.toStdString();

    // Not asked: opened for reading all the same, and said so.
    const HostRun plain = runHost({company, "--screenshot", work.filePath("rw.png")}, env, nobody);
    EXPECT_EQ(plain.exitCode, 0) << plain.err.toStdString();
    EXPECT_EQ(plain.out.trimmed(), "账套数据库不能写入，已按只读方式打开：" + company);
    const HostRun pdf =
        runHost({company, "--pdf", work.filePath("s.pdf"), "--structure", "0101"}, env, nobody);
    EXPECT_EQ(pdf.exitCode, 0) << pdf.err.toStdString();
    EXPECT_GT(QFileInfo(work.filePath("s.pdf")).size(), 0);
    const HostRun verify = runHost({"verify", company}, env, nobody);
    EXPECT_EQ(verify.exitCode, 0) << verify.err.toStdString();
    EXPECT_EQ(verify.out.trimmed(), "产品结构数据完整，未发现问题");

    EXPECT_EQ(QDir(archive.path()).entryList(QDir::Files), before);
    EXPECT_EQ(fileHash(file), hash);
}

// Read-only by URI on a company that root could write: the caption table, the waste-rate
// upgrade and the journal mode are left as they are; the list shows and the card opens for
// viewing only.
TEST(UnwritableCompany, ReadOnlyOpeningWritesNothingOnSqlite)
{
    ensureApplication();
    QTemporaryDir dir, sys;
    qputenv("QX_SYSTEM_DIR", sys.path().toUtf8());
    const QString company = "sqlite:" + dir.filePath("company.db");
    {
        auto db = Database::open(company);
        schema::createDemoCompany(*db);
        db->execute("PRAGMA journal_mode=DELETE");
    }
    const QByteArray hash = fileHash(dir.filePath("company.db"));
    {
        ScriptedPrompter prompter;
        OpenedCompany opened = openCompany(company, true);
        ASSERT_TRUE(opened.db->readOnly());
        EXPECT_FALSE(opened.db->canWrite({"ProductStructure"}));
        ListOnCompany list(*opened.db, true);
        EXPECT_GT(list.window.SupPS1()->rows(), 2);
        EXPECT_FALSE(list.window.action("ButAdd")->isEnabled());
        EXPECT_EQ(list.window.windowTitle(), "产品结构");
        EXPECT_TRUE(list.editOnlyViews("0101"));
        EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    }
    EXPECT_EQ(fileHash(dir.filePath("company.db")), hash);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"company.db"});
    auto db = Database::open(company);
    EXPECT_FALSE(db->tableExists("CA_MenuDef"));
}

// A PostgreSQL role that may only read: the company opens read-only with the notice in the
// title; add, delete and copy are off and edit only views.
TEST(UnwritableCompany, PostgresRoleWithSelectOnlyOpensReadOnlyWithANotice)
{
    if (!postgresAvailable()) GTEST_SKIP() << "QX_TEST_PG is not set";
    ensureApplication();
    QTemporaryDir sys;
    qputenv("QX_SYSTEM_DIR", sys.path().toUtf8());
    QString connection;
    auto owner = openFreshDatabase(TestBackend::Postgres, &connection);
    schema::createDemoCompany(*owner);
    schema::ensureMenuDef(*owner);
    const QString role = QStringLiteral("qx_reader_%1").arg(::getpid());
    owner->executeIgnoringErrors("DROP ROLE IF EXISTS " + role);
    owner->execute("CREATE ROLE " + role + " LOGIN");
    owner->execute("GRANT SELECT ON ALL TABLES IN SCHEMA public TO " + role);
    ConnectionInfo info = parseConnectionString(connection);
    info.user = role;
    const QString readerConnection = postgresConnectionString(info);
    {
        ScriptedPrompter prompter;
        EXPECT_FALSE(openCompany(connection, false).unwritable);
        OpenedCompany opened = openCompany(readerConnection, false);
        EXPECT_TRUE(opened.unwritable);
        ASSERT_TRUE(opened.db->readOnly());
        ListOnCompany list(*opened.db, true, true);
        EXPECT_EQ(list.window.windowTitle(), "产品结构（只读：本账套数据库不能写入）");
        for (const char* key : {"ButAdd", "ButDelete", "ButCopy"})
            EXPECT_FALSE(list.window.action(QString::fromLatin1(key))->isEnabled()) << key;
        EXPECT_TRUE(list.editOnlyViews("0101"));
        EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    }
    EXPECT_EQ(lockRows(*owner), 0);
    // A role that may write the component's own tables and only read the master data writes.
    owner->execute("GRANT INSERT, UPDATE, DELETE ON ProductStructure, ProductStructures, " +
                   LockService::tableName() + " TO " + role);
    EXPECT_FALSE(openCompany(readerConnection, false).unwritable);
    owner->executeIgnoringErrors("DROP OWNED BY " + role);
    owner->executeIgnoringErrors("DROP ROLE " + role);
}

// ---------------------------------------------------------------------------------------------
// A lost connection

class LostConnection : public ::testing::Test {
protected:
    void SetUp() override
    {
        ensureApplication();
        qputenv("QX_SYSTEM_DIR", sys.path().toUtf8());
    }
    // The card of X1 (one line, X2) opened from the list; `during` acts while it is open.
    void editX1(Database& db, const std::function<void(FrmProStru&)>& during)
    {
        ListOnCompany list(db);
        ASSERT_TRUE(list.select("X1"));
        int shown = 0;
        list.window.showCard = [&](FrmProStru& card) {
            ++shown;
            during(card);
        };
        list.window.dispatch("ButEdit");
        EXPECT_EQ(shown, 1);
        after = [&list] { list.window.dispatch("Butref"); };
        if (afterClose) afterClose();
        afterClose = nullptr;
    }
    static void type(FrmProStru& card, const QString& qty)
    {
        card.SupPS()->setTextMatrix(1, ColQuantity, qty);
    }

    QTemporaryDir sys;
    ScriptedPrompter prompter;
    std::function<void()> after;       // the list's next command (a refresh)
    std::function<void()> afterClose;  // run after the card closed, before the list goes
};

TEST_F(LostConnection, PostgresServerRestartsWhileTheCardIsOpen)
{
    ThrowawayServer server;
    if (!server.start()) GTEST_SKIP() << server.why().toStdString();
    auto db = Database::open(server.connectionString());
    schema::createCompany(*db);
    fillCardMasterData(*db);
    auto other = Database::open(server.connectionString());

    // Restarted while the operator typed: F6 connects again, confirms the lock and saves.
    editX1(*db, [&](FrmProStru& card) {
        type(card, "3");
        ASSERT_TRUE(server.restart());
        card.dispatch("ButSave");
    });
    EXPECT_TRUE(prompter.shown.empty()) << prompter.last().toStdString();
    EXPECT_EQ(quantity(*other, "X1", "X2"), 3.0);
    EXPECT_EQ(lockRows(*other), 0);

    // Away: every F6 says so and the card keeps what was typed; back: F6 saves it. The server
    // goes away again before the card closes: its lock goes at the list's next command.
    editX1(*db, [&](FrmProStru& card) {
        type(card, "7");
        ASSERT_TRUE(server.stop());
        card.dispatch("ButSave");
        card.dispatch("ButSave");
        EXPECT_EQ(prompter.texts(), (QStringList{kLost, kLost}));
        EXPECT_EQ(card.SupPS()->textMatrix(1, ColQuantity), "7");
        ASSERT_TRUE(server.launch());
        card.dispatch("ButSave");
        EXPECT_EQ(prompter.shown.size(), 2u) << prompter.last().toStdString();
        EXPECT_EQ(quantity(*other, "X1", "X2"), 7.0);
        EXPECT_EQ(lockRows(*other), 1);
        ASSERT_TRUE(server.stop());
        afterClose = [&] {
            ASSERT_TRUE(server.launch());
            EXPECT_EQ(lockRows(*other), 1);
            after();
            EXPECT_EQ(lockRows(*other), 0);
        };
    });

    // The lock taken over by another workstation while the server was away: said, not saved.
    prompter.shown.clear();
    editX1(*db, [&](FrmProStru& card) {
        type(card, "9");
        ASSERT_TRUE(server.restart());
        other->execute("delete from " + LockService::tableName());
        RecordLocks elsewhere(other.get(), "OTHER-WS");
        ASSERT_TRUE(elsewhere.lockRecord("X1", KeyTrim::Both));
        card.dispatch("ButSave");
        EXPECT_EQ(prompter.texts(), QStringList{"该产品被他人锁定使用，不能修改！"});
        EXPECT_EQ(quantity(*other, "X1", "X2"), 7.0);
        elsewhere.unlockRecord();
    });
    EXPECT_EQ(lockRows(*other), 0);

    // A child typed while the server is away: its cycle check cannot be made, so the cell is
    // refused with the message (never an exception into the window) and keeps what was typed.
    prompter.shown.clear();
    editX1(*db, [&](FrmProStru& card) {
        card.show();
        QApplication::setActiveWindow(&card);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&card));
        card.dispatch("butaddline");
        ASSERT_TRUE(server.stop());
        Grid& g = *card.SupPS();
        g.setRow(g.rows() - 1);
        g.setCol(ColChildCode);
        g.view()->setFocus();
        for (const char c : {'A', '2'}) QTest::keyClick(QApplication::focusWidget(), c);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        EXPECT_EQ(prompter.texts(), QStringList{kLost});
        auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        EXPECT_EQ(editor ? editor->text() : QString(), "A2");
        ASSERT_TRUE(server.launch());
    });

    // The list's own commands say the same while the server is away: a deletion is no "in use",
    // an edit no lock of another, a refresh no silence.
    {
        ListOnCompany list(*db);
        ASSERT_TRUE(list.select("X1"));
        ASSERT_TRUE(server.stop());
        prompter.shown.clear();
        prompter.answers = {true};
        list.window.dispatch("ButDelete");
        list.window.dispatch("ButEdit");
        list.window.dispatch("Butref");
        EXPECT_EQ(prompter.texts(), (QStringList{kLost, kLost, kLost}));
        ASSERT_TRUE(server.launch());
    }
    EXPECT_EQ(quantity(*other, "X1", "X2"), 7.0);
    EXPECT_EQ(lockRows(*other), 0);
}

TEST_F(LostConnection, SqliteCompanyFileVanishesAndComesBack)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("company.db");
    auto db = Database::open("sqlite:" + path);
    schema::createCompany(*db);
    fillCardMasterData(*db);
    const QStringList files{QString(), "-wal", "-shm"};
    const auto move = [&](const QString& from, const QString& to) {
        for (const QString& suffix : files) QFile::rename(from + suffix, to + suffix);
    };
    editX1(*db, [&](FrmProStru& card) {
        type(card, "5");
        move(path, path + ".away");
        card.dispatch("ButSave");
        EXPECT_EQ(prompter.texts(), QStringList{kLost});
        EXPECT_EQ(card.SupPS()->textMatrix(1, ColQuantity), "5");
        EXPECT_FALSE(QFile::exists(path)) << "connecting again must not make a new company";
        move(path + ".away", path);
        card.dispatch("ButSave");
        EXPECT_EQ(prompter.shown.size(), 1u) << prompter.last().toStdString();
    });
    auto again = Database::open("sqlite:" + path);
    EXPECT_EQ(quantity(*again, "X1", "X2"), 5.0);
    EXPECT_EQ(lockRows(*again), 0);
}

// ---------------------------------------------------------------------------------------------
// A full disk

TEST(FullDisk, SaveAndCopyWriteNothingKeepTheCardAndFreeTheLock)
{
    ensureApplication();
    QTemporaryDir sys;
    qputenv("QX_SYSTEM_DIR", sys.path().toUtf8());
    ScriptedPrompter prompter;
    auto db = openFreshCompany(TestBackend::Sqlite);
    fillCardMasterData(*db);
    QStringList codes;
    for (int i = 1; i <= 60; ++i) {
        codes << QStringLiteral("F%1").arg(i, 3, 10, QLatin1Char('0'));
        db->execute(
            QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvM_Unit,bFree1,bFree2,"
                           "bService) values(?,?,?,0,0,0)"),
            {codes.last(), "零件" + codes.last(), "个"});
    }
    LockService::ensureTable(*db);
    // A disk with no room left: the lines of a filler structure take every page the limit
    // allows, so that the pages where other structures' lines go are full too.
    db->execute("insert into ProductStructure(cPSPCode) values('ZZ')");
    const int pages = countRows(*db, "PRAGMA page_count");
    db->execute(QStringLiteral("PRAGMA max_page_count = %1").arg(pages + 4));
    int fills = 0;
    try {
        for (; fills < 5000; ++fills)
            db->execute(
                QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) "
                               "values('ZZ',?,1)"),
                {QStringLiteral("Q%1").arg(fills, 5, 10, QLatin1Char('0'))});
    } catch (const DbError& e) {
        EXPECT_EQ(e.kind(), DbErrorKind::DiskFull);
        EXPECT_EQ(e.description(), kFull);
    }
    ASSERT_LT(fills, 5000);

    const auto fillLines = [&](FrmProStru& card) {
        card.clearLines();
        for (const QString& c : codes) {
            QStringList cells;
            for (int col = ColChildCode; col <= ColPlannedPrice; ++col) cells << QString();
            cells[ColChildCode] = c;
            cells[ColQuantity] = "2";
            cells[ColWarehouse] = "成品库";
            card.appendLine(cells);
        }
    };
    {
        ListOnCompany list(*db);
        ASSERT_TRUE(list.select("X1"));
        int lockedWhileOpen = -1;
        // An edit: refused whole; the card keeps the sixty lines.
        list.window.showCard = [&](FrmProStru& card) {
            lockedWhileOpen = lockRows(*db);
            fillLines(card);
            card.dispatch("ButSave");
            EXPECT_EQ(prompter.texts(), QStringList{kFull});
            EXPECT_EQ(card.SupPS()->rows(), 61);
            EXPECT_EQ(card.SupPS()->textMatrix(60, ColChildCode), "F060");
        };
        list.window.dispatch("ButEdit");
        EXPECT_EQ(lockedWhileOpen, 1);
        EXPECT_EQ(lockRows(*db), 0);
        EXPECT_EQ(countRows(*db, "select count(*) from ProductStructures where cPSPCode=?", {"X1"}),
                  1);
        EXPECT_EQ(quantity(*db, "X1", "X2"), 1.0);

        // A copy under a new parent: nothing of it is written; room again, F6 saves it.
        prompter.shown.clear();
        list.window.showCard = [&](FrmProStru& card) {
            card.EdtcPSPCode()->setText("P1");
            fillLines(card);
            card.dispatch("ButSave");
            EXPECT_EQ(prompter.texts(), QStringList{kFull});
            EXPECT_EQ(
                countRows(*db, "select count(*) from ProductStructure where cPSPCode=?", {"P1"}),
                0);
            EXPECT_EQ(
                countRows(*db, "select count(*) from ProductStructures where cPSPCode=?", {"P1"}),
                0);
            db->execute("PRAGMA max_page_count = 1000000");
            card.dispatch("ButSave");
            EXPECT_EQ(prompter.shown.size(), 1u) << prompter.last().toStdString();
        };
        list.window.dispatch("ButCopy");
    }
    EXPECT_EQ(countRows(*db, "select count(*) from ProductStructures where cPSPCode=?", {"P1"}),
              60);
}
