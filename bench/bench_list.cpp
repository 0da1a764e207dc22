// The list window on the large company of the benchmarks: Init to a filled and painted list
// window, as a ratio to running the same statements and reading every row through the database's
// own C API (sqlite3, libpq) in the same run; the child-grid refill when the selection changes at
// 200,000 lines; peak memory after loading, as a ratio to the size of the company's data.
//
//   bench_list [COMPANY.db]              (a fresh large company is generated when none is given)
//   bench_list --generate CONNECTION     (writes the large company into an empty database, exits)
//   bench_list postgresql://...          (the same on a PostgreSQL database holding the company)

#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/database.h"
#include "platform/grid.h"
#include "platform/sql_dialects.h"
#include "support/large_company.h"
#include "support/raw_reader.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

// The same statements through the database's own C API (bench/support/raw_reader), every value
// of every row touched; Init's three must be the ones Init runs, or the floor measures another job.
double readRaw(const QString& connection, long long* rowsRead, bool openingOnly = false, int sqliteCacheKiB = 0)
{
    const QString init[] = {qx::kParentQuery, qx::kChildQuery, qx::kJoinedQuery};
    for (int i = 0; i < 3; ++i) {
        if (QString::fromUtf8(qx::bench::kRawStatements[qx::bench::kRawParentStatement + i]) != init[i]) {
            std::fprintf(stderr, "bench/support/raw_reader.cpp no longer reads Init's statement %d\n", i + 1);
            std::exit(2);
        }
    }
    double ms = 0;
    *rowsRead = qx::bench::readRawStatements(connection.toUtf8().constData(), &ms, openingOnly, sqliteCacheKiB);
    if (*rowsRead < 0) std::exit(2);
    return ms;
}

// The size of the company's data: the SQLite file (with its write-ahead log), or the database.
double dataMiB(qx::Database& db, const QString& path)
{
    if (db.backend() == qx::Backend::Sqlite)
        return (QFileInfo(path).size() + QFileInfo(path + QStringLiteral("-wal")).size()) / 1048576.0;
    auto rs = db.openRecordset(QStringLiteral("select pg_database_size(current_database())"),
                               qx::RecordsetType::Snapshot);
    return rs->value(0, 0).toDouble() / 1048576.0;
}

long residentKiB()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').value(0).toLong();
    return 0;
}

long peakKiB()
{
    rusage ru{};
    getrusage(RUSAGE_SELF, &ru);
    return ru.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    qputenv("QX_SYSTEM_DIR", dir.path().toUtf8());

    QStringList args = app.arguments().mid(1);
    const bool generateOnly = args.removeAll(QStringLiteral("--generate")) > 0;
    const QString given = args.value(0);
    const bool postgres = given.startsWith(QLatin1String("postgres"));
    QString path = given.isEmpty() ? dir.filePath(QStringLiteral("large.db")) : given;
    if (path.startsWith(QLatin1String("sqlite:"))) path = path.mid(7);
    const QString connection = postgres ? given : QStringLiteral("sqlite:") + path;

    // Generating takes memory of its own: with --generate (or a file name that does not exist)
    // the company is written and the run ends, so that a second run measures the list alone.
    if (generateOnly || given.isEmpty() || (!postgres && !QFile::exists(path))) {
        const auto t0 = Clock::now();
        const qx::bench::LargeCompanySpec spec;
        const qx::bench::LargeCompany company = qx::bench::generateLargeCompany(connection, spec);
        std::printf("generated %d items, %d parents, %lld lines in %.0f ms\n", spec.items,
                    spec.parents, company.lines, msSince(t0));
        if (!given.isEmpty()) return 0;
    }
    const long baseKiB = peakKiB();

    // Warm the caches for both contenders alike, in another process (bench/raw_read), so that
    // what the reading leaves in this process's heap does not count as the list's memory.
    long long rows = 0;
    {
        QProcess warm;
        warm.start(QCoreApplication::applicationDirPath() + QStringLiteral("/raw_read"), {connection});
        warm.waitForFinished(-1);
    }

    constexpr int kRounds = 3;
    std::vector<double> ratios, inits, raws, fills, openings, openingRatios, cachedOpenings, cachedRatios;
    long long openingRows = 0;
    long long gridRows = 0;
    for (int round = 0; round < kRounds; ++round) {
        // The first round measures the list before anything else has run in this process.
        const double raw = round == 0 ? 0 : readRaw(connection, &rows);

        auto db = qx::Database::open(connection);
        const auto t0 = Clock::now();
        qx::QXProStru host;
        if (!host.Init(*db, false)) {
            std::fprintf(stderr, "Init failed\n");
            return 2;
        }
        inits.push_back(msSince(t0));
        qx::FrmPS w;
        w.setDatabase(db.get());
        w.setRecordsets(host.parentRecords(), host.childRecords(), host.joinedRecords());
        w.load();
        const long filledKiB = peakKiB();
        w.resize(1024, 700);
        w.show();
        (void)w.grab();  // painted, every visible row of both grids
        const double ms = msSince(t0);
        const long paintedKiB = peakKiB();
        fills.push_back(ms);
        raws.push_back(round == 0 ? readRaw(connection, &rows) : raw);
        ratios.push_back(ms / raws.back());
        // The floor of only the rows the opening reads: the sets fetched on first use left out.
        openings.push_back(readRaw(connection, &openingRows, true));
        openingRatios.push_back(ms / openings.back());
        // The same floor given the list's own SQLite page cache, so that the cache is not
        // counted as the list's gain.
        if (!postgres) {
            cachedOpenings.push_back(readRaw(connection, &openingRows, true, qx::kSqlitePageCacheKiB));
            cachedRatios.push_back(ms / cachedOpenings.back());
        }
        gridRows = w.SupPS1()->rows() - 1;

        if (round == 0) {
            const double peak = paintedKiB / 1024.0;
            const double data = dataMiB(*db, path);
            std::printf("peak memory with the list window filled: %.0f MiB (%ld MiB before loading); data %.1f "
                        "MiB; ratio %.2fx\n",
                        filledKiB / 1024.0, baseKiB / 1024, data, filledKiB / 1024.0 / data);
            std::printf("  and once painted: peak %.0f MiB, resident %ld MiB; ratio %.2fx\n", peak,
                        residentKiB() / 1024, peak / data);
        }
        if (round == kRounds - 1) {
            // The child grid refilled on a selection change, over the 200,000 lines.
            std::mt19937 rng(11);
            constexpr int kSelections = 2000;
            std::vector<double> times;
            times.reserve(kSelections);
            long long shown = 0;
            for (int i = 0; i < kSelections; ++i) {
                const int row = 1 + static_cast<int>(rng() % gridRows);
                const auto s0 = Clock::now();
                w.SupPS1()->setRow(row);
                times.push_back(msSince(s0));
                shown += w.SupPS2()->rows() - 1;
            }
            std::sort(times.begin(), times.end());
            double sum = 0;
            for (double t : times) sum += t;
            std::printf(
                "child grid refill on selection (%d selections, %lld lines shown): mean %.3f ms, "
                "median %.3f ms, p99 %.3f ms, max %.3f ms\n",
                kSelections, shown, sum / kSelections, times[kSelections / 2],
                times[kSelections * 99 / 100], times.back());
        }
    }
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    std::printf("rows read through the C API: %lld\n", rows);
    std::printf("Init to a filled, painted list window (%lld parents): median of %d %.1f ms\n", gridRows,
                kRounds, median(fills));
    std::printf("same statements through the %s C API:      median of %d %.1f ms\n",
                postgres ? "libpq" : "sqlite3", kRounds, median(raws));
    std::printf("  of which Init (the three recordsets): median %.1f ms\n", median(inits));
    std::printf("ratio: %.2fx (median of the rounds' ratios)\n", median(ratios));
    std::printf("only the rows the opening reads (%lld; the sets fetched on first use left out): median %.1f ms\n",
                openingRows, median(openings));
    std::printf("ratio to those: %.2fx (median of the rounds' ratios)\n", median(openingRatios));
    if (!cachedOpenings.empty())
        std::printf("those rows with the list's %d KiB page cache: median %.1f ms; ratio %.2fx (median of the rounds' "
                    "ratios)\n",
                    qx::kSqlitePageCacheKiB, median(cachedOpenings), median(cachedRatios));
    return 0;
}
