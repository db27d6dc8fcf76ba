#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QApplication>
#include <QBrush>
#include <QFont>
#include <QPalette>
#include <QStyle>

namespace mirel {

struct SceneTreeModel::Row {
  const SceneNode* node = nullptr;
  Row* parent = nullptr;
  int number = 0;
  bool isOpen = false;
  std::vector<Row> rows;  // never grows once made, so that pointers to its elements hold
};

SceneTreeModel::SceneTreeModel(Document& document, QObject* parent)
    : QAbstractItemModel(parent),
      document_(document),
      fileIcon_(QApplication::style()->standardIcon(QStyle::SP_DriveHDIcon)),
      groupIcon_(QApplication::style()->standardIcon(QStyle::SP_DirIcon)),
      bodyIcon_(QApplication::style()->standardIcon(QStyle::SP_FileIcon)) {
  Reset(true);
  connect(&document_, &Document::RootRemoved, this, [this] { Reset(false); });
  connect(&document_, &Document::RootsChanged, this, [this] { Reset(true); });
}

SceneTreeModel::~SceneTreeModel() = default;

void SceneTreeModel::Reset(bool hasRoots) {
  beginResetModel();
  root_ = std::make_unique<Row>();
  root_->isOpen = !hasRoots;
  endResetModel();
}

SceneTreeModel::Row& SceneTreeModel::GetRow(const QModelIndex& index) const {
  return index.isValid() ? *static_cast<Row*>(index.internalPointer()) : *root_;
}

std::vector<SceneTreeModel::Row>& SceneTreeModel::Open(Row& row) const {
  if (!row.isOpen) {
    row.isOpen = true;
    const std::vector<std::shared_ptr<SceneNode>>& nodes =
        row.node == nullptr ? document_.GetRoots() : row.node->GetNodes();
    row.rows.resize(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      row.rows[i].node = nodes[i].get();
      row.rows[i].parent = &row;
      row.rows[i].number = static_cast<int>(i);
    }
  }
  return row.rows;
}

QModelIndex SceneTreeModel::index(int row, int column, const QModelIndex& parent) const {
  if (column != 0 || row < 0 || row >= rowCount(parent)) {
    return QModelIndex();
  }
  return createIndex(row, 0, &Open(GetRow(parent))[static_cast<std::size_t>(row)]);
}

QModelIndex SceneTreeModel::parent(const QModelIndex& child) const {
  if (!child.isValid()) {
    return QModelIndex();
  }
  Row* const above = GetRow(child).parent;
  return above == root_.get() ? QModelIndex() : createIndex(above->number, 0, above);
}

int SceneTreeModel::rowCount(const QModelIndex& parent) const {
  Row& row = GetRow(parent);
  return static_cast<int>(row.node == nullptr ? Open(row).size() : row.node->GetNodes().size());
}

int SceneTreeModel::columnCount(const QModelIndex&) const {
  return 1;
}

bool SceneTreeModel::hasChildren(const QModelIndex& parent) const {
  return rowCount(parent) > 0;
}

QString SceneTreeModel::GetTitle(const SceneNode& node) {
  if (!node.GetName().empty()) {
    return QString::fromStdString(node.GetName());
  }
  const QString kind = node.GetKind() == SceneNodeKind::kBrep ? tr("body") : tr("group");
  return node.GetUserId() == 0 ? kind : kind + " " + QString::number(node.GetUserId());
}

QVariant SceneTreeModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) {
    return QVariant();
  }
  const SceneNode& node = *GetRow(index).node;
  switch (role) {
  case Qt::DisplayRole:
    return GetTitle(node);
  case Qt::ToolTipRole:
    return GetTitle(node) + (node.GetUserId() == 0 ? QString() : tr("\nid %1").arg(node.GetUserId()));
  case Qt::DecorationRole:
    return node.GetParent() == nullptr               ? fileIcon_
           : node.GetKind() == SceneNodeKind::kGroup ? groupIcon_
                                                     : bodyIcon_;
  case Qt::ForegroundRole:
    return document_.IsHidden(node)
               ? QVariant(QApplication::palette().brush(QPalette::Disabled, QPalette::Text))
               : QVariant();
  case Qt::FontRole:
    if (document_.IsGhost(node)) {
      QFont font;
      font.setItalic(true);
      return font;
    }
    return QVariant();
  default:
    return QVariant();
  }
}

Qt::ItemFlags SceneTreeModel::flags(const QModelIndex& index) const {
  return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

const SceneNode* SceneTreeModel::GetNode(const QModelIndex& index) const {
  return GetRow(index).node;
}

QModelIndex SceneTreeModel::FindIndex(const SceneNode* node) const {
  Row* row = root_.get();
  for (const SceneNode* step : node->GetPath()) {
    Row* next = nullptr;
    for (Row& child : Open(*row)) {
      if (child.node == step) {
        next = &child;
        break;
      }
    }
    if (next == nullptr) {
      return QModelIndex();
    }
    row = next;
  }
  return createIndex(row->number, 0, row);
}

}  // namespace mirel
