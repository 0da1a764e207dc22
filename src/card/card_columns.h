#pragma once

// The seventeen columns of a structure's line grid, shared by the card's grid and the list's
// child grid, so that a line looks the same in both windows and is addressed by one name.

#include "platform/grid.h"

#include <QString>

namespace qx {

struct ListContext;

enum LineColumn : int {
    ColChildCode = 0,
    ColChildName = 1,
    ColSpec = 2,
    ColFree1 = 3,
    ColFree2 = 4,
    ColAuxUnit = 5,
    ColPieces = 6,
    ColExchRate = 7,
    ColMainUnit = 8,
    ColQuantity = 9,
    ColWasteRate = 10,
    ColWarehouse = 11,
    ColPerson = 12,
    ColDept = 13,
    ColOperation = 14,
    ColPlannedPrice = 15,
    ColHidden = 16,
};
constexpr int kLineColumnCount = 17;

// Widths of the auxiliary-unit columns 5..7 before the company switch is read, and of the
// planned-price column, which the set-up never sets.
constexpr int kAuxUnitWidth = 1100;
constexpr int kPiecesWidth = 800;
constexpr int kExchRateWidth = 800;
constexpr int kPlannedPriceWidth = 800;
constexpr int kHiddenWidth = 10;

// One column of the line grid as the set-up defines it.
struct LineColumnSpec {
    QString caption;       // row 0 (empty for column 16)
    int width = -1;        // twips; -1: left as the grid has it
    bool defined = false;  // column 16 gets no definition
    int maxLength = 0;
    bool button = false;
    ColumnKind kind = ColumnKind::Text;
    int decimals = 0;
    bool aligned = false;  // columns 11..16 keep the grid's default alignment
    CellAlignment alignment = CellAlignment::LeftCenter;
};

// The auxiliary-unit switch (accinformation, cid '22'): absent, "TRUE", or any other value.
enum class AuxUnitSwitch { Absent, Shown, Hidden };

// The definition of column `col` for the company described by ctx and its auxiliary-unit switch.
LineColumnSpec lineColumnSpec(int col, const ListContext& ctx, AuxUnitSwitch aux);

// Reads the auxiliary-unit switch with the company's own statement.
AuxUnitSwitch readAuxUnitSwitch(const ListContext& ctx);

// Applies the whole column table to a grid (widths, definitions, captions, alignments).
void setUpLineColumns(Grid& grid, const ListContext& ctx, AuxUnitSwitch aux);

}  // namespace qx
