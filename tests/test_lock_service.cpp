// The lock table of the company database, and the list's record-lock calls over it. Two
// connections with their own computer names and process ids stand for two workstations.

#include "platform/database.h"
#include "platform/host_facts.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "shared/record_lock.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>

using namespace qx;

namespace {

const QString kCat = QStringLiteral("AE");
const QString kSys = QStringLiteral("AA");
const QString kMode = QStringLiteral("a");
const QString kA = QStringLiteral("WS-A");
const QString kB = QStringLiteral("WS-B");

// Two connections to one company database, standing for two workstations.
class LockServiceTest : public qx::test::BackendTest {
protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        if (IsSkipped()) return;
        dbA = qx::test::openFreshDatabase(backend(), &cs);
        dbB = Database::open(cs);
    }

    // Who holds a key according to the lock table ("" when nobody).
    QString holder(const QString& key)
    {
        auto rs = dbA->openRecordset(
            QStringLiteral("SELECT cComputer, iPid FROM QX_RecordLock WHERE cCategory = ? AND cKey = ?"),
            RecordsetType::Snapshot, 0, {kCat, key});
        if (rs->recordCount() == 0) return QString();
        return rs->field(0).toString() + QLatin1Char('/') + rs->field(1).toString();
    }
    static QString me(const QString& computer)
    {
        return computer + QLatin1Char('/') + QString::number(getpid());
    }

    std::unique_ptr<Database> dbA;
    std::unique_ptr<Database> dbB;
    QString cs;
    ScriptedPrompter prompter;
};

TEST_P(LockServiceTest, OneHolderPerKeyUntilReleased)
{
    LockService a(*dbA);
    LockService b(*dbB);
    ASSERT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P1")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), me(kA));
    EXPECT_FALSE(b.lockRecord(kCat, kSys, kMode, kB, {QStringLiteral("P1")}));
    // The holder asking again (the save checks it still holds the structure) is granted.
    EXPECT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P1")}));
    // The same computer in another process is another holder.
    LockService otherProcess(*dbB, getppid());
    EXPECT_FALSE(otherProcess.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P1")}));
    // Keys and categories are independent.
    EXPECT_TRUE(b.lockRecord(kCat, kSys, kMode, kB, {QStringLiteral("P2")}));
    EXPECT_TRUE(b.lockRecord(QStringLiteral("XX"), kSys, kMode, kB, {QStringLiteral("P1")}));

    // Unlocking frees only the holder's own key.
    EXPECT_FALSE(b.unlockRecord(kCat, {QStringLiteral("P1")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), me(kA));
    EXPECT_TRUE(a.unlockRecord(kCat, {QStringLiteral("P1")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), QString());
    EXPECT_TRUE(b.lockRecord(kCat, kSys, kMode, kB, {QStringLiteral("P1")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), me(kB));

    // A key that needs quoting is only a value.
    const QString odd = QStringLiteral("a'b|c");
    EXPECT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {odd}));
    EXPECT_FALSE(b.lockRecord(kCat, kSys, kMode, kB, {odd}));
}

TEST_P(LockServiceTest, DeadProcessOfThisComputerIsTakenOverOthersNever)
{
    const long long gone = test::deadProcessId();
    LockService crashedHere(*dbB, gone);
    ASSERT_TRUE(crashedHere.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P1")}));
    LockService crashedThere(*dbB, gone);
    ASSERT_TRUE(crashedThere.lockRecord(kCat, kSys, kMode, kB, {QStringLiteral("P2")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), kA + QLatin1Char('/') + QString::number(gone));

    LockService a(*dbA);
    EXPECT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P1")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), me(kA));
    // Another computer's process cannot be seen from here: its lock stands.
    EXPECT_FALSE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P2")}));
    EXPECT_EQ(holder(QStringLiteral("P2")), kB + QLatin1Char('/') + QString::number(gone));

    // A live process of this computer (the parent of this test) keeps its lock.
    LockService parent(*dbB, getppid());
    ASSERT_TRUE(parent.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P3")}));
    EXPECT_FALSE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P3")}));

    // A row this process id left in an earlier boot is taken over, not mistaken for this run's
    // own: the key is then held against the other processes of this computer.
    auto machine =
        dbA->openRecordset(QStringLiteral("SELECT cMachine FROM QX_RecordLock WHERE cKey = ?"),
                           RecordsetType::Snapshot, 0, {QStringLiteral("P1")});
    dbA->execute(
        QStringLiteral("INSERT INTO QX_RecordLock (cCategory, cKey, cComputer, iPid, dTime, "
                       "cMachine, cRun) VALUES (?, ?, ?, ?, ?, ?, ?)"),
        {kCat, QStringLiteral("P5"), kA, (long long)getpid(), QStringLiteral("2026-01-01 00:00:00"),
         machine->field(0), QStringLiteral("an-earlier-boot/1")});
    EXPECT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P5")}));
    EXPECT_FALSE(parent.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P5")}));
}

TEST_P(LockServiceTest, AHolderIsOneRunningProcessWhateverItsNameAndId)
{
    // Two computers whose names share their first 30 bytes (or two containers of one host name)
    // show the same name and may run the same process id: they are still two holders.
    const QString name = QStringLiteral("WORKSHOP-FLOOR-2-ASSEMBLY-LINE");  // 30 bytes
    LockService here(*dbA);
    qputenv("QX_MACHINE_ID", "another-machine");
    LockService there(*dbB, getpid());
    qunsetenv("QX_MACHINE_ID");
    ASSERT_TRUE(here.lockRecord(kCat, kSys, kMode, name, {QStringLiteral("P1")}));
    EXPECT_FALSE(there.lockRecord(kCat, kSys, kMode, name, {QStringLiteral("P1")}));
    EXPECT_FALSE(there.unlockRecord(kCat, {QStringLiteral("P1")}));
    EXPECT_EQ(holder(QStringLiteral("P1")), me(name));
    // Its process id means nothing here: its lock is never taken over either.
    ASSERT_TRUE(there.lockRecord(kCat, kSys, kMode, name, {QStringLiteral("P2")}));
    EXPECT_FALSE(here.lockRecord(kCat, kSys, kMode, name, {QStringLiteral("P2")}));

    // A lock table of an earlier release gains the new columns; its rows keep their meaning.
    dbA->execute(QStringLiteral("DROP TABLE QX_RecordLock"));
    dbA->execute(QStringLiteral("CREATE TABLE QX_RecordLock (cCategory varchar(20) NOT NULL, cKey "
                                "varchar(255) NOT NULL, cComputer varchar(60) NOT NULL, iPid bigint "
                                "NOT NULL, dTime varchar(19), PRIMARY KEY (cCategory, cKey))"));
    const QString old = QStringLiteral(
        "INSERT INTO QX_RecordLock (cCategory, cKey, cComputer, iPid) VALUES (?, ?, ?, ?)");
    dbA->execute(old, {kCat, QStringLiteral("P3"), kA, test::deadProcessId()});
    dbA->execute(old, {kCat, QStringLiteral("P4"), kA, (long long)getppid()});
    LockService upgraded(*dbA);
    EXPECT_TRUE(upgraded.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P3")}));
    EXPECT_FALSE(upgraded.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P4")}));
    EXPECT_EQ(holder(QStringLiteral("P3")), me(kA));
    EXPECT_TRUE(upgraded.unlockRecord(kCat, {QStringLiteral("P3")}));
}

TEST_P(LockServiceTest, LockTableThatCannotBeWrittenRefuses)
{
    LockService a(*dbA);
    ASSERT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P1")}));
    ASSERT_TRUE(a.unlockRecord(kCat, {QStringLiteral("P1")}));
    // Something of the same name that takes no rows.
    dbA->execute(QStringLiteral("DROP TABLE QX_RecordLock"));
    dbA->execute(QStringLiteral("CREATE VIEW QX_RecordLock AS SELECT DISTINCT 'AE' AS cCategory, "
                                "'none' AS cKey, 'WS' AS cComputer, 1 AS iPid, '' AS dTime"));
    LockService b(*dbB);
    EXPECT_FALSE(b.lockRecord(kCat, kSys, kMode, kB, {QStringLiteral("P1")}));
    EXPECT_FALSE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P2")}));
    EXPECT_FALSE(a.unlockRecord(kCat, {QStringLiteral("P2")}));
    // The connection is still usable afterwards (no aborted transaction left behind).
    EXPECT_EQ(dbA->execute(QStringLiteral("CREATE TABLE qx_after (i integer)")), 0);

    // An over-long key cannot be recorded: refused, not granted.
    dbA->execute(QStringLiteral("DROP VIEW QX_RecordLock"));
    LockService::ensureTable(*dbA);
    EXPECT_FALSE(a.lockRecord(kCat, kSys, kMode, kA, {QString(300, QLatin1Char('x'))}));
    EXPECT_TRUE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("P2")}));
}

// Many keys at once: free keys and keys of a dead process of this computer are granted, another
// workstation's key is refused and named, and all are given back in slices.
TEST_P(LockServiceTest, ManyKeysAtOnceAsOneByOne)
{
    LockService other(*dbB);
    ASSERT_TRUE(other.lockRecord(kCat, kSys, kMode, kB, {QStringLiteral("K150")}));
    LockService dead(*dbB, test::deadProcessId());
    ASSERT_TRUE(dead.lockRecord(kCat, kSys, kMode, computerName(), {QStringLiteral("K7")}));
    QStringList keys;
    for (int i = 0; i < 250; ++i) keys << QStringLiteral("K%1").arg(i);
    LockService a(*dbA);
    // Several keys by the one-by-one call are all or nothing.
    EXPECT_FALSE(a.lockRecord(kCat, kSys, kMode, kA, {QStringLiteral("K1"), QStringLiteral("K150")}));
    EXPECT_EQ(holder(QStringLiteral("K1")), QString());
    EXPECT_EQ(a.lockRecords(kCat, kSys, kMode, computerName(), keys), QStringList{"K150"});
    EXPECT_EQ(holder(QStringLiteral("K7")), me(computerName()));
    EXPECT_EQ(holder(QStringLiteral("K249")), me(computerName()));
    EXPECT_EQ(holder(QStringLiteral("K150")).section('/', 0, 0), kB);
    a.unlockRecords(kCat, keys);
    EXPECT_EQ(holder(QStringLiteral("K7")), QString());
    EXPECT_EQ(holder(QStringLiteral("K249")), QString());
    EXPECT_EQ(holder(QStringLiteral("K150")).section('/', 0, 0), kB);  // not ours to free
}

// Many keys travel as one value: quotes, backslashes and brackets are keys like any other.
TEST_P(LockServiceTest, ManyKeysWithQuotesAndBracketsAreKeysAsTheyAre)
{
    const QStringList keys{"a\"b", "c\\d", "e'f", "g|h", "成品 一", "[1]", "x,y", "{}"};
    LockService a(*dbA);
    EXPECT_EQ(a.lockRecords(kCat, kSys, kMode, computerName(), keys), QStringList{});
    for (const QString& k : keys) EXPECT_EQ(holder(k), me(computerName())) << k.toStdString();
    LockService other(*dbB);
    EXPECT_EQ(other.lockRecords(kCat, kSys, kMode, kB, keys), keys);
    EXPECT_TRUE(a.unlockRecord(kCat, keys));
    for (const QString& k : keys) EXPECT_EQ(holder(k), QString()) << k.toStdString();
}

// The list's calls: the key is the code trimmed at both ends (edit) or at the front only
// (deletion); quotes and pipes are only data; a refusal names the command that asked.
TEST_P(LockServiceTest, RecordLocksKeyTheTrimmedCodeAndRefuseNamingTheCommand)
{
    RecordLocks first(dbA.get(), kA);
    RecordLocks second(dbB.get(), kB, test::deadProcessId());
    EXPECT_TRUE(first.lockRecord(QStringLiteral("  P1  "), KeyTrim::Both));
    EXPECT_EQ(first.Locks(), QStringLiteral("P1"));
    EXPECT_EQ(holder(QStringLiteral("P1")), me(kA));
    EXPECT_FALSE(second.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    EXPECT_FALSE(second.lockRecord(QStringLiteral(" P1"), KeyTrim::Leading));
    EXPECT_TRUE(second.lockRecord(QStringLiteral("P2"), KeyTrim::Both));
    second.unlockRecord();
    // Releasing by someone who does not hold the key frees nothing.
    RecordLocks stranger(dbB.get(), QStringLiteral("WS-C"));
    EXPECT_FALSE(stranger.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    stranger.unlockRecord();
    EXPECT_EQ(holder(QStringLiteral("P1")), me(kA));

    EXPECT_FALSE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Both, LockPurpose::Edit,
                                     QStringLiteral("产品结构")));
    EXPECT_FALSE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Leading,
                                     LockPurpose::DeleteStructure, QStringLiteral("产品结构")));
    EXPECT_FALSE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Leading,
                                     LockPurpose::DeleteLine, QStringLiteral("物料清单")));
    EXPECT_EQ(prompter.texts(),
              (QStringList{"其他操作员正对本产品结构进行操作，请您稍后再试！",
                           "其他操作员正对本产品结构进行操作，请您稍后再试!",
                           "其他操作员正对本物料清单进行操作，请您稍后在试！"}));
    for (const auto& shown : prompter.shown) EXPECT_EQ(shown.title, QStringLiteral("提示！"));
    first.unlockRecord();
    EXPECT_EQ(holder(QStringLiteral("P1")), QString());
    EXPECT_TRUE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Both, LockPurpose::Edit,
                                    QStringLiteral("产品结构")));
    EXPECT_EQ(prompter.shown.size(), 3u) << "a granted lock shows nothing";
    second.unlockRecord();

    // Deletion keys keep their trailing blanks.
    EXPECT_EQ(lockKey(QStringLiteral("  P1 "), KeyTrim::Leading), QStringLiteral("P1 "));
    ASSERT_TRUE(first.lockRecord(QStringLiteral(" 甲'|1"), KeyTrim::Leading));
    EXPECT_EQ(first.Locks(), QStringLiteral("甲'|1"));
    EXPECT_FALSE(second.lockRecord(QStringLiteral("甲'|1"), KeyTrim::Both));
    first.unlockRecord();
    EXPECT_TRUE(second.lockRecord(QStringLiteral("甲'|1"), KeyTrim::Both));
    second.unlockRecord();
}

// The name a lock shows: the computer's, cut to 30 bytes on a whole character.
TEST(HostFacts, ComputerNameIsCutTo30BytesOnAWholeCharacter)
{
    const QByteArray old = qgetenv("QX_COMPUTER_NAME");
    const QString han14 = QString(14, QChar(0x5de5));  // 28 bytes
    const std::pair<QString, QString> cases[] = {
        {han14 + QStringLiteral("abc"), han14 + QStringLiteral("ab")},
        // The 15th Chinese character would straddle byte 30: left out whole.
        {han14 + QStringLiteral("a") + QChar(0x4e2d), han14 + QStringLiteral("a")},
        {QStringLiteral("WS-B"), QStringLiteral("WS-B")}};
    for (const auto& [given, used] : cases) {
        qputenv("QX_COMPUTER_NAME", given.toUtf8());
        EXPECT_EQ(computerName(), used);
    }
    qunsetenv("QX_COMPUTER_NAME");
    char host[HOST_NAME_MAX + 1] = {};
    ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
    EXPECT_EQ(computerName(), QString::fromLocal8Bit(host).left(30));
    if (!old.isNull()) qputenv("QX_COMPUTER_NAME", old);
}

QX_INSTANTIATE_BACKENDS(LockServiceTest);

}  // namespace
