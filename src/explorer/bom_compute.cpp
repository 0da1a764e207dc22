#include "explorer/bom_compute.h"

#include <algorithm>

namespace qx::explorer {

WalkOrder walkOrder(const BomGraph& g)
{
    WalkOrder w;
    w.closing.assign(size_t(g.lineCount()), 0);
    enum : char { kNew, kOpen, kDone };
    std::vector<char> state(size_t(g.size()), kNew);
    std::vector<int> post;
    post.reserve(size_t(g.size()));
    // A depth-first walk without recursion: stored structures may be deep.
    std::vector<std::pair<int, size_t>> stack{{g.root(), 0}};
    state[size_t(g.root())] = kOpen;
    while (!stack.empty()) {
        auto& [node, next] = stack.back();
        const auto& steps = g.steps(node);
        if (next == steps.size()) {
            state[size_t(node)] = kDone;
            post.push_back(node);
            stack.pop_back();
            continue;
        }
        const int l = steps[next++];
        const int t = g.target(l);
        if (state[size_t(t)] == kOpen)
            w.closing[size_t(l)] = 1;
        else if (state[size_t(t)] == kNew) {
            state[size_t(t)] = kOpen;
            stack.emplace_back(t, 0);
        }
    }
    w.order.assign(post.rbegin(), post.rend());
    return w;
}

namespace {

void sortByCode(const BomGraph& g, std::vector<SummaryRow>& rows)
{
    std::sort(rows.begin(), rows.end(),
              [&g](const SummaryRow& a, const SummaryRow& b) { return g.rank(a.node) < g.rank(b.node); });
}

}  // namespace

Explosion explode(const BomGraph& g, double topQuantity)
{
    const WalkOrder w = walkOrder(g);
    const size_t n = size_t(g.size());
    Explosion e;
    e.unitCost.assign(n, 0.0);
    e.incomplete.assign(n, 0);
    std::vector<double> need(n, 0.0);
    need[size_t(g.root())] = topQuantity;
    for (int u : w.order)
        for (int l : g.steps(u))
            if (!w.closing[size_t(l)]) need[size_t(g.target(l))] += need[size_t(u)] * lineFactor(g.line(l));

    // Costs roll up from the bottom: the reverse of the walk order.
    for (auto it = w.order.rbegin(); it != w.order.rend(); ++it) {
        const int u = *it;
        if (e.isLeaf(g, u)) {
            const auto& price = g.item(u).price;
            e.unitCost[size_t(u)] = price.value_or(0.0);
            e.incomplete[size_t(u)] = !price;
            SummaryRow row{u, need[size_t(u)], std::nullopt};
            if (price) row.cost = need[size_t(u)] * *price;
            else ++e.missingPrices;
            e.summary.push_back(row);
            continue;
        }
        double cost = 0;
        char incomplete = 0;
        for (int l : g.steps(u)) {
            if (w.closing[size_t(l)]) continue;
            const int t = g.target(l);
            cost += lineFactor(g.line(l)) * e.unitCost[size_t(t)];
            incomplete |= e.incomplete[size_t(t)];
        }
        e.unitCost[size_t(u)] = cost;
        e.incomplete[size_t(u)] = incomplete;
    }
    e.totalCost = topQuantity * e.unitCost[size_t(g.root())];
    sortByCode(g, e.summary);
    return e;
}

WhereUsed whereUsed(const BomGraph& g)
{
    const WalkOrder w = walkOrder(g);
    WhereUsed u;
    u.perUnit.assign(size_t(g.size()), 0.0);
    u.perUnit[size_t(g.root())] = 1.0;
    // Going up, a node comes after every part of it that leads to the item, so its quantity is
    // whole when its own lines upwards are followed.
    for (int c : w.order)
        for (int l : g.steps(c))
            if (!w.closing[size_t(l)])
                u.perUnit[size_t(g.target(l))] += lineFactor(g.line(l)) * u.perUnit[size_t(c)];
    for (int node = 0; node < g.size(); ++node)
        if (node != g.root() && g.steps(node).empty())
            u.tops.push_back({node, u.perUnit[size_t(node)], std::nullopt});
    sortByCode(g, u.tops);
    return u;
}

void forEachTreeRow(const BomGraph& g, double topQuantity,
                    const std::function<bool(const TreeRow&)>& visit)
{
    struct Frame {
        int node;
        double quantity;
        size_t next;
    };
    std::vector<char> onPath(size_t(g.size()), 0);
    std::vector<Frame> stack{{g.root(), topQuantity, 0}};
    onPath[size_t(g.root())] = 1;
    while (!stack.empty()) {
        Frame& f = stack.back();
        const auto& steps = g.steps(f.node);
        if (f.next == steps.size()) {
            onPath[size_t(f.node)] = 0;
            stack.pop_back();
            continue;
        }
        const int l = steps[f.next++];
        const int t = g.target(l);
        TreeRow row;
        row.level = int(stack.size());
        row.node = t;
        row.line = l;
        row.quantity = f.quantity * lineFactor(g.line(l));
        row.loop = onPath[size_t(t)] != 0;
        if (!visit(row)) return;
        if (!row.loop) {
            onPath[size_t(t)] = 1;
            stack.push_back({t, row.quantity, 0});
        }
    }
}

long long countTreeRows(const BomGraph& g, long long limit)
{
    long long rows = 0;
    forEachTreeRow(g, 1.0, [&rows, limit](const TreeRow&) { return ++rows <= limit; });
    return rows;
}

}  // namespace qx::explorer
