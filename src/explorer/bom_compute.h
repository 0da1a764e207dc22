#pragma once

// What the explorer computes over a graph: the order to accumulate in, the summary of needs
// and costs, the where-used totals, and the rows of the indented tree.

#include "explorer/bom_graph.h"

#include <functional>
#include <optional>
#include <vector>

namespace qx::explorer {

// The nodes in an order where every node comes after all the nodes that lead to it, and the
// lines that close a stored loop (they lead back to a node still being walked). Those lines are
// left out of every total: a loop has no finite quantity.
struct WalkOrder {
    std::vector<int> order;
    std::vector<char> closing;  // by line index
};
WalkOrder walkOrder(const BomGraph& g);

struct SummaryRow {
    int node = -1;
    double quantity = 0;          // per the requested quantity of the item walked from
    std::optional<double> cost;   // quantity × planned price; empty without a price
};

// The explosion of a product for `topQuantity` of it.
struct Explosion {
    // The cost of one unit of each node: its planned price for a leaf (0 without one), the sum of
    // its lines' costs for a sub-assembly.
    std::vector<double> unitCost;
    // Some leaf below the node (or the node itself) has no planned price.
    std::vector<char> incomplete;
    // Every distinct leaf with its total need over all paths, ordered by code.
    std::vector<SummaryRow> summary;
    int missingPrices = 0;  // distinct leaves without a planned price
    double totalCost = 0;
    bool isLeaf(const BomGraph& g, int node) const { return node != g.root() && g.steps(node).empty(); }
};
// Each line is visited once, along the walk order: a product with 2^24 paths costs what its
// lines cost.
Explosion explode(const BomGraph& g, double topQuantity);

// Where an item goes: the quantity of it in one unit of each node, and the top products
// (those that are nobody's child) with that quantity, ordered by code.
struct WhereUsed {
    std::vector<double> perUnit;
    std::vector<SummaryRow> tops;
};
WhereUsed whereUsed(const BomGraph& g);

// One row of the indented tree: a path from the item walked from to `node`.
struct TreeRow {
    int level = 0;       // 1 for the item's own lines
    int node = -1;
    int line = -1;       // the line that leads to the node
    double quantity = 0; // cumulated along the path (per `topQuantity` of the item walked from)
    bool loop = false;   // the node is already on the path: shown once, not descended
};

// Walks the indented tree depth first in the order of the steps. `visit` returns false to stop.
void forEachTreeRow(const BomGraph& g, double topQuantity,
                    const std::function<bool(const TreeRow&)>& visit);

// The number of rows of the indented tree, counted up to `limit` + 1.
long long countTreeRows(const BomGraph& g, long long limit);

}  // namespace qx::explorer
