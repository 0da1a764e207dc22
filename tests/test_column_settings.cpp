// The column-settings dialog ("setItem"): a check box per child-grid column, hiding and showing
// columns for the session.

#include "list/column_settings.h"
#include "support/structure_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTableView>
#include <QTimer>

using namespace qx;
using namespace qx::test;

namespace {

class ColumnSettings : public StructureWindowTest {
protected:
    // Opens the dialog through the window's command; `act` works on it while it is modal.
    void runDialog(const std::function<void(ColumnSettingsDialog&)>& act)
    {
        bool seen = false;
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<ColumnSettingsDialog*>(QApplication::activeModalWidget());
            if (!dialog) {
                // Not there: close whatever is modal so that the test does not hang.
                if (QWidget* w = QApplication::activeModalWidget()) w->close();
                return;
            }
            seen = true;
            act(*dialog);
        });
        window->dispatch(QStringLiteral("setItem"));
        EXPECT_TRUE(seen);
    }
    static void press(ColumnSettingsDialog& d, QDialogButtonBox::StandardButton which)
    {
        d.findChild<QDialogButtonBox*>()->button(which)->click();
    }
};

}  // namespace

TEST_P(ColumnSettings, HidingAndShowingRestoresTheWidthForTheSession)
{
    openWindow();
    Grid& g = *window->SupPS2();
    const int nameWidth = g.colWidth(1);
    ASSERT_EQ(nameWidth, 1200);
    const int rows = g.rows();

    runDialog([&](ColumnSettingsDialog& d) {
        d.checkBox(1)->setChecked(false);
        d.checkBox(3)->setChecked(true);  // a free item hidden from the start
        press(d, QDialogButtonBox::Ok);
    });
    EXPECT_EQ(g.colWidth(1), 0);
    EXPECT_EQ(g.colWidth(3), 1000);
    // Only the widths change; the cells stay.
    EXPECT_EQ(g.rows(), rows);
    EXPECT_EQ(g.textMatrix(1, 1), QStringLiteral("零件一"));

    // Cancel keeps what was chosen before.
    runDialog([&](ColumnSettingsDialog& d) {
        EXPECT_FALSE(d.checkBox(1)->isChecked());
        d.checkBox(1)->setChecked(true);
        press(d, QDialogButtonBox::Cancel);
    });
    EXPECT_EQ(g.colWidth(1), 0);

    runDialog([&](ColumnSettingsDialog& d) {
        d.checkBox(1)->setChecked(true);
        press(d, QDialogButtonBox::Ok);
    });
    EXPECT_EQ(g.colWidth(1), nameWidth);

    // A column left at the grid's default width comes back at the width it had on the screen.
    const std::vector<bool> before = columnVisibility(g);
    std::vector<bool> v = before;
    v[12] = false;
    const int shownPixels = g.view()->columnWidth(12);
    ASSERT_GT(shownPixels, 0);
    applyColumnVisibility(g, v);
    EXPECT_EQ(g.colWidth(12), 0);
    applyColumnVisibility(g, before);
    EXPECT_NEAR(g.view()->columnWidth(12), shownPixels, 1);
}

TEST_P(ColumnSettings, ChoiceHoldsAcrossParentSelections)
{
    openWindow();
    Grid& g = *window->SupPS2();
    runDialog([&](ColumnSettingsDialog& d) {
        d.checkBox(2)->setChecked(false);
        press(d, QDialogButtonBox::Ok);
    });
    ASSERT_TRUE(selectParent(QStringLiteral("P3")));
    EXPECT_EQ(gridColumn(g, 0), (QStringList{"C1", "P2"}));
    EXPECT_EQ(g.colWidth(2), 0);
    ASSERT_TRUE(selectParent(QStringLiteral("P1")));
    EXPECT_EQ(g.colWidth(2), 0);
}

QX_INSTANTIATE_BACKENDS(ColumnSettings);
