// Input an operator should never type: quotes, pipes, pieces of SQL, control characters, very long
// texts and broken UTF-8. Nothing may crash, no statement may change, and every refusal is the
// system's own message.

#include "card/card_columns.h"
#include "card/line_validation.h"
#include "data/common.h"
#include "texts/texts.h"
#include "platform/criteria.h"
#include "platform/database.h"
#include "platform/lock_service.h"
#include "shared/line_grid.h"
#include "support/card_fixture.h"

#include <gtest/gtest.h>

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

using HostileValues = CardCompanyTest;

// Lookups, the cycle walk and the lock table take any value as a value.
TEST_P(HostileValues, LookupsCycleWalkAndLocksTakeThemAsPlainValues)
{
    const int lines = tableCount(QStringLiteral("ProductStructures"));
    const int items = tableCount(QStringLiteral("Inventory"));
    const int parents = tableCount(QStringLiteral("ProductStructure"));
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
    EXPECT_EQ(tableCount(QStringLiteral("ProductStructures")), lines);
    EXPECT_EQ(tableCount(QStringLiteral("Inventory")), items);
    EXPECT_EQ(tableCount(QStringLiteral("ProductStructure")), parents);
    EXPECT_EQ(tableCount(LockService::tableName()), 0);
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
    const int lines = tableCount(QStringLiteral("ProductStructures"));
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
    EXPECT_EQ(tableCount(QStringLiteral("ProductStructures")), lines);
}

QX_INSTANTIATE_BACKENDS(HostileValues);

}  // namespace
