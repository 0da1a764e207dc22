#include "explorer/explorer_tree_model.h"

#include "texts/texts.h"
#include "platform/database.h"

#include <QBrush>
#include <QColor>

namespace qx::explorer {

struct ExplorerTreeModel::Node {
    Node* parent = nullptr;
    int row = 0;
    int level = 0;
    QString code;
    double quantity = 0;
    bool loop = false;
    bool hasSteps = false;
    bool fetched = false;
    CellRow cells;
    std::vector<std::unique_ptr<Node>> children;
};

ExplorerTreeModel::ExplorerTreeModel(Database& db, QObject* parent)
    : QAbstractItemModel(parent), db_(db), root_(std::make_unique<Node>())
{
}

ExplorerTreeModel::~ExplorerTreeModel() = default;

void ExplorerTreeModel::reset(const Report* report)
{
    beginResetModel();
    report_ = report;
    root_ = std::make_unique<Node>();
    if (report_) {
        root_->code = report_->top().code;
        root_->quantity = report_->direction() == Direction::Down ? report_->topQuantity() : 1.0;
        root_->hasSteps = true;
    }
    endResetModel();
}

ExplorerTreeModel::Node* ExplorerTreeModel::nodeOf(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : root_.get();
}

QModelIndex ExplorerTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    const Node* p = nodeOf(parent);
    if (row < 0 || row >= int(p->children.size()) || column < 0 || column >= columnCount()) return {};
    return createIndex(row, column, p->children[size_t(row)].get());
}

QModelIndex ExplorerTreeModel::parent(const QModelIndex& child) const
{
    const Node* n = nodeOf(child);
    if (!child.isValid() || !n->parent || n->parent == root_.get()) return {};
    return createIndex(n->parent->row, 0, n->parent);
}

int ExplorerTreeModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0) return 0;
    return int(nodeOf(parent)->children.size());
}

int ExplorerTreeModel::columnCount(const QModelIndex&) const
{
    return report_ ? int(report_->treeCaptions().size()) : 0;
}

QVariant ExplorerTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    const Node* n = nodeOf(index);
    const size_t c = size_t(index.column());
    if (c >= n->cells.size()) return {};
    const Cell& cell = n->cells[c];
    switch (role) {
        case Qt::DisplayRole:
            return cell.text;
        case Qt::TextAlignmentRole:
            // The level stands beside the tree's own indentation, so it keeps to the left.
            return int((cell.number && c != TreeLevel ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
        case Qt::ForegroundRole:
            // A loop and a cost without every price stand out.
            if (n->loop || n->cells.back().text == text::kNoPriceMark) return QBrush(QColor(Qt::red));
            return {};
        default:
            return {};
    }
}

QVariant ExplorerTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || !report_) return {};
    return report_->treeCaptions().value(section);
}

bool ExplorerTreeModel::hasChildren(const QModelIndex& parent) const
{
    const Node* n = nodeOf(parent);
    if (parent.column() > 0) return false;
    return n->fetched ? !n->children.empty() : (n->hasSteps && !n->loop && report_);
}

bool ExplorerTreeModel::canFetchMore(const QModelIndex& parent) const
{
    const Node* n = nodeOf(parent);
    return report_ && !n->fetched && n->hasSteps && !n->loop;
}

bool ExplorerTreeModel::onPath(const Node* from, const QString& code) const
{
    for (const Node* p = from; p; p = p->parent)
        if (p->code == code) return true;
    return false;
}

void ExplorerTreeModel::fetchMore(const QModelIndex& parent)
{
    Node* n = nodeOf(parent);
    if (!canFetchMore(parent)) return;
    n->fetched = true;
    std::vector<Step> steps;
    try {
        ++reads_;
        steps = readSteps(db_, n->code, report_->direction());
    } catch (const DbError&) {
        // A node that cannot be read now shows empty; refreshing reads it again.
    }
    if (steps.empty()) {
        // The node's lines went away meanwhile: it loses its expander.
        emit dataChanged(parent, parent);
        return;
    }
    beginInsertRows(parent, 0, int(steps.size()) - 1);
    for (size_t i = 0; i < steps.size(); ++i) {
        auto child = std::make_unique<Node>();
        child->parent = n;
        child->row = int(i);
        child->level = n->level + 1;
        child->code = steps[i].item.code;
        child->quantity = n->quantity * lineFactor(steps[i].line);
        child->loop = onPath(n, child->code);
        child->hasSteps = steps[i].hasSteps;
        child->cells = report_->nodeCells(child->level, steps[i].item, steps[i].line, child->quantity,
                                          child->loop, report_->unitCost(child->code),
                                          report_->incomplete(child->code));
        n->children.push_back(std::move(child));
    }
    endInsertRows();
}

const CellRow& ExplorerTreeModel::cells(const QModelIndex& index) const { return nodeOf(index)->cells; }

bool ExplorerTreeModel::isLoop(const QModelIndex& index) const { return nodeOf(index)->loop; }

int ExplorerTreeModel::level(const QModelIndex& index) const { return nodeOf(index)->level; }

}  // namespace qx::explorer
