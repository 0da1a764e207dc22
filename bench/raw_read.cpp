/* The floor of the list window's loading: the statements that Init and the list's loading run,
 * read to the last column of the last row through the database's own C API, in a plain process.
 *
 *   raw_read sqlite:FILE | postgresql://...     prints the rows read and the milliseconds taken
 */
#include <libpq-fe.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <ctime>

static const char* const kStatements[] = {
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
    NULL,
};

static double now_ms(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

static long long read_sqlite(const char* path, double* sink)
{
    sqlite3* db = NULL;
    long long rows = 0;
    if (sqlite3_open(path, &db) != SQLITE_OK) return -1;
    for (const char* const* s = kStatements; *s; ++s) {
        sqlite3_stmt* st = NULL;
        if (sqlite3_prepare_v2(db, *s, -1, &st, NULL) != SQLITE_OK) continue;
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

static long long read_postgres(const char* conninfo, double* sink)
{
    PGconn* conn = PQconnectdb(conninfo);
    long long rows = 0;
    if (PQstatus(conn) != CONNECTION_OK) {
        fprintf(stderr, "%s", PQerrorMessage(conn));
        PQfinish(conn);
        return -1;
    }
    for (const char* const* s = kStatements; *s; ++s) {
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

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: raw_read sqlite:FILE | postgresql://...\n");
        return 2;
    }
    double sink = 0;
    const double t0 = now_ms();
    long long rows;
    if (strncmp(argv[1], "postgres", 8) == 0)
        rows = read_postgres(argv[1], &sink);
    else
        rows = read_sqlite(strncmp(argv[1], "sqlite:", 7) == 0 ? argv[1] + 7 : argv[1], &sink);
    if (rows < 0) return 2;
    printf("rows %lld in %.1f ms (%g)\n", rows, now_ms() - t0, sink > 0 ? 1.0 : 0.0);
    return 0;
}
