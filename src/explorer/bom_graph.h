#pragma once

// The stored structures as a graph over item codes, read for one item: every line reachable
// from it downwards (what goes into it) or upwards (what it goes into).

#include <QHash>
#include <QString>

#include <optional>
#include <vector>

namespace qx {
class Database;
class Recordset;
}

namespace qx::explorer {

enum class Direction {
    Down,  // from a product to its parts (the explosion)
    Up,    // from a part to the products it goes into (where-used)
};

struct ItemInfo {
    QString code;
    QString name;
    QString spec;
    QString unit;
    std::optional<double> price;  // the planned price; empty when the item has none
    bool known = false;           // the item master holds the code
};

// One stored line parent → child.
struct Line {
    int parent = -1;
    int child = -1;
    double quantity = 0;
    std::optional<double> wasteRate;  // per cent as the operator typed it (5 means 5 %)
};

// What a line multiplies a quantity by: quantity × (1 + waste rate / 100). An empty rate is 0.
double lineFactor(double quantity, const std::optional<double>& wasteRate);
inline double lineFactor(const Line& l) { return lineFactor(l.quantity, l.wasteRate); }

// The quantity decimals of the company (setting iStrsQuanDecDgt), 2 when it has none.
int readQuantityDecimals(Database& db);

// The item master's row for one code (known = false when there is none).
ItemInfo readItem(Database& db, const QString& code);

// One line leaving an item in the walking direction, read fresh for the window's tree.
struct Step {
    ItemInfo item;        // the item the line leads to
    Line line;            // parent and child are -1: the line's numbers only
    bool hasSteps = false;  // the item has lines of its own in the walking direction
};
// The lines of one item (its own lines going down, the lines that use it going up), ordered by
// the code they lead to. An item whose lines are gone gives none.
std::vector<Step> readSteps(Database& db, const QString& code, Direction direction);

// The lines reachable from one item, with its nodes numbered from 0 (the item itself).
class BomGraph {
public:
    // Reads generation by generation; a stored loop ends the reading (each code is read once).
    static BomGraph load(Database& db, const QString& code, Direction direction);
    // A graph given directly (tests and benchmarks build one without a database).
    BomGraph(Direction direction, const ItemInfo& root);

    Direction direction() const { return direction_; }
    int root() const { return 0; }
    int size() const { return int(items_.size()); }
    const ItemInfo& item(int node) const { return items_[node]; }
    int find(const QString& code) const { return ids_.value(code, -1); }
    // Adds (or finds) a node; info is kept from the first call that says the item is known.
    int node(const ItemInfo& info);
    void addLine(const Line& line);
    // Sorts each node's steps by the code they lead to (the order the list shows lines in).
    void sortSteps();

    const Line& line(int index) const { return lines_[index]; }
    int lineCount() const { return int(lines_.size()); }
    // The lines leaving a node in the walking direction: its own lines going down, the lines
    // that use it going up.
    const std::vector<int>& steps(int node) const { return steps_[node]; }
    // Where a line leads in the walking direction.
    int target(int lineIndex) const
    {
        return direction_ == Direction::Down ? lines_[lineIndex].child : lines_[lineIndex].parent;
    }
    // No code was found: neither the item master nor any line knows it.
    bool unknownRoot() const { return !items_[0].known && steps_[0].empty() && !seenAsTarget_; }

private:
    // Reads with one recursive query.
    static BomGraph loadWide(Database& db, const QString& code, Direction direction);
    // Adds the lines of the recursive query's recordset.
    void addRows(const Recordset& rs);

    Direction direction_;
    std::vector<ItemInfo> items_;
    QHash<QString, int> ids_;
    std::vector<Line> lines_;
    std::vector<std::vector<int>> steps_;
    bool seenAsTarget_ = false;
};

}  // namespace qx::explorer
