#include "data/verify.h"

#include "data/code_graph.h"
#include "texts/texts.h"
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

// Every stored loop, one per group of codes that reach each other. Groups of one code count only
// when the code holds itself as a line.
class LoopFinder {
public:
    explicit LoopFinder(const std::vector<Edge>& edges)
    {
        for (const Edge& e : edges) graph_.addEdge(e.parent, e.child);
    }

    // Each loop spelled from the smallest code of its group back to that code, groups in order
    // of that code.
    std::vector<std::pair<QStringList, qsizetype>> loops()
    {
        std::vector<std::pair<QStringList, qsizetype>> result;
        for (const std::vector<int>& group : graph_.components()) {
            if (group.size() == 1 && !graph_.holdsItself(group.front())) continue;
            result.emplace_back(loopThrough(group), static_cast<qsizetype>(group.size()));
        }
        std::sort(result.begin(), result.end(),
                  [](const auto& a, const auto& b) { return a.first.front() < b.first.front(); });
        return result;
    }

private:
    // A shortest loop through the group's smallest code, found breadth first inside the group.
    QStringList loopThrough(const std::vector<int>& group) const
    {
        const int start = *std::min_element(group.begin(), group.end(), [this](int a, int b) {
            return graph_.code(a) < graph_.code(b);
        });
        if (graph_.holdsItself(start)) return {graph_.code(start), graph_.code(start)};
        const QSet<int> members(group.begin(), group.end());
        QHash<int, int> cameFrom;
        std::vector<int> queue{start};
        for (size_t head = 0; head < queue.size(); ++head) {
            const int v = queue[head];
            for (int w : graph_.children(v)) {
                if (!members.contains(w)) continue;
                if (w == start) {
                    QStringList loop{graph_.code(start)};
                    for (int u = v; u != start; u = cameFrom.value(u)) loop.insert(1, graph_.code(u));
                    loop << graph_.code(start);
                    return loop;
                }
                if (cameFrom.contains(w)) continue;
                cameFrom.insert(w, v);
                queue.push_back(w);
            }
        }
        return {graph_.code(start)};  // not reached: every code of a group lies on a loop
    }

    CodeGraph graph_;
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
