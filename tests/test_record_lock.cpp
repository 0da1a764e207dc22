// The list's record-lock calls over the lock table of the company database. Two connections
// with their own computer names and process ids stand for two workstations.

#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "shared/record_lock.h"
#include "support/company.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace qx;
using namespace qx::test;

namespace {

QString holderOf(Database& db, const QString& key)
{
    auto rs = db.openRecordset(QStringLiteral("select cComputer from ") + LockService::tableName() +
                                   QStringLiteral(" where cCategory=? and cKey=?"),
                               RecordsetType::Snapshot, 0, {QStringLiteral("AE"), key});
    return rs->recordCount() == 0 ? QString() : rs->field(0).toString();
}

class RecordLockTest : public BackendTest {
protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        if (IsSkipped()) return;
        db1 = openFreshCompany(backend(), &connection);
        db2 = Database::open(connection);
    }
    QString connection;
    std::unique_ptr<Database> db1, db2;
    ScriptedPrompter prompter;
};

TEST_P(RecordLockTest, SecondWorkstationRefusedUntilHolderReleases)
{
    RecordLocks first(db1.get(), QStringLiteral("WS-ONE"));
    RecordLocks second(db2.get(), QStringLiteral("WS-TWO"), deadProcessId());

    EXPECT_TRUE(first.lockRecord(QStringLiteral("  P1  "), KeyTrim::Both));
    EXPECT_EQ(first.Locks(), QStringLiteral("P1"));
    EXPECT_EQ(holderOf(*db2, QStringLiteral("P1")), QStringLiteral("WS-ONE"));

    // The key is the trimmed code: the other workstation is refused under any spelling of it.
    EXPECT_FALSE(second.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    EXPECT_FALSE(second.lockRecord(QStringLiteral(" P1"), KeyTrim::Leading));
    // Another structure is free.
    EXPECT_TRUE(second.lockRecord(QStringLiteral("P2"), KeyTrim::Both));
    second.unlockRecord();

    // Releasing by someone who does not hold the key frees nothing.
    RecordLocks stranger(db2.get(), QStringLiteral("WS-THREE"));
    EXPECT_FALSE(stranger.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    stranger.unlockRecord();
    EXPECT_FALSE(second.lockRecord(QStringLiteral("P1"), KeyTrim::Both));

    first.unlockRecord();
    EXPECT_EQ(holderOf(*db2, QStringLiteral("P1")), QString());
    EXPECT_TRUE(second.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    EXPECT_FALSE(first.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    second.unlockRecord();
    EXPECT_TRUE(first.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    first.unlockRecord();
}

TEST_P(RecordLockTest, DeletionKeysKeepTrailingBlanks)
{
    EXPECT_EQ(lockKey(QStringLiteral("  P1 "), KeyTrim::Leading), QStringLiteral("P1 "));
    EXPECT_EQ(lockKey(QStringLiteral("  P1 "), KeyTrim::Both), QStringLiteral("P1"));
    RecordLocks first(db1.get(), QStringLiteral("WS-ONE"));
    RecordLocks second(db2.get(), QStringLiteral("WS-TWO"));
    ASSERT_TRUE(first.lockRecord(QStringLiteral(" 甲'|1"), KeyTrim::Leading));
    EXPECT_EQ(first.Locks(), QStringLiteral("甲'|1"));
    // A quote and a pipe are only data in the key.
    EXPECT_FALSE(second.lockRecord(QStringLiteral("甲'|1"), KeyTrim::Both));
    first.unlockRecord();
    EXPECT_TRUE(second.lockRecord(QStringLiteral("甲'|1"), KeyTrim::Both));
    second.unlockRecord();
}

TEST_P(RecordLockTest, RefusalsSayWhichCommandAsked)
{
    RecordLocks first(db1.get(), QStringLiteral("WS-ONE"));
    RecordLocks second(db2.get(), QStringLiteral("WS-TWO"));
    ASSERT_TRUE(first.lockRecord(QStringLiteral("P1"), KeyTrim::Both));
    EXPECT_FALSE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Both, LockPurpose::Edit,
                                     QStringLiteral("产品结构")));
    EXPECT_FALSE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Leading,
                                     LockPurpose::DeleteStructure, QStringLiteral("产品结构")));
    EXPECT_FALSE(second.lockOrRefuse(QStringLiteral("P1"), KeyTrim::Leading,
                                     LockPurpose::DeleteLine, QStringLiteral("物料清单")));
    ASSERT_EQ(prompter.shown.size(), 3u);
    EXPECT_EQ(prompter.shown[0].text,
              QStringLiteral("其他操作员正对本产品结构进行操作，请您稍后再试！"));
    EXPECT_EQ(prompter.shown[1].text,
              QStringLiteral("其他操作员正对本产品结构进行操作，请您稍后再试!"));
    EXPECT_EQ(prompter.shown[2].text,
              QStringLiteral("其他操作员正对本物料清单进行操作，请您稍后在试！"));
    for (const auto& s : prompter.shown) EXPECT_EQ(s.title, QStringLiteral("提示！"));
    // A granted lock shows nothing.
    prompter.clear();
    EXPECT_TRUE(second.lockOrRefuse(QStringLiteral("P2"), KeyTrim::Both, LockPurpose::Edit,
                                    QStringLiteral("产品结构")));
    EXPECT_TRUE(prompter.shown.empty());
    second.unlockRecord();
    first.unlockRecord();
}

QX_INSTANTIATE_BACKENDS(RecordLockTest);

}  // namespace
