#pragma once

// One component replaced by another in every structure that uses it: the line's child becomes
// the new item and its quantity is multiplied by a factor, everything else kept. All the
// structures change in one transaction under their record locks, or none does.

#include <QString>
#include <QStringList>

namespace qx {

class Database;

struct ReplaceRequest {
    QString oldCode;
    QString newCode;
    double factor = 1;
    bool dryRun = false;
    QString computer;  // the holder of the locks
};

struct ReplaceResult {
    enum class Outcome { Written, Checked, Refused, Failed };
    Outcome outcome = Outcome::Failed;
    QStringList refusals;  // one per parent concerned: "父项 X：message"
    int structures = 0;
    int lines = 0;
    QString error;  // Failed: the database's description

    QStringList report() const;
    int exitCode() const;  // 0 written or checked, 1 refused, 2 failed
};

ReplaceResult replaceComponent(Database& db, const ReplaceRequest& request);

}  // namespace qx
