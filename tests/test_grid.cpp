// The grid as the windows use it (sorting, presses on the heading and the cells, editing under a
// handler) and the lookup dialog, driven with real key and mouse events.

#include "platform/database.h"
#include "platform/grid.h"
#include "platform/ref_dialog.h"
#include "platform/ref_dialog_widget.h"
#include "support/company.h"

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

using namespace qx;

namespace {

// A handler that records what the grid asked and answers from its settings.
struct RecordingHandler : GridEditHandler {
    bool accept = true;
    QString replaceWith;  // non-empty: the accepted text is replaced by this
    bool allowLeave = true;

    std::vector<std::tuple<int, int, QString>> validated;
    std::vector<int> left;

    bool cellLocked(int, int) override { return false; }
    bool validateEdit(int row, int col, QString& text) override
    {
        validated.emplace_back(row, col, text);
        if (!accept) return false;
        if (!replaceWith.isEmpty()) text = replaceWith;
        return true;
    }
    bool rowLeaving(int row) override
    {
        left.push_back(row);
        return allowLeave;
    }
    ReferencePick referenceRequested(int, int) override { return {}; }
};

// Stands for a window: a header field and the grid.
class KeyWindow : public QWidget {
public:
    KeyWindow()
    {
        auto* layout = new QVBoxLayout(this);
        other = new QLineEdit(this);  // stands for a header field of the card
        layout->addWidget(other);
        grid = new Grid(this);
        layout->addWidget(grid);
        resize(800, 400);
    }
    Grid* grid;
    QLineEdit* other;
};

class GridTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { qx::test::ensureApplication(); }
};

// A grid of three columns and rows "r1".."rN" in column 0, shown and focused.
class GridEditTest : public GridTest {
protected:
    void SetUp() override
    {
        grid = window.grid;
        grid->setCols(3);
        for (int c = 0; c < 3; ++c) grid->setTextMatrix(0, c, QStringLiteral("H%1").arg(c));
        for (int r = 1; r <= 3; ++r)
            grid->appendRow({QStringLiteral("r%1").arg(r), QStringLiteral("OLD%1").arg(r), {}});
        grid->setEditable(true);
        grid->setEditHandler(&handler);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        grid->setRow(1);
        grid->setCol(1);
        grid->view()->setFocus();
        QApplication::processEvents();
    }

    QLineEdit* editor() const { return qobject_cast<QLineEdit*>(QApplication::focusWidget()); }

    // Types text as the user does: the first key goes to the grid, the rest to the editor.
    void type(const QString& text)
    {
        for (QChar ch : text) {
            QWidget* target =
                QApplication::focusWidget() ? QApplication::focusWidget() : grid->view();
            QTest::keyClicks(target, QString(ch));
        }
    }

    QPoint cellCentre(int row, int col) const
    {
        return grid->view()->visualRect(grid->view()->model()->index(row - 1, col)).center();
    }

    KeyWindow window;
    Grid* grid = nullptr;
    RecordingHandler handler;
};

}  // namespace

TEST_F(GridTest, SortIsCaseSensitiveStableAndKeepsTheCurrentRecord)
{
    Grid g;
    g.setCols(2);
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"b", "1"}, {"B", "2"}, {"a", "3"}, {"A", "4"}, {"b", "5"}, {"a", "6"}};
    for (const auto& [k, n] : rows) g.appendRow({QString::fromLatin1(k), QString::fromLatin1(n)});
    g.setRow(1);  // "b", 1
    QSignalSpy moved(&g, &Grid::currentRowChanged);

    g.sortByColumn(0);
    QStringList order;
    for (int r = 1; r < g.rows(); ++r) order << g.textMatrix(r, 0) + g.textMatrix(r, 1);
    EXPECT_EQ(order, (QStringList{"A4", "B2", "a3", "a6", "b1", "b5"}))
        << "capitals first; equal keys keep their order";
    EXPECT_EQ(g.row(), 5);
    EXPECT_EQ(g.textMatrix(g.row(), 1), QStringLiteral("1"))
        << "the current row follows its record";
    ASSERT_EQ(moved.count(), 1);
    EXPECT_EQ(moved.at(0).at(0).toInt(), 5);

    // Sorting by the second column alone, and by both as one key; widths stay as they were.
    g.setColWidth(0, 0);
    g.setColWidth(1, 1500);
    g.sortByColumn(1);
    EXPECT_EQ(g.textMatrix(1, 1), QStringLiteral("1"));
    EXPECT_TRUE(g.view()->isColumnHidden(0));
    EXPECT_EQ(g.view()->horizontalHeader()->sectionSize(1), twipsToPixels(1500, &g));
    EXPECT_EQ(g.view()->selectionModel()->currentIndex().row() + 1, g.row());
    Grid m;
    m.setCols(3);
    m.appendRow({QStringLiteral("X"), QStringLiteral("2"), QStringLiteral("first")});
    m.appendRow({QStringLiteral("X"), QStringLiteral("1"), QStringLiteral("second")});
    m.appendRow({QStringLiteral("A"), QStringLiteral("9"), QStringLiteral("third")});
    m.appendRow({QStringLiteral("X"), QStringLiteral("1"), QStringLiteral("fourth")});
    m.sortByColumns(0, 1);
    QStringList byTwo;
    for (int r = 1; r < m.rows(); ++r) byTwo << m.textMatrix(r, 2);
    EXPECT_EQ(byTwo, (QStringList{"third", "second", "fourth", "first"}));
}

TEST_F(GridTest, MousePressesOnHeadingAndCellsCarryRowColumnAndButton)
{
    Grid g;
    g.setCols(3);
    g.appendRow({QStringLiteral("a")});
    g.appendRow({QStringLiteral("b")});
    g.resize(500, 200);
    g.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&g));
    QSignalSpy pressed(&g, &Grid::mousePressed);

    QHeaderView* header = g.view()->horizontalHeader();
    const QPoint heading(header->sectionViewportPosition(1) + header->sectionSize(1) / 2,
                         header->height() / 2);
    QTest::mousePress(header->viewport(), Qt::LeftButton, {}, heading);
    QTest::mouseRelease(header->viewport(), Qt::LeftButton, {}, heading);
    ASSERT_EQ(pressed.count(), 1);
    EXPECT_EQ(pressed.at(0).mid(0, 2), (QVariantList{0, 1})) << "the heading is row 0";
    EXPECT_EQ(pressed.at(0).at(2).value<Qt::MouseButton>(), Qt::LeftButton);

    // Grabbing a column's edge to widen it is not a press on the heading (it would sort).
    const QPoint edge(header->sectionViewportPosition(1) + header->sectionSize(1) - 1,
                      header->height() / 2);
    QTest::mousePress(header->viewport(), Qt::LeftButton, {}, edge);
    QTest::mouseRelease(header->viewport(), Qt::LeftButton, {}, edge);
    EXPECT_EQ(pressed.count(), 1);

    const QPoint cell = g.view()->visualRect(g.view()->model()->index(1, 2)).center();
    QTest::mouseClick(g.view()->viewport(), Qt::RightButton, {}, cell);
    ASSERT_EQ(pressed.count(), 2);
    EXPECT_EQ(pressed.at(1).toList().mid(0, 2), (QVariantList{2, 2}));
    EXPECT_EQ(pressed.at(1).at(2).value<Qt::MouseButton>(), Qt::RightButton);
}

TEST_F(GridEditTest, RefusedCellKeepsTheEditorUntilItIsPutRight)
{
    handler.accept = false;
    type(QStringLiteral("ab"));
    ASSERT_NE(editor(), nullptr);
    EXPECT_EQ(editor()->text(), QStringLiteral("ab")) << "typing replaces the cell, spreadsheet-like";
    QTest::keyClick(editor(), Qt::Key_Return);
    ASSERT_EQ(handler.validated.size(), 1u);
    EXPECT_EQ(handler.validated[0], std::make_tuple(1, 1, QStringLiteral("ab")));
    ASSERT_NE(editor(), nullptr) << "focus stays in the editor";
    EXPECT_EQ(editor()->text(), QStringLiteral("ab"));
    EXPECT_EQ(grid->textMatrix(1, 1), QStringLiteral("OLD1"));
    EXPECT_EQ(grid->col(), 1) << "a refused Enter does not move on";

    QTest::mouseClick(grid->view()->viewport(), Qt::LeftButton, {}, cellCentre(3, 0));
    EXPECT_EQ(grid->row(), 1);
    EXPECT_EQ(handler.validated.size(), 2u);
    EXPECT_TRUE(handler.left.empty()) << "the row pass waits for the cell";
    QLineEdit* cellEditor = editor();
    window.other->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(handler.validated.size(), 3u);
    EXPECT_EQ(QApplication::focusWidget(), cellEditor) << "a refused cell takes the focus back";
    EXPECT_FALSE(grid->finishEdit());

    handler.accept = true;
    handler.replaceWith = QStringLiteral("名称");
    QTest::keyClick(editor(), Qt::Key_Tab);
    EXPECT_FALSE(grid->isEditing());
    EXPECT_EQ(grid->textMatrix(1, 1), QStringLiteral("名称")) << "the handler's replacement is stored";
    EXPECT_EQ(grid->col(), 2) << "Tab moves right";
    type(QStringLiteral("x"));
    window.other->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(grid->textMatrix(1, 2), QStringLiteral("名称"));
    EXPECT_EQ(QApplication::focusWidget(), window.other) << "an accepted cell lets the focus go";
}

// Leaving a row asks the handler, by key, click or Enter at the last column; moves within the row,
// the window's own moves and removed rows ask nothing and end an edit without checking it.
TEST_F(GridEditTest, RowLeavingIsAskedOnlyOfTheUsersMoves)
{
    handler.allowLeave = false;
    QTest::keyClick(grid->view(), Qt::Key_Down);
    QTest::mouseClick(grid->view()->viewport(), Qt::LeftButton, {}, cellCentre(3, 1));
    EXPECT_EQ(grid->row(), 1);
    EXPECT_EQ(handler.left, (std::vector<int>{1, 1}));
    QTest::keyClick(grid->view(), Qt::Key_Right);
    EXPECT_EQ(grid->col(), 2);
    EXPECT_EQ(handler.left.size(), 2u);
    QTest::keyClick(grid->view(), Qt::Key_Return);
    EXPECT_EQ(grid->row(), 1);
    EXPECT_EQ(handler.left.size(), 3u);
    handler.allowLeave = true;
    QSignalSpy moved(grid, &Grid::currentRowChanged);
    QTest::keyClick(grid->view(), Qt::Key_Return);
    EXPECT_EQ(grid->row(), 2);
    EXPECT_EQ(grid->col(), 0);
    ASSERT_EQ(moved.count(), 1);
    EXPECT_EQ(moved.at(0).at(0).toInt(), 2);

    handler.left.clear();
    type(QStringLiteral("x"));
    ASSERT_TRUE(grid->isEditing());
    grid->removeRow(2);
    EXPECT_FALSE(grid->isEditing());
    EXPECT_EQ(grid->rows(), 3);
    grid->setRow(1);
    grid->setCol(2);
    grid->startEdit();
    type(QStringLiteral("typed"));
    grid->setRow(2);  // the window's own move: no question, the typing is dropped
    EXPECT_FALSE(grid->isEditing());
    EXPECT_EQ(grid->textMatrix(1, 2), QString());
    EXPECT_TRUE(handler.left.empty());
    EXPECT_TRUE(handler.validated.empty()) << "a removed or left line is not checked";
    grid->startEdit();
    grid->setRows(1);
    EXPECT_FALSE(grid->isEditing());
    grid->addRow();
    grid->setRow(1);
    grid->startEdit();
    EXPECT_TRUE(grid->isEditing()) << "the grid still edits";
}

// The lookup dialog: type-ahead filter, Enter and double-click pick, Escape cancels, and the
// recordset is left on the picked row. The scripted chooser stands in for it in window tests.
namespace {

class RefDialogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        db = qx::test::openFreshDatabase(qx::test::TestBackend::Sqlite);
        db->execute(QStringLiteral(
            "CREATE TABLE Dept (cDepCode VARCHAR(12), cDepName VARCHAR(30), cMemo VARCHAR(10))"));
        const QVariantList rows[] = {
            {QStringLiteral("D1"), QStringLiteral("一车间"), QStringLiteral("m1")},
            {QStringLiteral("D2"), QStringLiteral("二车间"), QStringLiteral("m2")},
            {QStringLiteral("AB01"), QVariant(), QStringLiteral("m3")},  // a Null name
            {QStringLiteral("X'9"), QStringLiteral("装配|线"), QStringLiteral("m4")},
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
    const QStringList captions{QStringLiteral("部门编码"), QStringLiteral("部门名称")};
};


}  // namespace

TEST_F(RefDialogTest, FilterNarrowsAsTheUserTypesWithoutRegardToCase)
{
    RefDialog dlg(*rs, QStringLiteral("参照"), captions, nullptr);
    dlg.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
    QTest::keyClicks(dlg.filterEdit(), QStringLiteral("d"));
    EXPECT_EQ(dlg.shownRows(), 2) << "D1 and D2; the case of the typed text does not matter";
    QTest::keyClicks(dlg.filterEdit(), QStringLiteral("2"));
    ASSERT_EQ(dlg.shownRows(), 1);
    EXPECT_EQ(dlg.currentSourceRow(), 2);

    dlg.filterEdit()->clear();
    dlg.filterEdit()->insert(QStringLiteral("车间"));  // as the input method commits it
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
    const auto picked = chooser.choose(*rs, QStringLiteral("参照"), captions, nullptr);
    ASSERT_TRUE(picked.has_value());
    EXPECT_EQ(*picked, 0);
    EXPECT_EQ(rs->absolutePosition(), 0);
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("AB01"));
    EXPECT_TRUE(rs->field(1).isNull());

    // Arrows walk the list while the typing stays in the filter.
    whenShown([](RefDialog* dlg) {
        dlg->filterEdit()->insert(QStringLiteral("车间"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Down);
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Enter);
    });
    const auto second = chooser.choose(*rs, QStringLiteral("参照"), captions, nullptr);
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
    const auto picked = chooser.choose(*rs, QStringLiteral("参照"), captions, nullptr);
    ASSERT_TRUE(picked.has_value());
    EXPECT_EQ(*picked, 3);
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("X'9"));

    whenShown([](RefDialog* dlg) {
        QTest::keyClicks(dlg->filterEdit(), QStringLiteral("D1"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Escape);
    });
    EXPECT_FALSE(chooser.choose(*rs, QStringLiteral("参照"), captions, nullptr).has_value());
    EXPECT_EQ(rs->field(0).toString(), QStringLiteral("X'9"))
        << "a cancel leaves the position alone";

    // Enter with nothing left to pick keeps the dialog up; Escape then closes it.
    whenShown([](RefDialog* dlg) {
        QTest::keyClicks(dlg->filterEdit(), QStringLiteral("zzz"));
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Return);
        EXPECT_TRUE(dlg->isVisible());
        QTest::keyClick(dlg->filterEdit(), Qt::Key_Escape);
    });
    EXPECT_FALSE(chooser.choose(*rs, QStringLiteral("参照"), captions, nullptr).has_value());
}
