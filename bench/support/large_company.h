#pragma once

// A large company for benchmarks: 50,000 items, 20,000 parents with 10 lines each, nested up to
// 12 levels with shared sub-assemblies, written straight through the drivers' bulk paths
// (sqlite3, libpq COPY) after the schema is made by schema::createCompany.

#include <QString>

#include <vector>

namespace qx::bench {

struct LargeCompanySpec {
    int items = 50000;
    int parents = 20000;
    int linesPerParent = 10;
    int levels = 12;            // parent levels 0..levels-1; a part below the last is level `levels`
    int topLevelParents = 3000;  // finished goods; the other parents are spread over the levels below
    int subAssembliesPerParent = 2;  // lines that take a parent of the next level (shared)
    unsigned seed = 20240318;
};

struct LargeCompany {
    // Item codes of the parents of each level (level 0: finished goods), and the parts.
    std::vector<std::vector<QString>> parentsByLevel;
    std::vector<QString> parts;
    long long lines = 0;
};

QString itemCode(int i);

// Writes a large company into an empty database (connection string as qx::Database takes it:
// sqlite:PATH or postgresql://...). Throws std::runtime_error naming what failed.
LargeCompany generateLargeCompany(const QString& connection, const LargeCompanySpec& spec = {});

// Adds a lattice of `depth` levels of two codes "<prefix><level>a/b", each parent of both codes
// of the level below: 2^depth routes from the top to the bottom.
void addDiamondLattice(const QString& connection, const QString& prefix, int depth);

}  // namespace qx::bench
