// The splitter of the list window: the bar dragged on the real window, and thirds again after a
// resize.

#include "list/frm_ps.h"
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
