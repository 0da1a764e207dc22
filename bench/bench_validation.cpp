// Validation of a child-code cell on a large company (50,000 items, 200,000 stored lines): the
// time per cell as a ratio to the raw lookups the check needs (the cycle walk, the search in the
// card's item list, the fresh item row), measured in the same run.
//
//   bench_validation [COMPANY.db]   (a fresh company is generated when none is given)

#include "card/card_columns.h"
#include "card/card_lookups.h"
#include "card/line_validation.h"
#include "card_bench_company.h"
#include "data/common.h"
#include "shared/code_to_name.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace qx;
using Clock = std::chrono::steady_clock;

namespace {
double msSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    QString path =
        argc > 1 ? QString::fromLocal8Bit(argv[1]) : dir.filePath(QStringLiteral("large.db"));
    if (!QFile::exists(path)) {
        const auto t0 = Clock::now();
        cardbench::generate(path);
        std::printf("generated %d items, %d lines in %.0f ms\n", cardbench::kItems,
                    cardbench::kParents * cardbench::kLinesPerParent, msSince(t0));
    }
    auto db = Database::open(QStringLiteral("sqlite:") + path);
    ListContext ctx;
    ctx.dbase = db.get();
    auto inventory = db->openRecordset(kCardInventorySql);
    auto department = db->openRecordset(kDepartmentListSql);
    auto warehouse = db->openRecordset(kWarehouseListSql);
    const auto ti = Clock::now();
    const QHash<QString, int> rows = indexItemRows(*inventory);
    std::printf("item index of %lld codes built once at loading in %.1f ms\n",
                static_cast<long long>(rows.size()), msSince(ti));
    CardLookups lk{db.get(), &ctx, inventory.get(), department.get(), warehouse.get(), &rows};

    // A parent deep in the graph (thousands of ancestors) and children that are never parents,
    // so that every check walks the whole ancestry and is accepted.
    const QString parent = QString::fromStdString(cardbench::itemCode(cardbench::kParents - 1));
    const Ancestors anc = CollectAncestors(parent, *db);
    std::printf("parent %s has %lld stored ancestors\n", qPrintable(parent),
                static_cast<long long>(anc.codes.size()));
    std::vector<QString> children;
    for (int i = 0; i < 40; ++i)
        children.push_back(
            QString::fromStdString(cardbench::itemCode(cardbench::kItems - 1 - i * 211)));

    MemoryLineGrid grid;
    grid.addLine();
    std::vector<double> raw, cell;
    for (int round = 0; round < 3; ++round) {
        for (const QString& child : children) {
            auto t0 = Clock::now();
            bool ok = CheckCycle(parent, child, *db);
            ok = findItem(lk, child) && ok;
            auto item =
                db->openRecordset(QStringLiteral("select * from inventory where cInvcode=?"),
                                  RecordsetType::Snapshot, 0, {child});
            ok = item->recordCount() == 1 && ok;
            raw.push_back(msSince(t0));
            if (!ok) {
                std::fprintf(stderr, "raw lookups refused %s\n", qPrintable(child));
                return 2;
            }

            QString text = child;
            t0 = Clock::now();
            const Verdict v = validateCell(lk, grid, parent, 1, ColChildCode, text);
            cell.push_back(msSince(t0));
            if (!v) {
                std::fprintf(stderr, "validation refused %s: %s\n", qPrintable(child),
                             qPrintable(v.message));
                return 2;
            }
        }
    }
    // Where the time goes: each raw lookup alone.
    std::vector<double> walk, find, scan, fresh;
    for (const QString& child : children) {
        auto t0 = Clock::now();
        CheckCycle(parent, child, *db);
        walk.push_back(msSince(t0));
        t0 = Clock::now();
        findItem(lk, child);
        find.push_back(msSince(t0));
        t0 = Clock::now();
        FindRecord(child, *inventory, QStringLiteral("cInvcode"));
        scan.push_back(msSince(t0));
        t0 = Clock::now();
        db->openRecordset(QStringLiteral("select * from inventory where cInvcode=?"),
                          RecordsetType::Snapshot, 0, {child});
        fresh.push_back(msSince(t0));
    }
    std::printf(
        "  cycle walk %.3f ms, item found by index %.4f ms (by a search of the list: %.3f ms), "
        "fresh item row %.3f ms\n",
        median(walk), median(find), median(scan), median(fresh));
    const double r = median(raw);
    const double c = median(cell);
    std::printf(
        "child-code cell: %.3f ms per cell, raw lookups %.3f ms: ratio %.2fx (median of %zu)\n", c,
        r, c / r, cell.size());
    return 0;
}
