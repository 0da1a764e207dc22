#include "data/verify.h"

#include "data/texts.h"
#include "platform/database.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <vector>

namespace qx {

namespace {

struct Edge {
    QString parent;
    QString child;
};

// The groups of codes that reach each other over stored lines (strongly connected components,
// found without recursion so that a deep structure cannot exhaust the stack). Groups of one code
// count only when the code holds itself as a line.
class LoopFinder {
public:
    explicit LoopFinder(const std::vector<Edge>& edges)
    {
        for (const Edge& e : edges) {
            const int p = id(e.parent);
            const int c = id(e.child);
            down_[p].push_back(c);
            if (p == c) selfLoop_.insert(p);
        }
    }

    // Each loop spelled from the smallest code of its group back to that code, groups in order
    // of that code.
    std::vector<std::pair<QStringList, qsizetype>> loops()
    {
        std::vector<std::pair<QStringList, qsizetype>> result;
        for (const std::vector<int>& group : components()) {
            if (group.size() == 1 && !selfLoop_.contains(group.front())) continue;
            result.emplace_back(loopThrough(group), static_cast<qsizetype>(group.size()));
        }
        std::sort(result.begin(), result.end(),
                  [](const auto& a, const auto& b) { return a.first.front() < b.first.front(); });
        return result;
    }

private:
    int id(const QString& code)
    {
        auto it = ids_.find(code);
        if (it != ids_.end()) return it.value();
        const int n = static_cast<int>(codes_.size());
        ids_.insert(code, n);
        codes_.push_back(code);
        down_.emplace_back();
        return n;
    }

    std::vector<std::vector<int>> components() const
    {
        const int n = static_cast<int>(codes_.size());
        std::vector<int> index(n, -1), low(n, 0);
        std::vector<char> onStack(n, 0);
        std::vector<int> stack;
        std::vector<std::vector<int>> groups;
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
                if (!frames.empty()) low[frames.back().node] = std::min(low[frames.back().node], low[v]);
                if (low[v] == index[v]) {
                    std::vector<int> group;
                    int w;
                    do {
                        w = stack.back();
                        stack.pop_back();
                        onStack[w] = 0;
                        group.push_back(w);
                    } while (w != v);
                    groups.push_back(std::move(group));
                }
            }
        }
        return groups;
    }

    // A shortest loop through the group's smallest code, found breadth first inside the group.
    QStringList loopThrough(const std::vector<int>& group) const
    {
        const int start = *std::min_element(group.begin(), group.end(), [this](int a, int b) {
            return codes_[a] < codes_[b];
        });
        if (selfLoop_.contains(start)) return {codes_[start], codes_[start]};
        const QSet<int> members(group.begin(), group.end());
        QHash<int, int> cameFrom;
        std::vector<int> queue{start};
        for (size_t head = 0; head < queue.size(); ++head) {
            const int v = queue[head];
            for (int w : down_[v]) {
                if (!members.contains(w)) continue;
                if (w == start) {
                    QStringList loop{codes_[start]};
                    for (int u = v; u != start; u = cameFrom.value(u)) loop.insert(1, codes_[u]);
                    loop << codes_[start];
                    return loop;
                }
                if (cameFrom.contains(w)) continue;
                cameFrom.insert(w, v);
                queue.push_back(w);
            }
        }
        return {codes_[start]};  // not reached: every code of a group lies on a loop
    }

    QHash<QString, int> ids_;
    std::vector<QString> codes_;
    std::vector<std::vector<int>> down_;
    QSet<int> selfLoop_;
};

QSet<QString> codeSet(Database& db, const QString& sql)
{
    QSet<QString> codes;
    auto rs = db.openRecordset(sql, RecordsetType::Snapshot);
    const int rows = rs->recordCount();
    codes.reserve(rows);
    for (int r = 0; r < rows; ++r) codes.insert(rs->value(r, 0).toString());
    return codes;
}

}  // namespace

VerifyReport verifyStructures(Database& db)
{
    const QSet<QString> items = codeSet(db, QStringLiteral("select cInvCode from Inventory"));
    const QSet<QString> headers = codeSet(db, QStringLiteral("select cPSPCode from ProductStructure"));

    std::vector<Edge> edges;
    {
        auto rs = db.openRecordset(
            QStringLiteral("select cPSPCode, cPSCode from ProductStructures"), RecordsetType::Snapshot);
        const int rows = rs->recordCount();
        edges.reserve(rows);
        for (int r = 0; r < rows; ++r) edges.push_back({rs->value(r, 0).toString(), rs->value(r, 1).toString()});
    }
    // Sorted here, not by the database, so that both backends report in the same order.
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) {
        return a.parent != b.parent ? a.parent < b.parent : a.child < b.child;
    });

    VerifyReport report;
    for (const auto& [loop, size] : LoopFinder(edges).loops())
        report.lines << (size > loop.size() - 1 ? text::storedLoopGroup(loop, size) : text::storedLoop(loop));

    QSet<QString> withLines;
    for (const Edge& e : edges) {
        withLines.insert(e.parent);
        if (!headers.contains(e.parent)) report.lines << text::lineWithoutHeader(e.parent, e.child);
        if (!items.contains(e.parent)) report.lines << text::lineParentMissing(e.parent, e.child);
        if (!items.contains(e.child)) report.lines << text::lineChildMissing(e.parent, e.child);
    }

    QStringList empty;
    for (const QString& code : headers)
        if (!withLines.contains(code)) empty << code;
    empty.sort();
    for (const QString& code : empty) report.lines << text::structureWithoutLines(code);

    report.clean = report.lines.isEmpty();
    return report;
}

}  // namespace qx
