// The multi-level explorer on the large company: the summary of the deepest finished good and
// the where-used summary of the most shared part, each timed against one recursive query that
// returns the same distinct reachable lines (the floor for reading them), the cost of opening
// one node of the window's tree, and the summary of a diamond lattice of depth 24 (2^24 paths).
//
//   bench_explorer [--pg postgresql://user@/postgres?host=/socket/dir] [--reps N]

#include "explorer/explorer_report.h"
#include "explorer/explorer_tree_model.h"
#include "platform/database.h"
#include "support/backend_runs.h"
#include "support/large_company.h"
#include "support/scratch_server.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <libpq-fe.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

namespace {

using qx::bench::medianMs;
using Clock = std::chrono::steady_clock;
using qx::Database;
using namespace qx::explorer;

const QString kDownLines = QStringLiteral(
    "with recursive reach(code) as (select distinct cPSPCode from ProductStructures where cPSPCode=? "
    "union select s.cPSCode from ProductStructures s "
    "inner join reach on s.cPSPCode=reach.code) "
    "select s.cPSPCode,s.cPSCode,s.iPSQuantity,s.iWasteRate from reach "
    "inner join ProductStructures s on s.cPSPCode=reach.code");
const QString kUpLines = QStringLiteral(
    "with recursive reach(code) as (select distinct cPSCode from ProductStructures where cPSCode=? "
    "union select s.cPSPCode from ProductStructures s "
    "inner join reach on s.cPSCode=reach.code) "
    "select s.cPSPCode,s.cPSCode,s.iPSQuantity,s.iWasteRate from reach "
    "inner join ProductStructures s on s.cPSCode=reach.code");


// The median of `reps` runs of `work` in this process's processor time, in milliseconds: on a busy
// machine a steadier measure than the clock for work done in the process (all of it, with SQLite).
double medianCpuMs(int reps, const std::function<void()>& work)
{
    std::vector<double> times;
    for (int i = 0; i < reps; ++i) {
        timespec a{}, b{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &a);
        work();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &b);
        times.push_back(double(b.tv_sec - a.tv_sec) * 1e3 + double(b.tv_nsec - a.tv_nsec) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

int reachableLines(Database& db, const QString& query, const QString& code)
{
    return db.openRecordset(query, qx::RecordsetType::Snapshot, 0, {code})->recordCount();
}

bool benchOne(const QString& connection, const char* backendName, int reps)
{
    std::printf("== %s\n", backendName);
    const auto t0 = Clock::now();
    const qx::bench::LargeCompany company = qx::bench::generateLargeCompany(connection);
    qx::bench::addDiamondLattice(connection, QStringLiteral("LAT"), 24);
    std::printf("  generated %lld lines in %.1fs\n", company.lines,
                std::chrono::duration<double>(Clock::now() - t0).count());
    auto db = Database::open(connection);

    // The finished good with the most reachable lines among the first hundred.
    QString deepest;
    int most = -1;
    const auto& tops = company.parentsByLevel.front();
    for (size_t i = 0; i < std::min<size_t>(100, tops.size()); ++i) {
        const int n = reachableLines(*db, kDownLines, tops[i]);
        if (n > most) {
            most = n;
            deepest = tops[i];
        }
    }
    size_t leaves = 0;
    const double summary = medianMs(reps, [&] { leaves = Report(*db, deepest, Direction::Down, 1, 2, Detail::Summary).explosion().summary.size(); });
    const double floor = medianMs(reps, [&] { (void)reachableLines(*db, kDownLines, deepest); });
    std::printf("  summary of %s (%d lines, %zu parts): %.2fms, recursive query %.2fms, ratio %.2fx\n",
                qPrintable(deepest), most, leaves, summary, floor, summary / floor);

    auto shared = db->openRecordset(QStringLiteral("select cPSCode,count(*) from ProductStructures "
                                                   "group by cPSCode order by count(*) desc"),
                                    qx::RecordsetType::Snapshot);
    const QString part = shared->value(0, 0).toString();
    const int parents = shared->value(0, 1).toInt();
    size_t topCount = 0;
    const double used = medianMs(reps, [&] { topCount = Report(*db, part, Direction::Up, 1, 2, Detail::Summary).usage().tops.size(); });
    const double usedFloor = medianMs(reps, [&] { (void)reachableLines(*db, kUpLines, part); });
    std::printf("  where-used of %s (%d direct parents, %zu finished goods): %.2fms, recursive query %.2fms, "
                "ratio %.2fx\n",
                qPrintable(part), parents, topCount, used, usedFloor, used / usedFloor);

    if (qstrcmp(backendName, "SQLite") == 0) {
        const double cpu = medianCpuMs(reps, [&] { (void)Report(*db, deepest, Direction::Down, 1, 2, Detail::Summary); });
        const double cpuFloor = medianCpuMs(reps, [&] { (void)reachableLines(*db, kDownLines, deepest); });
        const double cpuUsed = medianCpuMs(reps, [&] { (void)Report(*db, part, Direction::Up, 1, 2, Detail::Summary); });
        const double cpuUsedFloor = medianCpuMs(reps, [&] { (void)reachableLines(*db, kUpLines, part); });
        std::printf("  processor time: summary %.2fms / query %.2fms, ratio %.2fx; where-used %.2fms / query %.2fms, "
                    "ratio %.2fx\n",
                    cpu, cpuFloor, cpu / cpuFloor, cpuUsed, cpuUsedFloor, cpuUsed / cpuUsedFloor);
    }

    // Opening one node: the read of its lines and their rows in the model.
    const Report report(*db, deepest, Direction::Down, 1, 2);
    ExplorerTreeModel model(*db);
    const double expand = medianMs(std::max(reps, 20), [&] {
        model.reset(&report);
        model.fetchMore({});
    });
    std::printf("  opening one node (%d lines): %.3fms\n", model.rowCount(), expand);

    size_t latticeParts = 0;
    const double lattice = medianMs(reps, [&] {
        latticeParts = Report(*db, QStringLiteral("LAT0a"), Direction::Down, 1, 2, Detail::Summary).explosion().summary.size();
    });
    const double latticeFloor = medianMs(reps, [&] { (void)reachableLines(*db, kDownLines, QStringLiteral("LAT0a")); });
    std::printf("  lattice of depth 24 (2^24 paths): summary %.2fms (%zu parts), recursive query %.2fms\n",
                lattice, latticeParts, latticeFloor);
    // Where the summary's time goes: the reading of the graph, then the sums over it.
    const double read = medianMs(reps, [&] { (void)BomGraph::load(*db, deepest, Direction::Down, Detail::Summary); });
    const BomGraph graph = BomGraph::load(*db, deepest, Direction::Down, Detail::Summary);
    const double sums = medianMs(reps, [&] { (void)explode(graph, 1); });
    std::printf("  summary of %s: reading %.2fms, sums %.2fms\n", qPrintable(deepest), read, sums);
    return true;
}


}  // namespace

int main(int argc, char** argv)
{
    return qx::bench::runOnBackends(argc, argv, "bench_explorer", benchOne);
}
