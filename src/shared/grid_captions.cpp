#include "shared/grid_captions.h"

#include "texts/texts.h"
#include "shared/list_context.h"

namespace qx {

QStringList parentGridCaptions(const ListContext& ctx)
{
    return {ctx.parentTerm + text::kCode, ctx.parentTerm + text::kName, text::kProduceDept,
            text::kSpec};
}

QStringList childGridCaptions(const ListContext& ctx)
{
    return {
        ctx.childTerm + text::kCode,
        ctx.childTerm + text::kName,
        text::kSpec,
        ctx.HaveFree1 ? ctx.FreeName1 : text::kFreeItem1,
        ctx.HaveFree2 ? ctx.FreeName2 : text::kFreeItem2,
        text::kAuxUnit,
        text::kPieces,
        text::kExchRate,
        text::kMainUnit,
        text::kStdQuantity,
        text::kWasteRate,
        text::kWarehouse,
        text::kStorekeeper,
        text::kUseDept,
        text::kOperation,
        text::kPlannedPrice,
    };
}

}  // namespace qx
