#include "list/splitter.h"

namespace qx {

bool resizeLayout(SplitterLayout& l, double innerWidth, double innerHeight)
{
    if (innerHeight < kMinInnerHeight || innerWidth < kMinInnerWidth) return false;
    l.parentGrid.height = innerHeight - kHeadHeight;
    l.parentGrid.width = innerWidth / 3;
    l.bar.left = l.parentGrid.left + l.parentGrid.width + kBarGap;
    l.childGrid.left = l.parentGrid.left + l.parentGrid.width + kChildGap;
    l.childGrid.height = innerHeight - kHeadHeight;
    // Two thirds as the sum of two thirds, as the window always computed it.
    l.childGrid.width = innerWidth / 3 + innerWidth / 3;
    l.bar.height = l.parentGrid.height;
    l.label2.left = l.childGrid.left;
    return true;
}

bool dragBar(SplitterLayout& l, double x, double innerWidth)
{
    const double left = l.bar.left + x;
    if (left < 0 || left + l.bar.width > innerWidth) return false;
    l.bar.left = left;
    return true;
}

bool dropBar(SplitterLayout& l, double innerWidth, double windowWidth)
{
    const double p = l.bar.left;
    const double parentWidth = p - l.parentGrid.left;
    const double childRoom = innerWidth - p - kRightMargin;
    if (parentWidth <= 0 || childRoom <= 0) return false;
    l.parentGrid.width = parentWidth;
    l.childGrid.left = p + l.bar.width;
    l.childGrid.width = windowWidth - l.childGrid.left - kRightMargin;
    l.label2.left = l.childGrid.left;
    return true;
}

}  // namespace qx
