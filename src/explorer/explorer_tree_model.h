#pragma once

// The explorer's tree as a lazy item model: a node's lines are read from the company database
// when the node is first expanded, so that a structure of any size opens at once and a node
// shows what is stored when it is opened.

#include "explorer/explorer_report.h"

#include <QAbstractItemModel>

#include <memory>
#include <vector>

namespace qx::explorer {

class ExplorerTreeModel : public QAbstractItemModel {
    Q_OBJECT
public:
    ExplorerTreeModel(Database& db, QObject* parent = nullptr);
    ~ExplorerTreeModel() override;

    // Starts again from the report's item (nullptr: empty). The report gives the captions, the
    // quantity decimals and the rolled-up costs; it must outlive the model or the next reset.
    void reset(const Report* report);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

    const CellRow& cells(const QModelIndex& index) const;
    bool isLoop(const QModelIndex& index) const;
    int level(const QModelIndex& index) const;
    // Database reads made so far (one per node opened).
    int reads() const { return reads_; }

private:
    struct Node;
    Node* nodeOf(const QModelIndex& index) const;
    bool onPath(const Node* from, const QString& code) const;

    Database& db_;
    const Report* report_ = nullptr;
    std::unique_ptr<Node> root_;
    int reads_ = 0;
};

}  // namespace qx::explorer
