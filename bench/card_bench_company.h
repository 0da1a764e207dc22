#pragma once

// A large company for the card's benchmarks: 50,000 items, 20,000 structures of ten lines
// (200,000 lines) nesting without a loop, two warehouses and a department; written through
// sqlite3's own C API so that generating it takes seconds.

#include "data/schema.h"
#include "platform/database.h"

#include <QString>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace cardbench {

constexpr int kItems = 50000;
constexpr int kParents = 20000;
constexpr int kLinesPerParent = 10;

inline std::string itemCode(int i)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "I%06d", i);
    return buf;
}

inline void check(int rc, sqlite3* db, const char* what)
{
    if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW) {
        std::fprintf(stderr, "%s: %s\n", what, sqlite3_errmsg(db));
        std::exit(2);
    }
}

// Parents are the first 20,000 items, each with ten children drawn from the items after it.
inline void generate(const QString& path)
{
    {
        auto db = qx::Database::open(QStringLiteral("sqlite:") + path);
        qx::schema::createCompany(*db);
        db->execute(
            QStringLiteral(
                "insert into warehouse(cWhCode,cWhName,cWhValueStyle,cDepCode) values(?,?,?,?)"),
            {QStringLiteral("W1"), QStringLiteral("原料库"), QStringLiteral("全月平均法"),
             QStringLiteral("D1")});
        db->execute(
            QStringLiteral(
                "insert into department(cDepCode,cDepName,cDepPerson,bDepEnd) values(?,?,?,?)"),
            {QStringLiteral("D1"), QStringLiteral("一车间"), QString(), 1});
    }
    sqlite3* db = nullptr;
    check(sqlite3_open(path.toUtf8().constData(), &db), db, "open");
    check(sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr), db, "begin");
    sqlite3_stmt* inv = nullptr;
    check(
        sqlite3_prepare_v2(
            db,
            "insert into Inventory(cInvCode,cInvName,cInvStd,cInvM_Unit,cInvA_Unit,"
            "iInvExchRate,iInvRCost,bFree1,bFree2,bService) values(?,?,?,'个','箱',2.5,1.5,0,0,0)",
            -1, &inv, nullptr),
        db, "prepare inventory");
    for (int i = 0; i < kItems; ++i) {
        const std::string code = itemCode(i);
        const std::string name = "物料" + std::to_string(i);
        const std::string spec = "规格-" + std::to_string(i % 97);
        sqlite3_bind_text(inv, 1, code.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(inv, 2, name.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(inv, 3, spec.c_str(), -1, SQLITE_TRANSIENT);
        check(sqlite3_step(inv), db, "insert item");
        sqlite3_reset(inv);
    }
    sqlite3_finalize(inv);
    sqlite3_stmt* head = nullptr;
    sqlite3_stmt* line = nullptr;
    check(sqlite3_prepare_v2(db, "insert into ProductStructure(cPSPCode,cDepCode) values(?,'D1')",
                             -1, &head, nullptr),
          db, "prepare header");
    check(sqlite3_prepare_v2(db,
                             "insert into ProductStructures(cPSPCode,cPSCode,iPSQuantity,cWhCode) "
                             "values(?,?,1,'W1')",
                             -1, &line, nullptr),
          db, "prepare line");
    std::mt19937 rng(7);
    for (int p = 0; p < kParents; ++p) {
        const std::string parent = itemCode(p);
        sqlite3_bind_text(head, 1, parent.c_str(), -1, SQLITE_TRANSIENT);
        check(sqlite3_step(head), db, "insert header");
        sqlite3_reset(head);
        std::uniform_int_distribution<int> pick(p + 1, kItems - 1);
        std::string used[kLinesPerParent];
        for (int k = 0; k < kLinesPerParent; ++k) {
            std::string child;
            bool again = true;
            while (again) {
                child = itemCode(pick(rng));
                again = false;
                for (int j = 0; j < k; ++j) again = again || used[j] == child;
            }
            used[k] = child;
            sqlite3_bind_text(line, 1, parent.c_str(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_text(line, 2, child.c_str(), -1, SQLITE_TRANSIENT);
            check(sqlite3_step(line), db, "insert line");
            sqlite3_reset(line);
        }
    }
    sqlite3_finalize(head);
    sqlite3_finalize(line);
    check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db, "commit");
    sqlite3_close(db);
}

}  // namespace cardbench
