// qxprostru import / import-template / replace as separate processes: the exit codes, the
// report on standard output, and a workstation killed in the middle of an import leaving the
// company exactly as it was, its locks taken over.

#include "platform/database.h"
#include "platform/host_facts.h"
#include "platform/lock_service.h"
#include "platform/sheet_file.h"
#include "shared/record_lock.h"
#include "support/card_fixture.h"
#include "support/host_run.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qx;
using namespace qx::test;

namespace {

class BulkHost : public CompanyTest {
protected:
    void SetUp() override
    {
        CompanyTest::SetUp();
        if (IsSkipped()) return;
        fillCardMasterData(*db);
        if (hostExe().isEmpty()) GTEST_SKIP() << "QXPROSTRU_EXE is not set (ctest sets it)";
    }
    QStringList env() const
    {
        return {QStringLiteral("QX_SYSTEM_DIR=") + systemDir.filePath("sys"),
                QStringLiteral("QT_QPA_PLATFORM=offscreen")};
    }
    HostRun run(const QStringList& args)
    {
        HostRun r = runHost(args, env());
        return {r.exitCode, r.out.trimmed(), r.err.trimmed()};
    }
    QString file(const QString& name, const QByteArray& bytes) { return writeFile(systemDir.filePath(name), bytes); }
    int count(const QString& from) { return countRows(*db, QStringLiteral("select count(*) from ") + from); }
    // Kills the job started with args once it holds a lock; the caller checks what it left.
    void killOnceLocked(const QStringList& args)
    {
        auto p = startHost(args, env());
        ASSERT_TRUE(waitForLockOf(*db, *p)) << "the job never took its lock";
        p->kill();
        ASSERT_TRUE(p->waitForFinished());
        killed = p->exitStatus() == QProcess::CrashExit;
    }

    bool killed = false;
};

TEST_P(BulkHost, ExitCodesAndReports)
{
    const QString good = file("g.csv", "父项编码,子项编码,定额数量,存放仓库\nP1,A3,1,W2\n");
    const QString bad = file("b.csv", "父项编码,子项编码,定额数量,存放仓库\nP1,A3,1,W2\nP1,ZZ,1,W2\n");
    const QString broken = file("x.xlsx", "PK\x03\x04 and then nothing a zip needs");

    HostRun r = run({"import", connection, bad});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, QStringLiteral("第 3 行\t子项编码\t“ZZ”\t所填存货编码不存在，请修改！\n"
                                    "有 1 行被拒绝，没有写入任何数据"));
    r = run({"import", connection, good, "--dry-run"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, QStringLiteral("检查通过：1 个产品结构，共 1 行，没有写入任何数据"));
    EXPECT_EQ(count("ProductStructure where cPSPCode='P1'"), 0);
    r = run({"import", connection, good});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, QStringLiteral("已导入 1 个产品结构，共 1 行"));
    EXPECT_EQ(count("ProductStructures where cPSPCode='P1'"), 1);

    r = run({"import", connection, broken});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err, QStringLiteral("文件不是有效的 XLSX 文件（无法作为 zip 打开）"));
    r = run({"import", connection});
    EXPECT_EQ(r.exitCode, 2);
    r = run({"import", connection, good, "--force"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains("--force"));

    const QString tmpl = systemDir.filePath("t.xlsx");
    r = run({"import-template", connection, tmpl});
    EXPECT_EQ(r.exitCode, 0);
    const SheetFile t = readSheetFile(tmpl);
    ASSERT_EQ(t.rows.size(), 1u);
    EXPECT_EQ(t.rows[0].cells.mid(0, 4),
              (QStringList{"父项编码", "生产部门", "子项编码", "件数"}));

    r = run({"replace", connection, "A3", "A2", "--factor", "3"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, QStringLiteral("已替换：1 个产品结构，1 行"));
    r = run({"replace", connection, "A2", "S1"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, QStringLiteral("父项 P1：所填存货编码不存在，请修改！\n有 1 个产品结构不能替换，没有写入任何数据"));
    r = run({"replace", connection, "A2", "A3", "--factor", "x"});
    EXPECT_EQ(r.exitCode, 2);
    // An empty factor or an option given twice refuses the command before anything is replaced.
    const int usesOfA2 = count("ProductStructures where cPSCode='A2'");
    const struct {
        QStringList args;
        QString error;
    } refused[] = {
        {{"replace", connection, "A2", "A3", "--factor="}, "命令行不正确：选项 --factor 缺少取值"},
        {{"replace", connection, "A2", "A3", "--dry-run", "--dry-run"}, "命令行不正确：选项 --dry-run 重复"},
    };
    for (const auto& c : refused) {
        r = run(c.args);
        EXPECT_EQ(r.exitCode, 2) << c.error.toStdString();
        EXPECT_EQ(r.err, c.error);
    }
    EXPECT_EQ(count("ProductStructures where cPSCode='A2'"), usesOfA2);
}

// A workstation killed while its import holds the lock of the structure it replaces: the
// transaction never commits, and the lock of the dead process is taken over.
TEST_P(BulkHost, KilledImportLeavesTheCompanyAsItWas)
{
    {
        Transaction tx(*db);
        for (int i = 0; i < 10000; ++i)
            db->execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvM_Unit,iInvRCost,"
                                       "bFree1,bFree2,bService) values(?,?,?,?,0,0,0)"),
                        {QStringLiteral("K%1").arg(i, 5, 10, QLatin1Char('0')), QStringLiteral("件"),
                         QStringLiteral("个"), 1.0});
        db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values('K00000','D1')"));
        db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                                   "values('K00000','K09999',1,'W2')"));
        tx.commit();
    }
    QByteArray csv = "父项编码,子项编码,定额数量,存放仓库\n";
    for (int p = 0; p < 1000; ++p)
        for (int c = 0; c < 10; ++c)
            csv += QStringLiteral("K%1,K%2,1,W2\n")
                       .arg(p, 5, 10, QLatin1Char('0'))
                       .arg(1000 + p * 9 + c, 5, 10, QLatin1Char('0'))
                       .toUtf8();
    const QString path = file("big.csv", csv);
    const int headers = count("ProductStructure");
    const int lines = count("ProductStructures");

    killOnceLocked({"import", connection, path, "--replace"});
    EXPECT_TRUE(killed);

    EXPECT_EQ(count("ProductStructure"), headers);
    EXPECT_EQ(count("ProductStructures"), lines);
    EXPECT_EQ(count("ProductStructures where cPSPCode='K00000' and cPSCode='K09999'"), 1);
    LockService mine(*db);
    EXPECT_TRUE(mine.lockRecord(kLockCategory, kLockSystem, kLockMode, computerName(), {"K00000"}));
}

// A replacement killed once its locks are taken: all of it or none of it is there, never a part,
// and the dead process's locks are taken over.
TEST_P(BulkHost, KilledReplaceLeavesAllOrNothing)
{
    constexpr int kStructures = 3000;
    {
        Transaction tx(*db);
        for (int i = 0; i < kStructures; ++i) {
            const QString code = QStringLiteral("K%1").arg(i, 5, 10, QLatin1Char('0'));
            db->execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvM_Unit,iInvRCost,"
                                       "bFree1,bFree2,bService) values(?,?,?,?,0,0,0)"),
                        {code, QStringLiteral("件"), QStringLiteral("个"), 1.0});
            db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,'D1')"), {code});
            db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                                       "values(?,'A2',1,'W2')"),
                        {code});
        }
        tx.commit();
    }
    killOnceLocked({"replace", connection, "A2", "A3"});
    const int old = count("ProductStructures where cPSCode='A2'");
    const int now = count("ProductStructures where cPSCode='A3'");
    EXPECT_TRUE((old == kStructures && now == 0) || (old == 0 && now == kStructures)) << old << " " << now;
    LockService mine(*db);
    EXPECT_TRUE(mine.lockRecord(kLockCategory, kLockSystem, kLockMode, computerName(), {"K00000"}));
}

QX_INSTANTIATE_BACKENDS(BulkHost);

}  // namespace
