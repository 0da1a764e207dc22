#include "host/pdf_job.h"

#include "texts/texts.h"
#include "host/list_window.h"
#include "list/frm_ps.h"
#include "platform/host_facts.h"
#include "platform/prompter.h"
#include "print/print_commands.h"
#include "print/print_source.h"

namespace qx {

int printStructureToPdf(QXProStru& host, const QString& code, const QString& file, QString* error)
{
    CollectingPrompter prompter;
    const auto window = loadHiddenListWindow(host);
    if (!window) return jobFailed(error, text::kInitFailed, 2);
    const int row = selectStructure(*window, code);
    if (row == 0) return jobFailed(error, text::structureNotFound(code.trimmed()), 3);

    const auto job =
        print::prepareJob(print::sourceFromGrids(*window->SupPS1(), row, *window->SupPS2(),
                                                 window->context().sProStru),
                          systemDirectory());
    if (!job) return jobFailed(error, prompter.first, 4);
    if (!print::writePdf(file, *job)) return jobFailed(error, text::outputUnwritable(file), 5);
    return 0;
}

}  // namespace qx
