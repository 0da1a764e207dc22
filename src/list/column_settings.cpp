#include "list/column_settings.h"

#include "texts/texts.h"
#include "platform/grid.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <array>

namespace qx {

namespace {

// The widths the child grid's set-up gives its columns; 0 for the columns left at the grid's
// default width.
constexpr std::array<int, 16> kUsualTwips = {1000, 1200, 1200, 1000, 1000, 1000, 800, 800,
                                             1000, 800,  800,  0,    0,    0,    0,    0};
constexpr int kFallbackTwips = 1200;

const char* widthProperty(int col)
{
    static const std::array<QByteArray, 64> names = [] {
        std::array<QByteArray, 64> n;
        for (int i = 0; i < 64; ++i) n[i] = "qxShownWidth" + QByteArray::number(i);
        return n;
    }();
    return names.at(col).constData();
}

int shownWidth(const Grid& grid, int col)
{
    const QVariant kept = grid.property(widthProperty(col));
    if (kept.isValid() && kept.toInt() > 0) return kept.toInt();
    if (col < int(kUsualTwips.size()) && kUsualTwips[col] > 0) return kUsualTwips[col];
    return kFallbackTwips;
}

}  // namespace

std::vector<bool> columnVisibility(const Grid& grid)
{
    std::vector<bool> v;
    for (int c = 0; c < grid.cols(); ++c) v.push_back(grid.colWidth(c) != 0);
    return v;
}

void applyColumnVisibility(Grid& grid, const std::vector<bool>& visible)
{
    for (int c = 0; c < grid.cols() && c < int(visible.size()) && c < 64; ++c) {
        const int width = grid.colWidth(c);
        const bool shown = width != 0;
        if (shown == visible[c]) continue;
        if (!visible[c]) {
            // Remember what the column looked like, so that showing it again restores it.
            const int twips = width > 0 ? width : pixelsToTwips(grid.view()->columnWidth(c), &grid);
            grid.setProperty(widthProperty(c), twips);
            grid.setColWidth(c, 0);
        } else {
            grid.setColWidth(c, shownWidth(grid, c));
        }
    }
}

ColumnSettingsDialog::ColumnSettingsDialog(Grid& grid, QWidget* parent)
    : QDialog(parent), grid_(grid)
{
    setObjectName(QStringLiteral("ColumnSettings"));
    setWindowTitle(text::kTipSetItem);
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    const std::vector<bool> visible = columnVisibility(grid);
    for (int c = 0; c < grid.cols(); ++c) {
        auto* box = new QCheckBox(grid.textMatrix(0, c), this);
        box->setChecked(visible[c]);
        layout->addWidget(box);
        boxes_.push_back(box);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(text::kOk);
    buttons->button(QDialogButtonBox::Cancel)->setText(text::kCancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &ColumnSettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ColumnSettingsDialog::reject);
    layout->addWidget(buttons);
}

std::vector<bool> ColumnSettingsDialog::chosen() const
{
    std::vector<bool> v;
    for (const QCheckBox* box : boxes_) v.push_back(box->isChecked());
    return v;
}

void ColumnSettingsDialog::accept()
{
    applyColumnVisibility(grid_, chosen());
    QDialog::accept();
}

}  // namespace qx
