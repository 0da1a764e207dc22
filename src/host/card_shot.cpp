#include "host/card_shot.h"

#include "card/card_screenshot.h"
#include "card/frm_pro_stru.h"
#include "data/texts.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/grid.h"
#include "platform/prompter.h"

namespace qx {

int screenshotCard(QXProStru& host, const QString& code, bool newCard, const QString& png,
                   QString* error)
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

    int status = -1;
    // The card is rendered where the list would show it, and closed again.
    window.showCard = [&](FrmProStru& card) {
        status = saveCardPng(card, png, nullptr) ? 0 : 5;
        card.close();
    };
    if (newCard) {
        window.Fadd();
    } else {
        Grid& parents = *window.SupPS1();
        const QString wanted = code.trimmed();
        int row = 0;
        for (int r = 1; r < parents.rows() && row == 0; ++r)
            if (parents.textMatrix(r, ParentColCode).trimmed() == wanted) row = r;
        if (row == 0) return fail(text::structureNotFound(wanted), 3);
        parents.setRow(row);
        window.Ffliter(parents.textMatrix(row, ParentColCode).trimmed());
        window.Fedit();
    }
    if (status == 5) return fail(text::outputUnwritable(png), 5);
    // The edit command refused (another workstation holds the structure) and no card opened.
    if (status != 0)
        return fail(
            prompter.first.isEmpty() ? text::structureNotFound(code.trimmed()) : prompter.first, 4);
    return 0;
}

}  // namespace qx
