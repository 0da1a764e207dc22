#pragma once

// One explosion or where-used, ready to be shown, printed, written to a file or to standard
// output: the graph read once, its totals, and the cells of its tree and summary rows.

#include "explorer/bom_compute.h"

#include <QStringList>

#include <optional>
#include <vector>

namespace qx::explorer {

// A cell: its text as shown, and the number behind it for a spreadsheet (empty for a text).
struct Cell {
    QString text;
    std::optional<double> number;
    int decimals = -1;  // shown places of the number; negative: as it is
};
using CellRow = std::vector<Cell>;

// The columns of the tree. Going down: level, part code, name, specification, unit, quantity
// per parent, waste rate, cumulated quantity, planned price, cumulated cost, remark. Going up
// the cost columns are left out and the code is the using product's.
enum TreeColumn : int {
    TreeLevel = 0,
    TreeCode,
    TreeName,
    TreeSpec,
    TreeUnit,
    TreeQuantity,
    TreeWasteRate,
    TreeCumQuantity,
    TreePrice,    // down only
    TreeCumCost,  // down only
};

// Checks what an operator typed. Empty when it is acceptable, else the message to show.
QString checkItemCode(const QString& code);
// The requested quantity of the top product; empty when the text is not a positive number.
std::optional<double> parseQuantity(const QString& text);

class Report {
public:
    // Reads the graph. `decimals`: the quantity decimals of the company.
    // Reads the graph. `decimals`: the quantity decimals of the company. With Detail::Summary the
    // tree's cells lack the names of sub-assemblies until readTree() has read them.
    Report(Database& db, const QString& code, Direction direction, double topQuantity, int decimals,
           Detail detail = Detail::Tree);
    // Over a graph already read.
    Report(BomGraph graph, double topQuantity, int decimals);
    // Reads what the tree shows beyond the summary (before writing the tree to a file).
    void readTree(Database& db) { graph_.readItems(db, Detail::Tree); }

    const BomGraph& graph() const { return graph_; }
    Direction direction() const { return graph_.direction(); }
    double topQuantity() const { return topQuantity_; }
    int decimals() const { return decimals_; }
    bool unknown() const { return graph_.unknownRoot(); }
    const ItemInfo& top() const { return graph_.item(graph_.root()); }

    // Filled going down.
    const Explosion& explosion() const { return explosion_; }
    // Filled going up.
    const WhereUsed& usage() const { return usage_; }

    QString treeSheetName() const;
    QStringList treeCaptions() const;
    QStringList summaryCaptions() const;
    // The cells of one tree row (the code and name without indentation).
    CellRow treeCells(const TreeRow& row) const;
    std::vector<CellRow> summaryRows() const;

    // Cells of a node reached with `quantity` by `line` (the lazily read window tree shares them).
    CellRow nodeCells(int level, const ItemInfo& item, const Line& line, double quantity,
                      bool loop, std::optional<double> unitCost, bool incomplete) const;

    // The cost of `quantity` of a node by the rolled-up unit costs (empty going up).
    std::optional<double> unitCost(const QString& code) const;
    bool incomplete(const QString& code) const;

    QString quantityText(double v) const;
    static QString moneyText(double v);

private:
    void compute();

    BomGraph graph_;
    double topQuantity_;
    int decimals_;
    Explosion explosion_;
    WhereUsed usage_;
};

// The rows of a table as tab-separated text, one line each, ending in a line feed.
QByteArray tsvLines(const QStringList& captions, const std::vector<CellRow>& rows);
QByteArray tsvLine(const CellRow& row);

}  // namespace qx::explorer
