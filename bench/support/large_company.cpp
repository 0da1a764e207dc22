#include "support/large_company.h"

#include "data/schema.h"
#include "platform/database.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>

namespace qx::bench {

namespace {

using Field = std::optional<std::string>;
using Row = std::vector<Field>;

struct Table {
    std::string name;
    std::vector<std::string> columns;
    std::vector<Row> rows;
};

std::string joined(const std::vector<std::string>& parts, const char* sep)
{
    std::string out;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) out += sep;
        out += parts[i];
    }
    return out;
}

void writeSqlite(const QString& path, const std::vector<Table>& tables)
{
    sqlite3* db = nullptr;
    auto fail = [&](const std::string& what) {
        const std::string message = what + ": " + (db ? sqlite3_errmsg(db) : "no connection");
        sqlite3_close(db);
        throw std::runtime_error(message);
    };
    if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK) fail("open " + path.toStdString());
    if (sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK) fail("begin");
    for (const Table& t : tables) {
        std::vector<std::string> marks(t.columns.size(), "?");
        const std::string sql = "insert into " + t.name + " (" + joined(t.columns, ",") + ") values (" +
                                joined(marks, ",") + ")";
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) fail("prepare " + sql);
        for (const Row& row : t.rows) {
            for (size_t i = 0; i < row.size(); ++i) {
                if (row[i])
                    sqlite3_bind_text(stmt, static_cast<int>(i + 1), row[i]->c_str(),
                                      static_cast<int>(row[i]->size()), SQLITE_STATIC);
                else
                    sqlite3_bind_null(stmt, static_cast<int>(i + 1));
            }
            if (sqlite3_step(stmt) != SQLITE_DONE) {
                sqlite3_finalize(stmt);
                fail("insert into " + t.name);
            }
            sqlite3_reset(stmt);
        }
        sqlite3_finalize(stmt);
    }
    if (sqlite3_exec(db, "COMMIT; ANALYZE", nullptr, nullptr, nullptr) != SQLITE_OK) fail("commit");
    sqlite3_close(db);
}

void writePostgres(const QString& connection, const std::vector<Table>& tables)
{
    PGconn* conn = PQconnectdb(connection.toUtf8().constData());
    auto fail = [&](const std::string& what) {
        const std::string message = what + ": " + PQerrorMessage(conn);
        PQfinish(conn);
        throw std::runtime_error(message);
    };
    if (PQstatus(conn) != CONNECTION_OK) fail("connect");
    for (const Table& t : tables) {
        const std::string sql = "copy " + t.name + " (" + joined(t.columns, ",") + ") from stdin";
        PGresult* res = PQexec(conn, sql.c_str());
        if (PQresultStatus(res) != PGRES_COPY_IN) {
            PQclear(res);
            fail(sql);
        }
        PQclear(res);
        std::string buffer;
        for (const Row& row : t.rows) {
            for (size_t i = 0; i < row.size(); ++i) {
                if (i) buffer += '\t';
                buffer += row[i] ? *row[i] : std::string("\\N");  // the codes hold no tab or backslash
            }
            buffer += '\n';
            if (buffer.size() > (1 << 20)) {
                if (PQputCopyData(conn, buffer.data(), static_cast<int>(buffer.size())) != 1) fail("copy data");
                buffer.clear();
            }
        }
        if (!buffer.empty() && PQputCopyData(conn, buffer.data(), static_cast<int>(buffer.size())) != 1)
            fail("copy data");
        if (PQputCopyEnd(conn, nullptr) != 1) fail("copy end");
        res = PQgetResult(conn);
        const bool ok = PQresultStatus(res) == PGRES_COMMAND_OK;
        PQclear(res);
        if (!ok) fail("copy into " + t.name);
    }
    PGresult* res = PQexec(conn, "analyze");
    PQclear(res);
    PQfinish(conn);
}

void write(const QString& connection, const std::vector<Table>& tables)
{
    const ConnectionInfo info = parseConnectionString(connection);
    if (info.backend == Backend::Sqlite)
        writeSqlite(info.path, tables);
    else
        writePostgres(connection, tables);
}

}  // namespace

QString itemCode(int i) { return QStringLiteral("I%1").arg(i, 6, 10, QLatin1Char('0')); }

LargeCompany generateLargeCompany(const QString& connection, const LargeCompanySpec& spec)
{
    {
        auto db = Database::open(connection);
        schema::createCompany(*db);
    }
    std::mt19937 random(spec.seed);
    LargeCompany company;

    // Parents take the first item numbers, level by level; the rest are parts.
    company.parentsByLevel.resize(spec.levels);
    std::vector<std::vector<int>> levelItems(spec.levels);
    {
        int next = 0;
        const int below = spec.parents - spec.topLevelParents;
        for (int level = 0; level < spec.levels; ++level) {
            int count = spec.topLevelParents;
            if (level > 0) count = below / (spec.levels - 1) + (level <= below % (spec.levels - 1) ? 1 : 0);
            for (int i = 0; i < count; ++i) {
                levelItems[level].push_back(next);
                company.parentsByLevel[level].push_back(itemCode(next));
                ++next;
            }
        }
        for (int i = next; i < spec.items; ++i) company.parts.push_back(itemCode(i));
    }
    const int firstPart = spec.parents;
    const int partCount = spec.items - spec.parents;

    Table inventory{"Inventory",
                    {"cInvCode", "cInvName", "cInvStd", "cInvM_Unit", "cInvA_Unit", "iInvExchRate", "iInvRCost",
                     "bFree1", "bFree2", "bService"},
                    {}};
    inventory.rows.reserve(spec.items);
    for (int i = 0; i < spec.items; ++i) {
        const bool aux = i % 3 == 0;
        inventory.rows.push_back({itemCode(i).toStdString(), "物料" + std::to_string(i),
                                  "规格-" + std::to_string(i % 97), std::string("个"),
                                  aux ? Field("箱") : std::nullopt, aux ? Field("12") : std::nullopt,
                                  i % 11 == 0 ? std::nullopt : Field(std::to_string(1.5 + i % 100)),
                                  std::string(i % 5 == 0 ? "1" : "0"), std::string("0"), std::string("0")});
    }
    Table masters{"department", {"cDepCode", "cDepName", "cDepPerson", "bDepEnd"},
                  {{std::string("D1"), std::string("一车间"), std::string("张三"), std::string("1")}}};
    Table warehouses{"warehouse", {"cWhCode", "cWhName", "cWhValueStyle", "cDepCode"},
                     {{std::string("W1"), std::string("原料库"), std::string("计划价法"), std::string("D1")}}};

    Table headers{"ProductStructure", {"cPSPCode", "cDepCode"}, {}};
    Table lines{"ProductStructures", {"cPSPCode", "cPSCode", "iPSQuantity", "cWhCode", "cDepCode"}, {}};
    headers.rows.reserve(spec.parents);
    lines.rows.reserve(static_cast<size_t>(spec.parents) * spec.linesPerParent);
    std::bernoulli_distribution skipLevel(0.3);
    for (int level = 0; level < spec.levels; ++level) {
        const auto& own = levelItems[level];
        for (size_t k = 0; k < own.size(); ++k) {
            const int parent = own[k];
            std::vector<int> children;
            auto take = [&](int c) {
                if (std::find(children.begin(), children.end(), c) != children.end()) return false;
                children.push_back(c);
                return true;
            };
            if (level + 1 < spec.levels) {
                const auto& next = levelItems[level + 1];
                // The k-th parent takes the (k mod n)-th sub-assembly first, so that every
                // sub-assembly has a parent and the ancestry really reaches 12 levels.
                take(next[k % next.size()]);
                while (static_cast<int>(children.size()) < spec.subAssembliesPerParent)
                    take(next[random() % next.size()]);
                if (level + 2 < spec.levels && skipLevel(random)) {
                    const int deeper = level + 2 + static_cast<int>(random() % (spec.levels - level - 2));
                    take(levelItems[deeper][random() % levelItems[deeper].size()]);
                }
            }
            while (static_cast<int>(children.size()) < spec.linesPerParent)
                take(firstPart + static_cast<int>(random() % partCount));
            const std::string p = itemCode(parent).toStdString();
            headers.rows.push_back({p, std::string("D1")});
            for (int c : children)
                lines.rows.push_back({p, itemCode(c).toStdString(), std::to_string(1 + c % 7), std::string("W1"),
                                      std::string("D1")});
        }
    }
    company.lines = static_cast<long long>(lines.rows.size());
    write(connection, {inventory, masters, warehouses, headers, lines});
    return company;
}

void addDiamondLattice(const QString& connection, const QString& prefix, int depth)
{
    auto db = Database::open(connection);
    Transaction t(*db);
    auto code = [&](int level, char side) { return prefix + QString::number(level) + QLatin1Char(side); };
    for (int level = 0; level < depth; ++level)
        for (char a : {'a', 'b'}) {
            db->execute(QStringLiteral("insert into ProductStructure(cPSPCode,cDepCode) values(?,?)"),
                        {code(level, a), QStringLiteral("D1")});
            for (char b : {'a', 'b'})
                db->execute(QStringLiteral("insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity) values(?,?,?)"),
                            {code(level, a), code(level + 1, b), 1.0});
        }
    t.commit();
}

}  // namespace qx::bench
