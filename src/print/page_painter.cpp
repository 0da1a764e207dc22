#include "print/page_painter.h"

#include "texts/texts.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPagedPaintDevice>
#include <QPainter>

#include <algorithm>

namespace qx::print {

namespace {

constexpr int kTwipsPerInch = 1440;
constexpr int kLineFontSize = 9;
constexpr double kGapTwips = 150;    // between the head frame and the lines
constexpr double kPaddingTwips = 40;  // inside a cell

// Turns twips into the device's pixels.
struct Scale {
    double x;
    double y;
    double px(double twips) const { return twips * x; }
    double py(double twips) const { return twips * y; }
};

// The layout names its fonts as the suite's machines have them ("宋体"). Where that font is
// missing, fonts follow whose PDF text layer reads back what the page shows: the CJK fonts that
// give the ideographs' glyphs to the Kangxi radicals too make it read "⽗产品" for "父产品" and
// lose the digits after a letter ("P001" read as "P"), so they come last.
QFont printFont(const QString& family)
{
    QFont f;
    QStringList families;
    if (!family.trimmed().isEmpty()) families << family.trimmed();
    families << QStringLiteral("DejaVu Serif") << QStringLiteral("Droid Sans Fallback")
             << QStringLiteral("Noto Serif CJK SC") << QStringLiteral("Noto Sans CJK SC");
    f.setFamilies(families);
    return f;
}

QFont layoutFont(const LayoutRow& r)
{
    QFont f = printFont(r.cFontName);
    f.setPointSize(std::max(1, r.iFontSize));
    f.setBold(r.cFontAttr.contains(QLatin1Char('B')));
    f.setUnderline(r.cFontAttr.contains(QLatin1Char('U')));
    f.setItalic(r.cFontAttr.contains(QLatin1Char('I')));
    return f;
}

void paintLayout(QPainter& p, const Scale& s, const std::vector<LayoutRow>& layout)
{
    for (const LayoutRow& r : layout) {
        const QRectF box(s.px(r.iX), s.py(r.iY), s.px(r.iW), s.py(r.iH));
        if (r.iType == 2) {
            p.setPen(QPen(Qt::black, 0));
            p.setBrush(Qt::NoBrush);
            p.drawRect(box);
            continue;
        }
        p.setFont(layoutFont(r));
        const int align = (r.iAlignment == 1 ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignTop;
        // A text taller than its box (a large font in a short row) is still shown whole.
        p.drawText(box, align | Qt::TextDontClip, r.cText);
    }
}

// Where the lines may go: below the lowest item of the page head, above the page foot.
std::pair<double, double> linesBand(const std::vector<LayoutRow>& layout, double pageTwips)
{
    double top = 0;
    double bottom = pageTwips;
    for (const LayoutRow& r : layout) {
        if (r.iSection == 0)
            top = std::max(top, double(r.iY + r.iH));
        else
            bottom = std::min(bottom, double(r.iY));
    }
    top += kGapTwips;
    bottom -= kGapTwips;
    // A foot placed above the head (or a page too short for both) leaves the lines the rest of
    // the page rather than no room at all.
    if (bottom - top < 1000) bottom = pageTwips;
    return {top, bottom};
}

class LinesTable {
public:
    LinesTable(QPainter& p, const Scale& s, const std::vector<PrintColumn>& cols, double widthTwips)
        : p_(p), s_(s)
    {
        double total = 0;
        for (const auto& c : cols) total += std::max(0, c.widthTwips);
        const double factor = total > widthTwips && total > 0 ? widthTwips / total : 1.0;
        double x = 0;
        for (const auto& c : cols) {
            const double w = std::max(0, c.widthTwips) * factor;
            cells_.push_back({x, w, c.alignRight});
            x += w;
        }
        font_ = printFont(text::kPrintFont);
        font_.setPointSize(kLineFontSize);
    }

    // Height in twips that a row of these texts needs.
    double rowHeight(const QStringList& texts) const
    {
        QFontMetricsF fm(font_, p_.device());
        double h = fm.height() / s_.y;
        for (size_t i = 0; i < cells_.size() && int(i) < texts.size(); ++i) {
            const double inner = std::max(1.0, s_.px(cells_[i].w - 2 * kPaddingTwips));
            const QRectF r = fm.boundingRect(QRectF(0, 0, inner, 1e6), flags(cells_[i]), texts[i]);
            h = std::max(h, r.height() / s_.y);
        }
        return h + 2 * kPaddingTwips;
    }

    void paintRow(const QStringList& texts, double y, double h, bool heading)
    {
        QFont f = font_;
        f.setBold(heading);
        p_.setFont(f);
        p_.setPen(QPen(Qt::black, 0));
        for (size_t i = 0; i < cells_.size(); ++i) {
            const Cell& c = cells_[i];
            const QRectF box(s_.px(c.x), s_.py(y), s_.px(c.w), s_.py(h));
            p_.drawRect(box);
            const QRectF inner = box.adjusted(s_.px(kPaddingTwips), s_.py(kPaddingTwips),
                                              -s_.px(kPaddingTwips), -s_.py(kPaddingTwips));
            const int align = heading ? int(Qt::AlignHCenter) : flags(c);
            p_.drawText(inner, align | Qt::TextWrapAnywhere | Qt::AlignVCenter,
                        int(i) < texts.size() ? texts[int(i)] : QString());
        }
    }

private:
    struct Cell {
        double x;
        double w;
        bool right;
    };
    static int flags(const Cell& c)
    {
        return (c.right ? Qt::AlignRight : Qt::AlignLeft) | Qt::TextWrapAnywhere;
    }

    QPainter& p_;
    Scale s_;
    QFont font_;
    std::vector<Cell> cells_;
};

}  // namespace

int paintPages(QPagedPaintDevice& device, const PrintJob& job)
{
    QPainter p;
    if (!p.begin(&device)) return 0;
    const Scale s{double(device.logicalDpiX()) / kTwipsPerInch,
                  double(device.logicalDpiY()) / kTwipsPerInch};
    const QRect paintRect = device.pageLayout().paintRectPixels(device.logicalDpiX());
    const double pageWidthTwips = paintRect.width() / s.x;
    const double pageHeightTwips = paintRect.height() / s.y;

    const auto [top, bottom] = linesBand(job.layout, pageHeightTwips);
    LinesTable table(p, s, job.columns, pageWidthTwips);
    QStringList captions;
    for (const auto& c : job.columns) captions << c.caption;
    const double headingHeight = table.rowHeight(captions);

    int pages = 1;
    paintLayout(p, s, job.layout);
    double y = top;
    if (!job.columns.empty()) {
        table.paintRow(captions, y, headingHeight, true);
        y += headingHeight;
    }
    for (const QStringList& line : job.lines) {
        const double h = table.rowHeight(line);
        if (y + h > bottom && y > top + headingHeight) {
            device.newPage();
            ++pages;
            paintLayout(p, s, job.layout);
            y = top;
            table.paintRow(captions, y, headingHeight, true);
            y += headingHeight;
        }
        table.paintRow(line, y, h, false);
        y += h;
    }
    p.end();
    return pages;
}

}  // namespace qx::print
