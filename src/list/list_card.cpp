// Opening the card from the list: add, edit under the structure's lock, copy. The card window
// is opened from here once it can be shown modally over the list.

#include "list/frm_ps.h"
#include "platform/grid.h"

namespace qx {

void FrmPS::Fadd() {}

void FrmPS::Fedit()
{
    // With only the header row there is nothing to edit and no lock is asked for.
    if (supPS1_->rows() < 2) return;
}

void FrmPS::FCopy()
{
    if (supPS1_->rows() < 2) return;
}

}  // namespace qx
