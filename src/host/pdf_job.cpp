#include "host/pdf_job.h"

#include "data/texts.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/host_facts.h"
#include "platform/prompter.h"
#include "print/print_commands.h"
#include "print/print_source.h"

namespace qx {

int printStructureToPdf(QXProStru& host, const QString& code, const QString& file, QString* error)
{
    auto fail = [&](const QString& line, int status) {
        if (error) *error = line;
        return status;
    };
    if (!host.db() || !host.parentRecords() || !host.childRecords() || !host.joinedRecords())
        return fail(text::kInitFailed, 2);
    CollectingPrompter prompter;

    FrmPS window;
    window.setDatabase(host.db());
    window.setReadOnly(host.ReadOnly());
    window.setRecordsets(host.parentRecords(), host.childRecords(), host.joinedRecords());
    window.load();

    Grid& parents = *window.SupPS1();
    const QString wanted = code.trimmed();
    int row = 0;
    for (int r = 1; r < parents.rows() && row == 0; ++r)
        if (parents.textMatrix(r, ParentColCode).trimmed() == wanted) row = r;
    if (row == 0) return fail(text::structureNotFound(wanted), 3);
    parents.setRow(row);
    window.Ffliter(parents.textMatrix(row, ParentColCode).trimmed());

    const auto job = print::prepareJob(
        print::sourceFromGrids(parents, row, *window.SupPS2(), window.context().sProStru),
        systemDirectory());
    if (!job) return fail(prompter.first, 4);
    if (!print::writePdf(file, *job)) return fail(text::outputUnwritable(file), 5);
    return 0;
}

}  // namespace qx
