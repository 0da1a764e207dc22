#include "support/raw_reader.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <ctime>

namespace qx::bench {

const char* const kRawStatements[] = {
    "select * from ca_menudef",
    "SELECT ProductStructure.cPSPCode, Inventory.cInvName,Inventory.cInvStd, ProductStructure.cDepCode  FROM "
    "Inventory INNER JOIN ProductStructure ON Inventory.cInvCode = ProductStructure.cPSPCode",
    "SELECT ProductStructures.cPSPcode,ProductStructures.cPSCode,  ProductStructures.cProcedureName, "
    "ProductStructures.cDepCode,  ProductStructures.cPersonName, ProductStructures.cFree1, ProductStructures.cFree2 "
    ",Inventory.cInvName, Inventory.cInvM_Unit,Inventory.cInvStd,ProductStructures.cWhCode, "
    "ProductStructures.iPSQuantity, inventory.iInvRCost,inventory.iInvExchRate,inventory.cInvA_unit,"
    "productstructures.iWasteRate FROM Inventory INNER JOIN ProductStructures ON Inventory.cInvCode = "
    "ProductStructures.cPSCode order by productstructures.cPSCode",
    "SELECT ProductStructure.*, ProductStructures.* FROM ProductStructure INNER JOIN ProductStructures ON "
    "ProductStructure.cPSPCode = ProductStructures.cPSPCode",
    "select * from inventory",
    "select cDepCode,cDepName from department where bDepEnd=1 ",
    "select cAlias,cvalue from userdefine where cid='20' ",
    "select cAlias,cvalue from userdefine where cid='21' ",
    "select person.cPersonCode,person.cPersonName,person.cDepCode,department.cdepname from person,department "
    "where person.cdepcode=department.cdepcode ",
    "select cProcedureID,cProcedureName,cDeptId from CA_PreDf ",
    "select * from ProductStructure",
    "select * from productstructures",
    "select * from accinformation",
    "select * from inventory",
    "select cName from UserDefItem where cID='20'",
    "select cName from UserDefItem where cID='21'",
    "select cwhcode,cwhname from warehouse",
    "select cvalue from accinformation where csysid='aa' and cid='22'",
    nullptr,
};

bool fetchedOnFirstUse(int statement)
{
    // Init's joined set, the list's items ("select * from inventory"), its parents by table
    // ("select * from ProductStructure"), "select * from productstructures", the second
    // "select * from inventory".
    return statement == kRawParentStatement + 2 || statement == 4 || statement == 10 || statement == 11 ||
           statement == 13;
}

namespace {

double nowMs()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

// Every value of every row is touched, so that nothing is read lazily.
long long readSqlite(const char* path, double* sink, bool openingOnly, int cacheKiB)
{
    sqlite3* db = nullptr;
    long long rows = 0;
    if (sqlite3_open(path, &db) != SQLITE_OK) {
        std::fprintf(stderr, "%s: %s\n", path, db ? sqlite3_errmsg(db) : "cannot open");
        sqlite3_close(db);
        return -1;
    }
    if (cacheKiB > 0) {
        const std::string pragma = "PRAGMA cache_size=-" + std::to_string(cacheKiB);
        sqlite3_exec(db, pragma.c_str(), nullptr, nullptr, nullptr);
    }
    for (const char* const* s = kRawStatements; *s; ++s) {
        if (openingOnly && fetchedOnFirstUse(int(s - kRawStatements))) continue;
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, *s, -1, &st, nullptr) != SQLITE_OK) continue;
        while (sqlite3_step(st) == SQLITE_ROW) {
            const int n = sqlite3_column_count(st);
            ++rows;
            for (int i = 0; i < n; ++i) {
                if (sqlite3_column_type(st, i) == SQLITE_TEXT)
                    *sink += sqlite3_column_bytes(st, i) + (sqlite3_column_text(st, i) ? 1 : 0);
                else
                    *sink += sqlite3_column_double(st, i);
            }
        }
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
    return rows;
}

long long readPostgres(const char* conninfo, double* sink, bool openingOnly)
{
    PGconn* conn = PQconnectdb(conninfo);
    long long rows = 0;
    if (PQstatus(conn) != CONNECTION_OK) {
        std::fprintf(stderr, "%s", PQerrorMessage(conn));
        PQfinish(conn);
        return -1;
    }
    for (const char* const* s = kRawStatements; *s; ++s) {
        if (openingOnly && fetchedOnFirstUse(int(s - kRawStatements))) continue;
        PGresult* res = PQexec(conn, *s);
        if (PQresultStatus(res) == PGRES_TUPLES_OK) {
            const int n = PQntuples(res), m = PQnfields(res);
            rows += n;
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < m; ++c) *sink += PQgetlength(res, r, c) + (PQgetvalue(res, r, c)[0] != 0);
        }
        PQclear(res);
    }
    PQfinish(conn);
    return rows;
}

}  // namespace

long long readRawStatements(const char* connection, double* ms, bool openingOnly, int sqliteCacheKiB)
{
    double sink = 0;
    const double t0 = nowMs();
    const long long rows = std::strncmp(connection, "postgres", 8) == 0
                               ? readPostgres(connection, &sink, openingOnly)
                               : readSqlite(std::strncmp(connection, "sqlite:", 7) == 0 ? connection + 7 : connection,
                                            &sink, openingOnly, sqliteCacheKiB);
    *ms = nowMs() - t0;
    // The sum is kept, so that the compiler cannot drop the reading.
    if (sink == -1.0) std::puts("");
    return rows;
}

}  // namespace qx::bench
