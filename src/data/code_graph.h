#pragma once

// The stored lines (and lines about to be stored) as a graph of codes: parent -> child. One
// pass finds every group of codes that reach each other, so that a whole file of lines, or a
// component replaced everywhere, is judged against all structures at once.

#include <QHash>
#include <QString>

#include <vector>

namespace qx {

class CodeGraph {
public:
    int node(const QString& code);  // the code's number, added when new
    int find(const QString& code) const { return ids_.value(code, -1); }
    void addEdge(const QString& parent, const QString& child);
    void addEdge(int parent, int child);

    int size() const { return static_cast<int>(codes_.size()); }
    const QString& code(int n) const { return codes_[n]; }
    const std::vector<int>& children(int n) const { return down_[n]; }
    bool holdsItself(int n) const { return selfLoop_[n] != 0; }

    // Strongly connected components, without recursion so that a deep structure cannot exhaust
    // the stack; each node's group number in `groupOf`. Groups come out children before parents
    // (a group is complete before any group that reaches it).
    std::vector<std::vector<int>> components(std::vector<int>* groupOf = nullptr) const;

    // Is the node on a loop: its group holds more than one code, or it holds itself.
    static bool onLoop(const std::vector<std::vector<int>>& groups, const CodeGraph& g, int group)
    {
        return groups[group].size() > 1 || g.holdsItself(groups[group].front());
    }

private:
    QHash<QString, int> ids_;
    std::vector<QString> codes_;
    std::vector<std::vector<int>> down_;
    std::vector<char> selfLoop_;
};

}  // namespace qx
