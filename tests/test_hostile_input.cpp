// Input an operator should never type: quotes, pipes, pieces of SQL, control characters, very long
// texts and broken UTF-8. Nothing may crash, no statement may change, and every refusal is the
// system's own message.

#include "card/card_columns.h"
#include "card/header_checks.h"
#include "card/line_validation.h"
#include "data/common.h"
#include "texts/texts.h"
#include "platform/criteria.h"
#include "platform/database.h"
#include "platform/lock_service.h"
#include "shared/line_grid.h"
#include "support/card_fixture.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <QRegularExpression>

#include <random>

using namespace qx;
using namespace qx::test;

namespace {

QStringList hostileValues()
{
    return {
        QStringLiteral("'"),
        QStringLiteral("a'b"),
        QStringLiteral("|"),
        QStringLiteral("x' or '1'='1"),
        QStringLiteral("'; delete from ProductStructures; --"),
        QStringLiteral("A1; drop table Inventory"),
        QStringLiteral("%"),
        QStringLiteral("A1%"),
        QStringLiteral("\x01\x02\t\r\n"),
        QString(10000, QLatin1Char('Z')),
        QString(10000, QChar(0x4E2D)),
        QString::fromUtf8("\xff\xfe\xc3\x28\xe2\x82"),
        QStringLiteral("[cInvCode]='A1'"),
    };
}

QString quoted(const QString& value)
{
    QString v = value;
    v.replace(QLatin1Char('\''), QStringLiteral("''"));
    return QLatin1Char('\'') + v + QLatin1Char('\'');
}

// The parser either understands a text or refuses it with DbError(Other); what it understands
// can be written back and parses to the same terms. Bounded: a fixed seed and count.
TEST(HostileInput, CriterionParserFuzzNeverCrashesAndRoundTrips)
{
    const QStringList tokens = {QStringLiteral("'"),   QStringLiteral("''"), QStringLiteral("["),
                                QStringLiteral("]"),   QStringLiteral("="),  QStringLiteral(" "),
                                QStringLiteral("and"), QStringLiteral("AND"), QStringLiteral("a"),
                                QStringLiteral("cPSPCode"), QStringLiteral("|"),
                                QStringLiteral("\x01"), QStringLiteral("中"), QStringLiteral("\n"),
                                QStringLiteral("x")};
    std::mt19937 rng(20261121);
    int parsed = 0;
    int refused = 0;
    for (int i = 0; i < 20000; ++i) {
        QString text;
        if (i % 4 == 3) {
            QByteArray bytes;
            const int n = static_cast<int>(rng() % 24);
            for (int k = 0; k < n; ++k) bytes.append(static_cast<char>(rng() % 255 + 1));
            text = QString::fromUtf8(bytes);
        } else {
            const int n = static_cast<int>(rng() % 12);
            for (int k = 0; k < n; ++k) text += tokens[static_cast<int>(rng() % tokens.size())];
        }
        // Make well-formed texts common too, with hostile values inside the quotes.
        if (i % 5 == 0) text = QStringLiteral("cPSPCode=") + quoted(text);
        try {
            const Criteria c = Criteria::parse(text);
            ++parsed;
            QStringList parts;
            for (const auto& t : c.terms()) {
                ASSERT_FALSE(t.field.isEmpty()) << text.toStdString();
                parts << t.field + QLatin1Char('=') + quoted(t.value.toString());
            }
            const Criteria again = Criteria::parse(parts.join(QStringLiteral(" and ")));
            ASSERT_EQ(again.terms().size(), c.terms().size()) << text.toStdString();
            for (size_t k = 0; k < c.terms().size(); ++k) {
                EXPECT_EQ(again.terms()[k].field, c.terms()[k].field);
                EXPECT_EQ(again.terms()[k].value.toString(), c.terms()[k].value.toString());
            }
        } catch (const DbError& e) {
            EXPECT_EQ(e.kind(), DbErrorKind::Other);
            ++refused;
        }
    }
    // Both ways were really tried.
    EXPECT_GT(parsed, 1000);
    EXPECT_GT(refused, 1000);
    // A value with a quote is read as one value, never as more syntax.
    const Criteria c = Criteria::parse(QStringLiteral("cPSPCode='x'' or ''1''=''1'"));
    ASSERT_EQ(c.terms().size(), 1u);
    EXPECT_EQ(c.terms()[0].value.toString(), QStringLiteral("x' or '1'='1"));
}

class HostileValues : public BackendTest {
protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        if (IsSkipped()) return;
        db = openFreshCompany(backend());
        fillCardMasterData(*db);
        ctx = makeListContext(*db);
        lists = openCardLists(*db);
        lk = lookupsOf(*db, *ctx, lists);
    }
    int count(const QString& table)
    {
        auto rs = db->openRecordset(QStringLiteral("select count(*) from ") + table,
                                    RecordsetType::Snapshot);
        return rs->field(0).toInt();
    }

    std::unique_ptr<Database> db;
    std::unique_ptr<ListContext> ctx;
    CardLists lists;
    CardLookups lk;
};

// Lookups, the cycle walk and the lock table take any value as a value.
TEST_P(HostileValues, LookupsCycleWalkAndLocksTakeThemAsPlainValues)
{
    const int lines = count(QStringLiteral("ProductStructures"));
    const int items = count(QStringLiteral("Inventory"));
    const int parents = count(QStringLiteral("ProductStructure"));
    LockService locks(*db);
    for (const QString& v : hostileValues()) {
        SCOPED_TRACE(v.left(40).toStdString());
        EXPECT_FALSE(FindRecord(v, *lists.inventory, QStringLiteral("cInvCode")));
        EXPECT_TRUE(CheckCycle(v, QStringLiteral("A1"), *db));
        EXPECT_TRUE(CheckCycle(QStringLiteral("X3"), v, *db));
        EXPECT_TRUE(CollectAncestors(v, *db).codes.isEmpty());
        // The stored chain X1 -> X2 -> X3 still refuses its loop around the hostile checks.
        EXPECT_FALSE(CheckCycle(QStringLiteral("X3"), QStringLiteral("X1"), *db));

        // A key the lock table can hold is granted to one holder only; one longer than any code
        // is refused, never granted.
        const bool fits = v.size() <= 255;
        EXPECT_EQ(locks.lockRecord(QStringLiteral("AE"), QStringLiteral("AA"), QStringLiteral("a"),
                                   QStringLiteral("WS"), {v}),
                  fits);
        LockService other(*db, 1);  // another live process: pid 1 never ends
        EXPECT_FALSE(other.lockRecord(QStringLiteral("AE"), QStringLiteral("AA"),
                                      QStringLiteral("a"), QStringLiteral("WS"), {v}));
        locks.unlockRecord(QStringLiteral("AE"), {v});
    }
    EXPECT_EQ(count(QStringLiteral("ProductStructures")), lines);
    EXPECT_EQ(count(QStringLiteral("Inventory")), items);
    EXPECT_EQ(count(QStringLiteral("ProductStructure")), parents);
    EXPECT_EQ(count(LockService::tableName()), 0);
}

// Every checked cell refuses them with its own message and keeps the text as typed; the quote
// and the pipe are refused before anything is looked up.
TEST_P(HostileValues, EveryCheckedCellRefusesWithItsOwnMessage)
{
    struct Column {
        int col;
        QString message;
    };
    const std::vector<Column> columns = {
        {ColChildCode, QStringLiteral("所填存货编码不存在，请修改！")},
        {ColFree1, QStringLiteral("所填内容不存在，请修改！")},
        {ColFree2, QStringLiteral("所填内容不存在，请修改！")},
        {ColPieces, QStringLiteral("件数不能小于或等于零！")},
        {ColQuantity, QStringLiteral("定额数量不能小于等于零！")},
        {ColWarehouse, QStringLiteral("所填仓库不存在，请重新填写！")},
        {ColPerson, QStringLiteral("所填职员不存在，请修改！")},
        {ColDept, QStringLiteral("所填部门不存在，请修改！")},
        {ColOperation, QStringLiteral("所填工序不存在，请修改！")},
    };
    MemoryLineGrid grid;
    grid.addLine();
    grid.setCell(1, ColExchRate, QStringLiteral("2.5"));
    const int lines = count(QStringLiteral("ProductStructures"));
    for (const QString& v : hostileValues()) {
        const bool illegal = v.contains(QLatin1Char('\'')) || v.contains(QLatin1Char('|'));
        for (const Column& c : columns) {
            SCOPED_TRACE(QStringLiteral("column %1: %2").arg(c.col).arg(v.left(40)).toStdString());
            QString text = v;
            const Verdict verdict = validateCell(lk, grid, QStringLiteral("P1"), 1, c.col, text);
            ASSERT_FALSE(verdict.accepted);
            EXPECT_EQ(verdict.message, illegal ? QStringLiteral("请去掉非法字符 |,' ") : c.message);
            EXPECT_EQ(text, v);
        }
    }
    // Nothing of the line was filled by a refused cell.
    for (int col = 0; col < kLineColumnCount; ++col) {
        if (col != ColExchRate) {
            EXPECT_TRUE(grid.cell(1, col).isEmpty()) << col;
        }
    }
    EXPECT_EQ(count(QStringLiteral("ProductStructures")), lines);
}

// The header fields: a hostile parent code is an unknown item, a hostile department an unknown
// department; the texts stay as typed.
TEST_P(HostileValues, HeaderFieldsRefuseWithTheirMessages)
{
    auto parents = db->openRecordset(QStringLiteral("ProductStructure"));
    for (const QString& v : hostileValues()) {
        SCOPED_TRACE(v.left(40).toStdString());
        const ParentCheck p = checkParentCode(v, true, parents.get(), lists.inventory.get());
        EXPECT_FALSE(p.verdict.accepted);
        EXPECT_EQ(p.verdict.message, QStringLiteral("所填存货编码不存在，请修改！"));
        QString dept = v;
        const Verdict d = checkDepartment(dept, lists.department.get());
        EXPECT_FALSE(d.accepted);
        EXPECT_EQ(d.message, QStringLiteral("所填生产部门不存在，请修改！"));
        EXPECT_EQ(dept, v);
    }
}

// The host executable's arguments: hostile codes are codes, hostile connection strings fail with
// one line naming what failed, never a crash.
TEST_P(HostileValues, HostCommandLineTakesThemAsValues)
{
    const QString exe = qEnvironmentVariable("QXPROSTRU_EXE");
    if (exe.isEmpty()) GTEST_SKIP() << "QXPROSTRU_EXE is not set (ctest sets it)";
    QString cs;
    db.reset();
    auto fresh = openFreshCompany(backend(), &cs);
    fresh.reset();
    auto runHost = [&](const QStringList& args) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        p.setProcessEnvironment(env);
        p.start(exe, args);
        EXPECT_TRUE(p.waitForFinished(60000));
        const QString err = QString::fromUtf8(p.readAllStandardError());
        return std::make_pair(p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1, err);
    };
    for (const QString& v : hostileValues()) {
        SCOPED_TRACE(v.left(40).toStdString());
        if (v.contains(QLatin1Char('\n')) || v.contains(QChar(0xFFFD))) continue;  // not an argv
        EXPECT_EQ(runHost({QStringLiteral("check-cycle"), cs, v, QStringLiteral("A1")}).first, 0);
    }
    EXPECT_EQ(runHost({QStringLiteral("verify"), cs}).first, 0);
    for (const QString& bad : {QStringLiteral("sqlite:/nonexistent'dir/a|b.db"),
                               QStringLiteral("postgresql://x'y@/db';drop?host=/nonexistent"),
                               QStringLiteral("postgresql://"), QString(10000, QLatin1Char('Z'))}) {
        const auto [code, err] = runHost({QStringLiteral("verify"), bad});
        EXPECT_NE(code, 0) << bad.left(60).toStdString();
        EXPECT_NE(code, -1) << "crashed on " << bad.left(60).toStdString();
        const QStringList lines = err.split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                                      .filter(QRegularExpression(QStringLiteral("^(?!QStandardPaths)")));
        EXPECT_EQ(lines.size(), 1) << err.toStdString();
    }
}

QX_INSTANTIATE_BACKENDS(HostileValues);

}  // namespace
