#include "host/card_shot.h"

#include "card/card_screenshot.h"
#include "card/frm_pro_stru.h"
#include "texts/texts.h"
#include "host/list_window.h"
#include "list/frm_ps.h"
#include "platform/prompter.h"

namespace qx {

int screenshotCard(QXProStru& host, const QString& code, bool newCard, const QString& png,
                   QString* error)
{
    CollectingPrompter prompter;
    const auto window = loadHiddenListWindow(host);
    if (!window) return jobFailed(error, text::kInitFailed, 2);

    int status = -1;
    // The card is rendered where the list would show it, and closed again.
    window->showCard = [&](FrmProStru& card) {
        status = saveCardPng(card, png, nullptr) ? 0 : 5;
        card.close();
    };
    if (newCard) {
        window->Fadd();
    } else {
        if (selectStructure(*window, code) == 0)
            return jobFailed(error, text::structureNotFound(code.trimmed()), 3);
        window->Fedit();
    }
    if (status == 5) return jobFailed(error, text::outputUnwritable(png), 5);
    // The edit command refused (another workstation holds the structure) and no card opened.
    if (status != 0) {
        const QString why =
            prompter.first.isEmpty() ? text::structureNotFound(code.trimmed()) : prompter.first;
        return jobFailed(error, why, 4);
    }
    return 0;
}

}  // namespace qx
