#pragma once

#include <QAbstractListModel>

#include <vector>

namespace mirel {

class SceneNode;

/// What a search found, one row for each node: its name, and where it is.
class FoundNodesModel : public QAbstractListModel {
  Q_OBJECT

 public:
  using QAbstractListModel::QAbstractListModel;

  void SetNodes(std::vector<const SceneNode*> nodes);
  const SceneNode* GetNode(const QModelIndex& index) const;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  std::vector<const SceneNode*> nodes_;
};

}  // namespace mirel
