#include "data/code_graph.h"

#include <algorithm>

namespace qx {

int CodeGraph::node(const QString& code)
{
    auto it = ids_.constFind(code);
    if (it != ids_.constEnd()) return it.value();
    const int n = static_cast<int>(codes_.size());
    ids_.insert(code, n);
    codes_.push_back(code);
    down_.emplace_back();
    selfLoop_.push_back(0);
    return n;
}

void CodeGraph::addEdge(const QString& parent, const QString& child)
{
    const int p = node(parent);
    addEdge(p, node(child));
}

void CodeGraph::addEdge(int parent, int child)
{
    down_[parent].push_back(child);
    if (parent == child) selfLoop_[parent] = 1;
}

std::vector<std::vector<int>> CodeGraph::components(std::vector<int>* groupOf) const
{
    const int n = size();
    std::vector<int> index(n, -1), low(n, 0);
    std::vector<char> onStack(n, 0);
    std::vector<int> stack;
    std::vector<std::vector<int>> groups;
    if (groupOf) groupOf->assign(n, -1);
    int counter = 0;
    struct Frame {
        int node;
        size_t next;
    };
    for (int start = 0; start < n; ++start) {
        if (index[start] >= 0) continue;
        std::vector<Frame> frames{{start, 0}};
        index[start] = low[start] = counter++;
        stack.push_back(start);
        onStack[start] = 1;
        while (!frames.empty()) {
            Frame& f = frames.back();
            if (f.next < down_[f.node].size()) {
                const int w = down_[f.node][f.next++];
                if (index[w] < 0) {
                    index[w] = low[w] = counter++;
                    stack.push_back(w);
                    onStack[w] = 1;
                    frames.push_back({w, 0});
                } else if (onStack[w]) {
                    low[f.node] = std::min(low[f.node], index[w]);
                }
                continue;
            }
            const int v = f.node;
            frames.pop_back();
            if (!frames.empty())
                low[frames.back().node] = std::min(low[frames.back().node], low[v]);
            if (low[v] == index[v]) {
                std::vector<int> group;
                int w;
                do {
                    w = stack.back();
                    stack.pop_back();
                    onStack[w] = 0;
                    group.push_back(w);
                    if (groupOf) (*groupOf)[w] = static_cast<int>(groups.size());
                } while (w != v);
                groups.push_back(std::move(group));
            }
        }
    }
    return groups;
}

}  // namespace qx
