#pragma once

#include <QString>
#include <QStringList>

namespace qx {

class Database;

// The company database: the component's own tables, the master tables it reads, and the
// table of another module that refers to ProductStructure (production orders), so that a
// structure can really be in use.
//
// Widths (enforced on both backends): codes varchar(20); names varchar(60); specification
// varchar(60); units varchar(20); ProductStructures.cPersonName varchar(10); free-item values
// varchar(20). Booleans are small integers 0/1. Quantities, rates and prices are double.
namespace schema {

constexpr int kCodeWidth = 20;
constexpr int kNameWidth = 60;
constexpr int kPersonNameWidth = 10;
constexpr int kFreeWidth = 20;

// Creates every table of a company (those missing), with keys, foreign keys and indexes.
// withWasteRate=false creates ProductStructures as an older company had it (no iWasteRate),
// so that the upgrade can be tried.
void createCompany(Database& db, bool withWasteRate = true);

// The upgrade that Init runs, errors ignored: "alter table ProductStructures add iWasteRate
// float null".
void upgradeWasteRate(Database& db);

// Creates CA_MenuDef with its unique index and three rows, each step's errors ignored.
void ensureMenuDef(Database& db);

// The demo company: master data in Chinese and several multi-level structures (see demo.cpp).
void createDemoCompany(Database& db);

}  // namespace schema
}  // namespace qx
