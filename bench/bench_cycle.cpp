// The cycle check on a large company: placements deep in a 12-level structure with shared
// sub-assemblies, timed against one recursive query that collects the same ancestors on the same
// database in the same run (the floor a walk over stored lines can hope for), and a diamond
// lattice of depth 24 (2^24 routes from the top to the bottom).
//
//   bench_cycle [--pg postgresql://user@/postgres?host=/socket/dir] [--reps N]
//
// SQLite always; PostgreSQL too when a server is named (a scratch database is made and dropped).

#include "data/common.h"
#include "platform/database.h"
#include "support/backend_runs.h"
#include "support/large_company.h"
#include "support/scratch_server.h"

#include <QCoreApplication>
#include <QSet>
#include <QTemporaryDir>

#include <libpq-fe.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using qx::bench::medianMs;
using Clock = std::chrono::steady_clock;
using qx::Database;

const QString kAncestorsQuery = QStringLiteral(
    "with recursive anc(code) as (select cpspcode from productstructures where cpscode=? "
    "union select p.cpspcode from productstructures p inner join anc on p.cpscode=anc.code) "
    "select code from anc");


QSet<QString> ancestorsByQuery(Database& db, const QString& code)
{
    auto rs = db.openRecordset(kAncestorsQuery, qx::RecordsetType::Snapshot, 0, {code});
    QSet<QString> out;
    for (int r = 0; r < rs->recordCount(); ++r) out.insert(rs->value(r, 0).toString());
    return out;
}

struct Placement {
    QString what;
    QString parent;
    QString child;
};

struct Totals {
    double walk = 0;
    double floor = 0;
};

bool runPlacements(Database& db, const std::vector<Placement>& placements, int reps, Totals& totals)
{
    bool ok = true;
    std::printf("  %-34s %9s %8s %11s %11s %7s\n", "placement", "ancestors", "answer", "CheckCycle",
                "recursive", "ratio");
    for (const Placement& p : placements) {
        // Same ancestors by both routes, or the comparison means nothing.
        const QSet<QString> expected = ancestorsByQuery(db, p.parent);
        const qx::Ancestors walked = qx::CollectAncestors(p.parent, db);
        if (walked.codes != expected || walked.loop) {
            std::printf("  %s: the walk found %lld ancestors, the query %lld\n", qPrintable(p.what),
                        static_cast<long long>(walked.codes.size()), static_cast<long long>(expected.size()));
            ok = false;
        }
        bool answer = false;
        const double walk = medianMs(reps, [&] { answer = qx::CheckCycle(p.parent, p.child, db); });
        const double floor = medianMs(reps, [&] { (void)ancestorsByQuery(db, p.parent); });
        if (answer != walked.allows(p.child)) ok = false;
        totals.walk += walk;
        totals.floor += floor;
        std::printf("  %-34s %9lld %8s %9.2fms %9.2fms %6.2fx\n", qPrintable(p.what),
                    static_cast<long long>(expected.size()), answer ? "allowed" : "cycle", walk, floor,
                    walk / floor);
    }
    return ok;
}

bool benchOne(const QString& connection, const char* backendName, int reps)
{
    std::printf("== %s\n", backendName);
    auto t0 = Clock::now();
    const qx::bench::LargeCompany company = qx::bench::generateLargeCompany(connection);
    qx::bench::addDiamondLattice(connection, QStringLiteral("LAT"), 24);
    std::printf("  generated %lld lines over %d levels in %.1fs\n", company.lines,
                static_cast<int>(company.parentsByLevel.size()),
                std::chrono::duration<double>(Clock::now() - t0).count());

    auto db = Database::open(connection);
    std::mt19937 random(11);
    const auto& deepest = company.parentsByLevel.back();
    const auto& middle = company.parentsByLevel[company.parentsByLevel.size() / 2];
    std::vector<Placement> placements;
    for (int i = 0; i < 3; ++i) {
        const QString parent = deepest[random() % deepest.size()];
        placements.push_back({QStringLiteral("level-11 parent, new part"), parent,
                              company.parts[random() % company.parts.size()]});
    }
    {
        // A finished good above a deep parent: placing it there closes a loop.
        const QString parent = deepest[random() % deepest.size()];
        const QSet<QString> above = ancestorsByQuery(*db, parent);
        QString top;
        for (const QString& code : company.parentsByLevel.front())
            if (above.contains(code)) {
                top = code;
                break;
            }
        placements.push_back({QStringLiteral("level-11 parent, its finished good"), parent, top});
    }
    placements.push_back({QStringLiteral("level-6 parent, new part"), middle[random() % middle.size()],
                          company.parts[random() % company.parts.size()]});
    placements.push_back({QStringLiteral("a shared part as parent"), company.parts[random() % company.parts.size()],
                          company.parts[random() % company.parts.size()]});
    Totals totals;
    bool ok = runPlacements(*db, placements, reps, totals);
    std::printf("  all placements: CheckCycle %.2fms, recursive query %.2fms, ratio %.2fx\n", totals.walk,
                totals.floor, totals.walk / totals.floor);

    Totals lattice;
    std::printf("  diamond lattice of depth 24:\n");
    ok = runPlacements(*db,
                       {{QStringLiteral("lattice bottom, new part"), QStringLiteral("LAT24a"), QStringLiteral("NEW")},
                        {QStringLiteral("lattice bottom, lattice top"), QStringLiteral("LAT24b"),
                         QStringLiteral("LAT0a")}},
                       reps, lattice) &&
         ok;
    return ok;
}


}  // namespace

int main(int argc, char** argv)
{
    const int rc = qx::bench::runOnBackends(argc, argv, "bench_cycle", benchOne);
    if (rc == 1) std::printf("MISMATCH between the walk and the recursive query\n");
    return rc;
}
