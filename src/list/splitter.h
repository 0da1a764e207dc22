#pragma once

// The arithmetic of the list window's splitter, in twips, as plain functions over the rectangles
// of the four controls it moves, so that it can be checked without a screen.

namespace qx {

struct TwipsRect {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
    double right() const { return left + width; }
};

// The controls the splitter moves: the parent grid SupPS1, the bar PicPS, the child grid SupPS2
// and Label2 above the child grid (only its left edge follows).
struct SplitterLayout {
    TwipsRect parentGrid;
    TwipsRect bar;
    TwipsRect childGrid;
    TwipsRect label2;
};

// Height taken by the toolbar and the labels above the grids.
constexpr double kHeadHeight = 900;
// From the parent grid's right edge to the bar, and to the child grid.
constexpr double kBarGap = 5;
constexpr double kChildGap = 20;
// Kept free at the right of the child grid after a drag.
constexpr double kRightMargin = 100;
// Below these inner sizes the layout is left alone.
constexpr double kMinInnerHeight = 1000;
constexpr double kMinInnerWidth = 100;

// A size change: restores the one-third split (discarding any drag). The tops are not changed.
// False, and nothing moved, when the window is too small.
bool resizeLayout(SplitterLayout& layout, double innerWidth, double innerHeight);

// A mouse move over the bar while dragging, x relative to the bar: the bar follows only while
// it stays inside the window. False when it did not move.
bool dragBar(SplitterLayout& layout, double x, double innerWidth);

// The release of the bar where it now stands: the grids take the new split, unless the parent
// grid or the room left for the child grid would be empty; then nothing but the bar has moved.
// windowWidth is the window's own width (the child grid keeps the right margin from it).
bool dropBar(SplitterLayout& layout, double innerWidth, double windowWidth);

}  // namespace qx
