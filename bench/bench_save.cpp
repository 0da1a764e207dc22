// Saving a structure of 500 lines on a large company (50,000 items, 200,000 stored lines), new
// and in edit mode (unchanged, and with every line changed), as a ratio to inserting the same
// rows in one transaction through sqlite3's own C API in the same run; and the save's cycle checks for those 500 lines (the parent's
// ancestors read once) as a ratio to one cycle walk for that parent.
//
//   bench_save [COMPANY.db]   (a fresh company is generated when none is given)
//   bench_save --pg postgresql://user@/postgres?host=/socket/dir
//                             (the same on a scratch database of that server, made and dropped;
//                             the raw insert goes through libpq's prepared statements)

#include "card/card_columns.h"
#include "card/card_lookups.h"
#include "card/free_items.h"
#include "card/line_validation.h"
#include "card/save_structure.h"
#include "card_bench_company.h"
#include "data/common.h"
#include "platform/prompter.h"
#include "shared/code_to_name.h"
#include "shared/line_grid.h"
#include "shared/list_context.h"
#include "support/large_company.h"

#include <libpq-fe.h>

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
constexpr int kLines = 500;
constexpr int kRounds = 5;

double msSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// The same rows through the C API, in one transaction, then removed again.
double insertThroughCApi(const QString& path, const std::string& parent,
                         const std::vector<std::string>& children)
{
    sqlite3* db = nullptr;
    cardbench::check(sqlite3_open(path.toUtf8().constData(), &db), db, "open");
    sqlite3_busy_timeout(db, 5000);
    const auto t0 = Clock::now();
    cardbench::check(sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), db, "begin");
    sqlite3_stmt* head = nullptr;
    sqlite3_stmt* line = nullptr;
    cardbench::check(
        sqlite3_prepare_v2(db, "insert into ProductStructure(cPSPCode,cDepCode) values(?,'D1')", -1,
                           &head, nullptr),
        db, "head");
    cardbench::check(
        sqlite3_prepare_v2(
            db,
            "insert into ProductStructures(cPSPCode,cPSCode,cWhCode,iPSQuantity,iWasteRate,"
            "cProcedureName,cDepCode,cPersonName,cFree1,cFree2) "
            "values(?,?,'W1',1,NULL,'','','','','')",
            -1, &line, nullptr),
        db, "line");
    sqlite3_bind_text(head, 1, parent.c_str(), -1, SQLITE_TRANSIENT);
    cardbench::check(sqlite3_step(head), db, "insert head");
    for (const std::string& c : children) {
        sqlite3_bind_text(line, 1, parent.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(line, 2, c.c_str(), -1, SQLITE_TRANSIENT);
        cardbench::check(sqlite3_step(line), db, "insert line");
        sqlite3_reset(line);
    }
    cardbench::check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db, "commit");
    const double ms = msSince(t0);
    sqlite3_finalize(head);
    sqlite3_finalize(line);
    const std::string del = "delete from ProductStructures where cPSPCode='" + parent +
                            "'; delete from ProductStructure where cPSPCode='" + parent + "'";
    cardbench::check(sqlite3_exec(db, del.c_str(), nullptr, nullptr, nullptr), db, "clean");
    sqlite3_close(db);
    return ms;
}

// The same rows through libpq, in one transaction, each statement prepared once; then removed.
double insertThroughLibpq(const QString& connection, const std::string& parent,
                          const std::vector<std::string>& children)
{
    PGconn* conn = PQconnectdb(connection.toUtf8().constData());
    auto ok = [&](PGresult* res, const char* what) {
        const ExecStatusType st = PQresultStatus(res);
        PQclear(res);
        if (st != PGRES_COMMAND_OK && st != PGRES_TUPLES_OK) {
            std::fprintf(stderr, "%s: %s\n", what, PQerrorMessage(conn));
            std::exit(2);
        }
    };
    const auto t0 = Clock::now();
    ok(PQexec(conn, "begin"), "begin");
    ok(PQprepare(conn, "head", "insert into ProductStructure(cPSPCode,cDepCode) values($1,'D1')", 1, nullptr),
       "head");
    ok(PQprepare(conn, "line",
                 "insert into ProductStructures(cPSPCode,cPSCode,cWhCode,iPSQuantity,iWasteRate,"
                 "cProcedureName,cDepCode,cPersonName,cFree1,cFree2) values($1,$2,'W1',1,NULL,'','','','','')",
                 2, nullptr),
       "line");
    const char* one[] = {parent.c_str()};
    ok(PQexecPrepared(conn, "head", 1, one, nullptr, nullptr, 0), "insert head");
    for (const std::string& c : children) {
        const char* two[] = {parent.c_str(), c.c_str()};
        ok(PQexecPrepared(conn, "line", 2, two, nullptr, nullptr, 0), "insert line");
    }
    ok(PQexec(conn, "commit"), "commit");
    const double ms = msSince(t0);
    const std::string del = "delete from ProductStructures where cPSPCode='" + parent +
                            "'; delete from ProductStructure where cPSPCode='" + parent + "'";
    ok(PQexec(conn, del.c_str()), "clean");
    PQfinish(conn);
    return ms;
}

// A scratch database on the server named by `maintenance` (made, or dropped when `drop`); its
// connection string.
QString scratchDatabase(const QString& maintenance, const QString& name, bool drop)
{
    PGconn* conn = PQconnectdb(maintenance.toUtf8().constData());
    PQclear(PQexec(conn, ("drop database if exists " + name.toStdString()).c_str()));
    if (!drop) PQclear(PQexec(conn, ("create database " + name.toStdString()).c_str()));
    PQfinish(conn);
    const ConnectionInfo info = parseConnectionString(maintenance);
    return QStringLiteral("postgresql://%1@/%2?host=%3").arg(info.user, name, info.host);
}

// Answers every message box by recording it (a save that shows one has failed).
class Silent : public Prompter {
public:
    void inform(const QString& text, const QString&) override { last = text; }
    bool ask(const QString&, const QString&, Icon) override { return false; }
    QString last;
};
}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QStringList args = app.arguments();
    const bool postgres = args.size() > 2 && args[1] == QLatin1String("--pg");
    const QString scratch = QStringLiteral("qx_bench_save_%1").arg(QCoreApplication::applicationPid());
    QString path = dir.filePath(QStringLiteral("large.db"));
    QString connection = QStringLiteral("sqlite:") + path;
    if (postgres) {
        connection = scratchDatabase(args[2], scratch, false);
        qx::bench::generateLargeCompany(connection);
        std::printf("PostgreSQL:\n");
    } else {
        if (args.size() > 1) path = args[1];
        connection = QStringLiteral("sqlite:") + path;
        if (!QFile::exists(path)) cardbench::generate(path);
    }
    if (postgres) {
        auto db = Database::open(connection);
        // As the SQLite company has it: a warehouse without planned prices.
        db->execute(QStringLiteral("update warehouse set cWhValueStyle=?"), {QStringLiteral("全月平均法")});
        db->execute(QStringLiteral(
                        "insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) select cPSPCode,?,1,'W1' "
                        "from ProductStructure where cPSPCode < ? on conflict do nothing"),
                    {QString::fromStdString(cardbench::itemCode(cardbench::kItems - 1)),
                     QString::fromStdString(cardbench::itemCode(3000))});
    } else {
        // Thousands of stored ancestors for the saved parent: 3,000 structures hold it as a line
        // (it is never a parent itself, so no loop arises).
        sqlite3* raw = nullptr;
        cardbench::check(sqlite3_open(path.toUtf8().constData(), &raw), raw, "open");
        const std::string sql =
            "insert or ignore into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
            "select cPSPCode,'" +
            cardbench::itemCode(cardbench::kItems - 1) +
            "',1,'W1' from ProductStructure where cPSPCode < '" + cardbench::itemCode(3000) + "'";
        cardbench::check(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), raw,
                         "ancestors");
        sqlite3_close(raw);
    }
    auto db = Database::open(connection);
    Silent silent;
    Prompter::install(&silent);

    ListContext ctx;
    ctx.dbase = db.get();
    ctx.inventory =
        db->openRecordset(QStringLiteral("inventory"), RecordsetType::Dynaset, kReadOnly);
    ctx.RecDep = db->openRecordset(
        QStringLiteral("select cDepCode,cDepName from department where bDepEnd=1 "));
    auto inventory = db->openRecordset(kCardInventorySql);
    auto department = db->openRecordset(kDepartmentListSql);
    auto warehouse = db->openRecordset(kWarehouseListSql);
    const QHash<QString, int> rows = indexItemRows(*inventory);
    CardLookups lk{db.get(), &ctx, inventory.get(), department.get(), warehouse.get(), &rows};
    auto headers = db->openRecordset(QStringLiteral("ProductStructure"));
    auto lines = db->openRecordset(QStringLiteral("productstructures"));

    // A parent that is nobody's structure yet but sits under many stored ones, and 500 children
    // that are never parents (so never its ancestors).
    const std::string parent = cardbench::itemCode(cardbench::kItems - 1);
    const QString qparent = QString::fromStdString(parent);
    std::vector<std::string> children;
    MemoryLineGrid grid;
    for (int i = 0; i < kLines; ++i) {
        children.push_back(cardbench::itemCode(cardbench::kParents + 7 + i * 53));
        const int r = grid.addLine();
        grid.setCell(r, ColChildCode, QString::fromStdString(children.back()));
        grid.setCell(r, ColQuantity, QStringLiteral("1"));
        grid.setCell(r, ColWarehouse, QStringLiteral("原料库"));
    }

    {
        // Where a save's time goes: its checks alone, and the free-item check alone.
        SaveRequest req{qparent,  QStringLiteral("一车间"), true, headers.get(), lines.get(), nullptr};
        auto t0 = Clock::now();
        const Verdict v = checkStructure(lk, grid, req);
        const double all = msSince(t0);
        t0 = Clock::now();
        freeItemRefusal(grid, ctx);
        std::printf("checks of a 500-line save: %.2f ms (free items alone %.2f ms)%s\n", all,
                    msSince(t0), v ? "" : " refused");
    }
    std::vector<double> api, saveNew, saveEdit, saveEditAll;
    for (int round = 0; round < kRounds; ++round) {
        api.push_back(postgres ? insertThroughLibpq(connection, parent, children)
                               : insertThroughCApi(path, parent, children));
        headers->requery();

        SaveRequest req{qparent,  QStringLiteral("一车间"), true, headers.get(), lines.get(), nullptr};
        auto t0 = Clock::now();
        if (!saveStructure(lk, grid, req)) {
            std::fprintf(stderr, "new save refused: %s\n", qPrintable(silent.last));
            return 2;
        }
        saveNew.push_back(msSince(t0));

        req.adding = false;
        t0 = Clock::now();
        if (!saveStructure(lk, grid, req)) {
            std::fprintf(stderr, "edit-mode save refused: %s\n", qPrintable(silent.last));
            return 2;
        }
        saveEdit.push_back(msSince(t0));

        // The same edit with every line's quantity changed: every stored line is written.
        const QString quantity = QString::number(round + 2);
        for (int i = 1; i < grid.rows(); ++i) grid.setCell(i, ColQuantity, quantity);
        t0 = Clock::now();
        if (!saveStructure(lk, grid, req)) {
            std::fprintf(stderr, "edit-mode save refused: %s\n", qPrintable(silent.last));
            return 2;
        }
        saveEditAll.push_back(msSince(t0));
        for (int i = 1; i < grid.rows(); ++i) grid.setCell(i, ColQuantity, QStringLiteral("1"));
        db->execute(QStringLiteral("delete from ProductStructures where cPSPCode=?"), {qparent});
        db->execute(QStringLiteral("delete from ProductStructure where cPSPCode=?"), {qparent});
        headers->requery();
    }
    const double a = median(api);
    std::printf("500 lines through the %s C API in one transaction: %.2f ms\n",
                postgres ? "libpq" : "sqlite3", a);
    std::printf("save, new structure:   %.2f ms  ratio %.2fx\n", median(saveNew),
                median(saveNew) / a);
    std::printf("save, edit mode:       %.2f ms  ratio %.2fx\n", median(saveEdit),
                median(saveEdit) / a);
    std::printf("save, edit mode, every line changed: %.2f ms  ratio %.2fx\n", median(saveEditAll),
                median(saveEditAll) / a);

    // The cycle checks of one save against one walk of the parent's ancestry.
    std::vector<double> walk, checks;
    long long ancestors = 0;
    for (int round = 0; round < kRounds; ++round) {
        auto t0 = Clock::now();
        CheckCycle(qparent, QString::fromStdString(children[0]), *db);
        walk.push_back(msSince(t0));
        t0 = Clock::now();
        const Ancestors anc = CollectAncestors(qparent, *db);
        int allowed = 0;
        for (int i = 1; i < grid.rows(); ++i)
            allowed += anc.allows(grid.cell(i, ColChildCode)) ? 1 : 0;
        checks.push_back(msSince(t0));
        ancestors = anc.codes.size();
        if (allowed != kLines) return 2;
    }
    std::printf(
        "cycle checks of 500 lines: %.2f ms, one walk: %.2f ms, ratio %.2fx (%lld stored "
        "ancestors)\n",
        median(checks), median(walk), median(checks) / median(walk), ancestors);
    Prompter::install(nullptr);
    if (postgres) {
        db.reset();
        scratchDatabase(args[2], scratch, true);
    }
    return 0;
}
