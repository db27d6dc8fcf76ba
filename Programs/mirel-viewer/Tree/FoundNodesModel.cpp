#include <Programs/mirel-viewer/Tree/FoundNodesModel.h>

#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QStringList>

#include <utility>

namespace mirel {

void FoundNodesModel::SetNodes(std::vector<const SceneNode*> nodes) {
  beginResetModel();
  nodes_ = std::move(nodes);
  endResetModel();
}

const SceneNode* FoundNodesModel::GetNode(const QModelIndex& index) const {
  return index.isValid() ? nodes_[static_cast<std::size_t>(index.row())] : nullptr;
}

int FoundNodesModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(nodes_.size());
}

QVariant FoundNodesModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) {
    return QVariant();
  }
  const SceneNode& node = *GetNode(index);
  QStringList path;
  for (const SceneNode* above : node.GetPath()) {
    path.append(SceneTreeModel::GetTitle(*above));
  }
  if (role == Qt::ToolTipRole) {
    return path.join(" / ") + (node.GetUserId() == 0 ? QString() : tr("\nid %1").arg(node.GetUserId()));
  }
  const QString name = path.takeLast();
  return path.isEmpty() ? name : name + QString::fromUtf8("  —  ") + path.join(" / ");
}

}  // namespace mirel
