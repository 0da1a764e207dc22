// Print, preview, output to a file, print set-up, column settings and help. The "no data"
// guards stand in the dispatcher; these run only when the list has parents.

#include "list/column_settings.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/host_facts.h"
#include "print/help_page.h"
#include "print/print_commands.h"
#include "print/print_source.h"

namespace qx {

namespace {

print::PrintSource currentSource(const FrmPS& w)
{
    const int row = w.SupPS1()->row() >= 1 ? w.SupPS1()->row() : 1;
    return print::sourceFromGrids(*w.SupPS1(), row, *w.SupPS2(), w.context().sProStru);
}

}  // namespace

void FrmPS::FPrint() { print::printStructure(currentSource(*this), systemDirectory(), this); }

void FrmPS::FPreview() { print::previewStructure(currentSource(*this), systemDirectory(), this); }

void FrmPS::FOutput() { print::outputStructure(currentSource(*this), systemDirectory(), this); }

void FrmPS::FSetup() { print::printSetup(this); }

void FrmPS::FSetItem()
{
    ColumnSettingsDialog dialog(*supPS2_, this);
    dialog.exec();
}

void FrmPS::FHelp() { print::showHelp(this, helpContext_ ? helpContext_ : print::kHelpContext); }

}  // namespace qx
