// Structures in bulk on a large company (50,000 items, 20,000 stored structures of 10 lines):
//  - importing a file of 20,000 lines for 2,000 new parents with every card rule and the
//    file's cycles judged in one pass over the graph, as a ratio to inserting the same rows
//    raw in one transaction through the same connection;
//  - replacing a component used by 20,000 structures, as a ratio to the raw UPDATE of the same
//    rows plus one cycle walk.
//
//   bench_bulk [sqlite:PATH | postgresql://...]   (an EMPTY database; a temporary SQLite file
//                                                  when none is given)

#include "bulk/component_replace.h"
#include "bulk/structure_import.h"
#include "data/common.h"
#include "host/qxprostru.h"
#include "list/frm_ps.h"
#include "platform/database.h"
#include "platform/prompter.h"
#include "support/large_company.h"
#include "support/timing.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <utility>
#include <vector>

using namespace qx;
using bench::Clock;
using bench::median;
using bench::msSince;

namespace {

constexpr int kNewParents = 2000;
constexpr int kLinesEach = 10;
constexpr int kRounds = 3;

struct Line {
    QString parent, child;
    int quantity;
};

// 2,000 parts become parents of 10 other parts each (parts hold no structure, so no line
// closes a loop; parts without a planned price are left out, the warehouse is valued at it).
std::vector<Line> importLines()
{
    std::vector<Line> lines;
    int next = 22000;
    for (int p = 0; p < kNewParents; ++p) {
        for (int j = 0; j < kLinesEach; ++j) {
            while (next % 11 == 0) ++next;
            lines.push_back({bench::itemCode(20000 + p), bench::itemCode(next), 1 + next % 7});
            ++next;
        }
    }
    return lines;
}

void writeCsv(const QString& path, const std::vector<Line>& lines)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly)) throw std::runtime_error("cannot write the file");
    QByteArray out = QStringLiteral("父项编码,子项编码,定额数量,存放仓库,用料车间\n").toUtf8();
    for (const Line& l : lines)
        out += (l.parent + ',' + l.child + ',' + QString::number(l.quantity) + QStringLiteral(",原料库,D1\n")).toUtf8();
    f.write(out);
}

void removeImported(Database& db)
{
    Transaction tx(db);
    db.execute(QStringLiteral("delete from ProductStructures where cPSPCode >= ? and cPSPCode < ?"),
               {bench::itemCode(20000), bench::itemCode(20000 + kNewParents)});
    db.execute(QStringLiteral("delete from ProductStructure where cPSPCode >= ? and cPSPCode < ?"),
               {bench::itemCode(20000), bench::itemCode(20000 + kNewParents)});
    tx.commit();
}

double rawInsert(Database& db, const std::vector<Line>& lines)
{
    const auto t0 = Clock::now();
    Transaction tx(db);
    QString last;
    for (const Line& l : lines) {
        if (l.parent != last) {
            db.execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                       {l.parent, QStringLiteral("D1")});
            last = l.parent;
        }
        db.execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,cWhCode,iPSQuantity,"
                                  "iWasteRate,cProcedureName,cDepCode,cPersonName,cFree1,cFree2) "
                                  "values(?,?,?,?,?,?,?,?,?,?)"),
                   {l.parent, l.child, QStringLiteral("W1"), double(l.quantity),
                    QVariant(QMetaType::fromType<double>()), QString(), QStringLiteral("D1"), QString(),
                    QString(), QString()});
    }
    tx.commit();
    return msSince(t0);
}

double rawReplace(Database& db, const QString& from, const QString& to)
{
    const auto t0 = Clock::now();
    Transaction tx(db);
    db.execute(QStringLiteral("update ProductStructures set cPSCode=?, iPSQuantity=iPSQuantity*? where cPSCode=?"),
               {to, 2.0, from});
    CheckCycle(bench::itemCode(0), to, db);
    tx.commit();
    return msSince(t0);
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    CollectingPrompter quiet;
    QTemporaryDir dir;
    const QString connection = argc > 1 ? QString::fromLocal8Bit(argv[1])
                                        : QStringLiteral("sqlite:") + dir.filePath("bulk.db");
    try {
        std::printf("generating the large company on %s ...\n", qPrintable(connection));
        std::fflush(stdout);
        bench::generateLargeCompany(connection);
        auto db = Database::open(connection);
        for (const char* code : {"R0", "R1"})
            db->execute(QStringLiteral("insert into Inventory(cInvCode,cInvName,cInvM_Unit,iInvRCost,bFree1,"
                                       "bFree2,bService) values(?,?,?,?,0,0,0)"),
                        {QString::fromLatin1(code), QStringLiteral("替换件"), QStringLiteral("个"), 2.0});
        {
            Transaction tx(*db);
            for (int p = 0; p < 20000; ++p)
                db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                                           "values(?,'R0',1,'W1')"),
                            {bench::itemCode(p)});
            tx.commit();
        }

        QXProStru host;
        if (!host.Init(*db, false)) throw std::runtime_error("Init failed");
        FrmPS window;
        window.setDatabase(db.get());
        window.setRecordsets(host.parentRecords(), host.childRecords(), host.joinedRecords());
        window.load();

        const std::vector<Line> lines = importLines();
        const QString csv = dir.filePath("import.csv");
        writeCsv(csv, lines);

        std::vector<double> imported, raw;
        for (int round = 0; round < kRounds; ++round) {
            raw.push_back(rawInsert(*db, lines));
            removeImported(*db);
            const auto t0 = Clock::now();
            ImportOptions options;
            options.computer = QStringLiteral("bench");
            const ImportResult r = importFile(window.context(), csv, options);
            imported.push_back(msSince(t0));
            if (r.outcome != ImportResult::Outcome::Written)
                throw std::runtime_error(r.report().mid(0, 5).join('\n').toStdString());
            removeImported(*db);
        }
        std::printf("import of %zu lines (%d parents): %.0f ms; raw insert: %.0f ms; ratio %.2f\n",
                    lines.size(), kNewParents, median(imported), median(raw),
                    median(imported) / median(raw));

        std::vector<double> replaced, rawRep;
        QString from = QStringLiteral("R0"), to = QStringLiteral("R1");
        for (int round = 0; round < kRounds; ++round) {
            rawRep.push_back(rawReplace(*db, from, to));
            std::swap(from, to);
            const auto t0 = Clock::now();
            const ReplaceResult r = replaceComponent(*db, {from, to, 0.5, false, QStringLiteral("bench")});
            replaced.push_back(msSince(t0));
            if (r.outcome != ReplaceResult::Outcome::Written)
                throw std::runtime_error(r.report().join('\n').toStdString());
            std::swap(from, to);
        }
        std::printf("replace in 20000 structures: %.0f ms; raw update + one cycle walk: %.0f ms; ratio %.2f\n",
                    median(replaced), median(rawRep), median(replaced) / median(rawRep));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    } catch (const DbError& e) {
        std::fprintf(stderr, "%s\n", qPrintable(e.description()));
        return 1;
    }
    return 0;
}
