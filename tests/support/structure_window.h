#pragma once

// A small company with three structures and the list window FrmPS open on it, for the tests of
// deleting and printing. P1 holds C1 and C2; P2 holds C3 only and a production order refers to
// it (in use); P3 holds C1 and P2 (a child with a structure of its own).

#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/database.h"
#include "platform/grid.h"
#include "platform/lock_service.h"
#include "platform/prompter.h"
#include "support/company.h"

#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace qx::test {

// Answers from the queue like ScriptedPrompter, and first runs `onAsk` (another workstation
// acting while the question is on the screen).
class ActingPrompter : public ScriptedPrompter {
public:
    std::function<void()> onAsk;
    bool ask(const QString& text, const QString& title, Icon icon) override
    {
        if (onAsk) onAsk();
        return ScriptedPrompter::ask(text, title, icon);
    }
};

void fillStructures(Database& db);
QStringList gridColumn(const Grid& g, int col);
// The list window over db as the host hands it over: Init, the host's recordsets, loaded (not shown).
std::unique_ptr<FrmPS> openList(Database& db, QXProStru& host, bool readOnly = false,
                                bool unwritable = false);

class StructureWindowTest : public CompanyTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Opens the window (shown, offscreen) on the company as it stands.
    FrmPS& openWindow();
    // Selects the parent row with this code; false when the grid has none.
    bool selectParent(const QString& code);
    bool selectChild(const QString& code);
    void focusParents();
    void focusChildren();
    // A second connection to the same company (another workstation).
    Database& other();
    // Takes the lock of `code` for another computer on the second connection.
    bool lockElsewhere(const QString& code);
    void unlockElsewhere(const QString& code);
    // True when another computer could take the lock now (taken and given back at once).
    bool lockFree(const QString& code);

    std::unique_ptr<Database> db2;
    std::unique_ptr<LockService> otherLocks;
    std::unique_ptr<QXProStru> component;
    std::unique_ptr<FrmPS> window;
    ActingPrompter prompter;
};

}  // namespace qx::test
