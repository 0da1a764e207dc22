// The splitter of the list window: the arithmetic on its own, and the bar dragged on the real
// window.

#include "list/frm_ps.h"
#include "list/splitter.h"
#include "platform/grid.h"
#include "support/company.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace qx;

namespace {

SplitterLayout freshLayout()
{
    SplitterLayout l;
    l.parentGrid = {0, 900, 500, 500};
    l.bar = {505, 900, 60, 500};
    l.childGrid = {520, 900, 1000, 500};
    l.label2 = {520, 660, 1000, 240};
    return l;
}

TEST(SplitterArithmetic, ResizeRestoresTheThirds)
{
    SplitterLayout l = freshLayout();
    ASSERT_TRUE(resizeLayout(l, 9000, 6000));
    EXPECT_DOUBLE_EQ(l.parentGrid.width, 3000);
    EXPECT_DOUBLE_EQ(l.parentGrid.height, 5100);
    EXPECT_DOUBLE_EQ(l.bar.left, 3005);
    EXPECT_DOUBLE_EQ(l.bar.height, 5100);
    EXPECT_DOUBLE_EQ(l.childGrid.left, 3020);
    EXPECT_DOUBLE_EQ(l.childGrid.width, 6000);
    EXPECT_DOUBLE_EQ(l.childGrid.height, 5100);
    EXPECT_DOUBLE_EQ(l.label2.left, 3020);
    // Tops never change.
    EXPECT_DOUBLE_EQ(l.parentGrid.top, 900);
    EXPECT_DOUBLE_EQ(l.bar.top, 900);
    EXPECT_DOUBLE_EQ(l.label2.top, 660);
    // Two thirds as the sum of two thirds (not 2W/3 rounded once).
    ASSERT_TRUE(resizeLayout(l, 1000, 2000));
    EXPECT_DOUBLE_EQ(l.childGrid.width, 1000.0 / 3 + 1000.0 / 3);
}

TEST(SplitterArithmetic, DropOutsideTheValidRangeChangesNothing)
{
    SplitterLayout l = freshLayout();
    ASSERT_TRUE(resizeLayout(l, 9000, 6000));
    const SplitterLayout before = l;
    // At the parent grid's left edge.
    l.bar.left = 0;
    EXPECT_FALSE(dropBar(l, 9000, 9000));
    // Into the right margin.
    l.bar.left = 8900;
    EXPECT_FALSE(dropBar(l, 9000, 9000));
    l.bar.left = 8950;
    EXPECT_FALSE(dropBar(l, 9000, 9000));
    EXPECT_DOUBLE_EQ(l.parentGrid.width, before.parentGrid.width);
    EXPECT_DOUBLE_EQ(l.childGrid.left, before.childGrid.left);
    EXPECT_DOUBLE_EQ(l.childGrid.width, before.childGrid.width);
    EXPECT_DOUBLE_EQ(l.label2.left, before.label2.left);
    // Just inside the margin is accepted.
    l.bar.left = 8899;
    EXPECT_TRUE(dropBar(l, 9000, 9000));
}

TEST(SplitterOnWindow, BarDraggedWithTheMouseAndResizeRestoresThirds)
{
    test::ensureApplication();
    QTemporaryDir systemDir;
    qputenv("QX_SYSTEM_DIR", systemDir.path().toUtf8());
    FrmPS w;
    w.resize(twipsToPixels(13500, &w), twipsToPixels(7500, &w));
    w.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&w));
    const double width = pixelsToTwips(w.width(), &w);
    EXPECT_NEAR(w.splitterLayout().parentGrid.width, width / 3, 1);
    EXPECT_NEAR(pixelsToTwips(w.SupPS1()->width(), &w), width / 3, 20);
    EXPECT_EQ(w.SupPS2()->x(), w.Label2()->x());

    QWidget* bar = w.PicPS();
    const int startX = bar->x();
    // Without a press, moving does nothing.
    QMouseEvent move0(QEvent::MouseMove, QPointF(30, 5), bar->mapToGlobal(QPointF(30, 5)),
                      Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(bar, &move0);
    EXPECT_EQ(bar->x(), startX);

    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(1, 5));
    EXPECT_TRUE(w.dragging());
    QMouseEvent move(QEvent::MouseMove, QPointF(40, 5), bar->mapToGlobal(QPointF(40, 5)),
                     Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(bar, &move);
    EXPECT_NEAR(bar->x(), startX + 40, 1);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, QPoint(1, 5));
    EXPECT_FALSE(w.dragging());
    EXPECT_NEAR(w.SupPS1()->width(), bar->x(), 1);
    EXPECT_NEAR(w.SupPS2()->x(), bar->x() + bar->width(), 1);
    EXPECT_EQ(w.Label2()->x(), w.SupPS2()->x());

    // A resize discards the drag.
    w.resize(w.width() + 30, w.height());
    QApplication::processEvents();
    EXPECT_NEAR(w.splitterLayout().parentGrid.width, pixelsToTwips(w.width(), &w) / 3.0, 1);
    EXPECT_NEAR(w.SupPS1()->width(), w.width() / 3, 2);
}

}  // namespace
