#pragma once

#include "platform/database.h"

#include <QString>

#include <memory>

namespace qx {

// What the list window loads once and the card reads while it is open above the list: the
// database, the caption terms, the free-item names and flags, the quantity decimals and the
// lookup caches. The card sees the list only through this object.
struct ListContext {
    Database* dbase = nullptr;  // DBFrm
    bool readOnly = false;
    bool unwritable = false;  // read-only because the company cannot be written

    // Caption terms (CA_MenuDef may rename them).
    QString sProStru = QStringLiteral("产品结构");
    QString parentTerm = QStringLiteral("父项");
    QString childTerm = QStringLiteral("子项");

    QString FreeName1 = QStringLiteral("自由项1");
    QString FreeName2 = QStringLiteral("自由项2");
    bool HaveFree1 = false;
    bool HaveFree2 = false;

    int quantityDecimals = 2;
    QString ComputerName;

    // Lookup caches (null when the table is missing: lookups then find nothing).
    std::unique_ptr<Recordset> RecDep;    // end-level departments
    std::unique_ptr<Recordset> RecPer;    // persons with department names
    std::unique_ptr<Recordset> RecCa;     // operations
    std::unique_ptr<Recordset> RecFree1;  // values of free item 1
    std::unique_ptr<Recordset> RecFree2;  // values of free item 2
    std::unique_ptr<Recordset> inventory; // "inventory" by name (first reference)
    std::unique_ptr<Recordset> inventory2;  // the second reference

    // Handed over by Init: parent, child and joined recordsets.
    Recordset* parentRecords = nullptr;
    Recordset* childRecords = nullptr;
    Recordset* joinedRecords = nullptr;
    // Table recordsets (opened by name at loading).
    std::unique_ptr<Recordset> mrecPro;   // "ProductStructure"
    std::unique_ptr<Recordset> mrecPros;  // "productstructures"
};

}  // namespace qx
