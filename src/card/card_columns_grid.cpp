#include "card/card_columns.h"

#include "platform/grid.h"

namespace qx {

void setUpLineColumns(Grid& grid, const ListContext& ctx, AuxUnitSwitch aux)
{
    if (grid.cols() < kLineColumnCount) grid.setCols(kLineColumnCount);
    if (grid.rows() < 1) grid.setRows(1);
    for (int c = 0; c < kLineColumnCount; ++c) {
        const LineColumnSpec s = lineColumnSpec(c, ctx, aux);
        if (s.width >= 0) grid.setColWidth(c, s.width);
        if (s.defined) grid.setColumnDef(c, s.maxLength, s.button, s.kind, s.decimals);
        grid.setTextMatrix(0, c, s.caption);
        if (s.aligned) grid.setColAlignment(c, s.alignment);
    }
}

}  // namespace qx
