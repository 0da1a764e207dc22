#pragma once

// The integrity report over a company's stored structures, for the people who run company
// databases (qxprostru verify).

#include <QString>
#include <QStringList>

namespace qx {

class Database;

struct VerifyReport {
    QStringList lines;  // one finding per line, in a fixed order (loops, orphans, empty headers)
    bool clean = true;
};

// Reads ProductStructure, ProductStructures and Inventory once and reports every stored loop
// (one per group of codes that reach each other, with one loop of codes spelled out), every
// line whose child or parent is missing from Inventory (the list does not show such lines), every
// line without its header, and every structure without lines.
VerifyReport verifyStructures(Database& db);

}  // namespace qx
