// The lookup dialog: type-ahead filter, Enter and double-click pick, Escape cancels, and the
// recordset is left on the picked row. The scripted chooser stands in for it in window tests.

#include "platform/database.h"
#include "platform/ref_dialog.h"
#include "platform/ref_dialog_widget.h"
#include "support/company.h"

#include <QApplication>
#include <QLineEdit>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace qx;

namespace {

QString q(const char* s)
{
    return QString::fromUtf8(s);
}

class RefDialogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        db = qx::test::openFreshDatabase(qx::test::TestBackend::Sqlite);
        db->execute(QStringLiteral(
            "CREATE TABLE Dept (cDepCode VARCHAR(12), cDepName VARCHAR(30), cMemo VARCHAR(10))"));
        const QVariantList rows[] = {
            {QStringLiteral("D1"), q("一车间"), QStringLiteral("m1")},
            {QStringLiteral("D2"), q("二车间"), QStringLiteral("m2")},
            {QStringLiteral("AB01"), QVariant(), QStringLiteral("m3")},  // a Null name
            {QStringLiteral("X'9"), q("装配|线"), QStringLiteral("m4")},
        };
        for (const auto& r : rows)
            db->execute(QStringLiteral("INSERT INTO Dept VALUES (?, ?, ?)"), r);
        rs = db->openRecordset(
            QStringLiteral("select cDepCode, cDepName, cMemo from Dept order by cDepCode"),
            RecordsetType::Snapshot);
        // Rows by code order: AB01, D1, D2, X'9.
    }

    // Runs `drive` on the modal dialog once it is up.
    static void whenShown(std::function<void(RefDialog*)> drive)
    {
        QTimer::singleShot(0, [drive] {
            QTRY_VERIFY(qobject_cast<RefDialog*>(QApplication::activeModalWidget()) != nullptr);
            drive(qobject_cast<RefDialog*>(QApplication::activeModalWidget()));
        });
    }

    std::unique_ptr<Database> db;
    std::unique_ptr<Recordset> rs;
    const QStringList captions{q("部门编码"), q("部门名称")};
};

}  // namespace

TEST_F(RefDialogTest, FilterNarrowsAsTheUserTypesWithoutRegardToCase)
{
    RefDialog dlg(*rs, q("参照"), captions, nullptr);
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    QTest::keyClicks(dlg.filterEdit(), QStringLiteral("d"));
    EXPECT_EQ(dlg.shownRows(), 2) << "D1 and D2; the case of the typed text does not matter";
    QTest::keyClicks(dlg.filterEdit(), QStringLiteral("2"));
    ASSERT_EQ(dlg.shownRows(), 1);
    EXPECT_EQ(dlg.currentSourceRow(), 2);

    dlg.filterEdit()->clear();
    dlg.filterEdit()->insert(q("车间"));  // as the input method commits it
    EXPECT_EQ(dlg.shownRows(), 2) << "any shown column matches";
    dlg.filterEdit()->clear();
    QTest::keyClicks(dlg.filterEdit(), QStringLiteral("m3"));
    EXPECT_EQ(dlg.shownRows(), 0) << "a column without a caption is not shown, so not searched";
    dlg.filterEdit()->clear();
    QTest::keyClicks(dlg.filterEdit(), QStringLiteral("'"));
    EXPECT_EQ(dlg.shownRows(), 1) << "a quote is plain text to the filter";
}

TEST_F(RefDialogTest, EnterPicksAndLeavesTheRecordsetOnThePickedRow)
{
    RefDialogChooser chooser;
    whenShown([](RefDialog* dlg) {
        QTest::keyClicks(dlg->filterEdit(), QStringLiteral("ab"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Return);
    });
    const auto picked = chooser.choose(*rs, q("参照"), captions, nullptr);
    ASSERT_TRUE(picked.has_value());
    EXPECT_EQ(*picked, 0);
    EXPECT_EQ(rs->absolutePosition(), 0);
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("AB01"));
    EXPECT_TRUE(rs->field(1).isNull());

    // Arrows walk the list while the typing stays in the filter.
    whenShown([](RefDialog* dlg) {
        dlg->filterEdit()->insert(q("车间"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Down);
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Enter);
    });
    const auto second = chooser.choose(*rs, q("参照"), captions, nullptr);
    ASSERT_TRUE(second.has_value());
    EXPECT_EQ(*second, 2);
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("D2"));
}

TEST_F(RefDialogTest, DoubleClickPicksAndEscapeCancels)
{
    RefDialogChooser chooser;
    whenShown([](RefDialog* dlg) {
        QTableView* t = dlg->table();
        const QPoint at = t->visualRect(t->model()->index(3, 1)).center();
        QTest::mouseClick(t->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(t->viewport(), Qt::LeftButton, {}, at);
    });
    const auto picked = chooser.choose(*rs, q("参照"), captions, nullptr);
    ASSERT_TRUE(picked.has_value());
    EXPECT_EQ(*picked, 3);
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("X'9"));

    whenShown([](RefDialog* dlg) {
        QTest::keyClicks(dlg->filterEdit(), QStringLiteral("D1"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Escape);
    });
    EXPECT_FALSE(chooser.choose(*rs, q("参照"), captions, nullptr).has_value());
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("X'9"))
        << "a cancel leaves the position alone";

    // Enter with nothing left to pick keeps the dialog up; Escape then closes it.
    whenShown([](RefDialog* dlg) {
        QTest::keyClicks(dlg->filterEdit(), QStringLiteral("zzz"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Return);
        EXPECT_TRUE(dlg->isVisible());
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Escape);
    });
    EXPECT_FALSE(chooser.choose(*rs, q("参照"), captions, nullptr).has_value());
}
