#pragma once

// The stored structures as a graph over item codes, read for one item: every line reachable
// from it downwards (what goes into it) or upwards (what it goes into).

#include <QString>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx {
class Database;
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

// Which items' names, specifications, units and prices a graph reads: those its summary shows
// (the item walked from and the items the walk ends at: the parts going down, the top products
// going up), or every item of the tree.
enum class Detail { Summary, Tree };

// The lines reachable from one item, with its nodes numbered from 0 (the item itself).
class BomGraph {
public:
    // Reads the lines level by level, one statement for all the codes first met on the level
    // before (each code's lines once, which ends the reading on a stored loop), then the item
    // master's rows that `detail` asks for with one more.
    static BomGraph load(Database& db, const QString& code, Direction direction, Detail detail = Detail::Tree);
    // Reads the item master's rows of the items not read yet.
    void readItems(Database& db, Detail detail);

    Direction direction() const { return direction_; }
    int root() const { return 0; }
    int size() const { return int(items_.size()); }
    const ItemInfo& item(int node) const { return items_[size_t(node)]; }
    int find(const QString& code) const;
    // Nodes in the order of their codes (0 for the smallest).
    int rank(int node) const { return rank_[size_t(node)]; }

    const Line& line(int index) const { return lines_[size_t(index)]; }
    int lineCount() const { return int(lines_.size()); }
    // The lines leaving a node in the walking direction (its own lines going down, the lines that
    // use it going up), ordered by the code they lead to.
    std::span<const int> steps(int node) const
    {
        return {stepLines_.data() + stepStart_[size_t(node)], stepLines_.data() + stepStart_[size_t(node) + 1]};
    }
    // Where a line leads in the walking direction.
    int target(int lineIndex) const
    {
        return direction_ == Direction::Down ? lines_[size_t(lineIndex)].child : lines_[size_t(lineIndex)].parent;
    }
    // No code was found: neither the item master nor any line knows it.
    bool unknownRoot() const { return !items_[0].known && lines_.empty(); }

private:
    BomGraph(Direction direction, const QString& root);
    // The node of a code given as the backend's UTF-8 bytes, added when new.
    int node(std::string_view code);
    // The node of a code, or -1.
    int lookUp(std::string_view code) const;
    // The slot of the table that holds the code, or the empty slot where it would go.
    size_t probe(std::string_view code, size_t hash) const;
    std::string_view codeBytes(int node) const
    {
        return {codes_.data() + codeStart_[size_t(node)], size_t(codeStart_[size_t(node) + 1] - codeStart_[size_t(node)])};
    }
    // Forgets the nodes from `count` on (a round of reading that starts afresh).
    void truncate(int count);
    void rehash(size_t capacity);
    // Orders the nodes by code and each node's steps by the code they lead to.
    void index();

    Direction direction_;
    std::vector<ItemInfo> items_;
    std::vector<char> read_;  // the item master's row was asked for
    // The codes as UTF-8 bytes side by side, and an open-addressed table of nodes by code.
    std::string codes_;
    std::vector<size_t> codeStart_{0};
    std::vector<size_t> hashes_;
    std::vector<int> slots_;
    std::vector<Line> lines_;
    std::vector<int> stepStart_;
    std::vector<int> stepLines_;
    std::vector<int> rank_;
};

}  // namespace qx::explorer
