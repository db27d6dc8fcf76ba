#pragma once

#include <QAbstractItemModel>
#include <QIcon>

#include <memory>
#include <vector>

namespace mirel {

class Document;
class SceneNode;

/// The nodes of a document's scene as Qt's views want them. Rows are made when a group is first opened, so that nothing
/// depends on the size of the scene.
class SceneTreeModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  explicit SceneTreeModel(Document& document, QObject* parent = nullptr);
  ~SceneTreeModel() override;

  QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  /// Null for an invalid index.
  const SceneNode* GetNode(const QModelIndex& index) const;
  /// Invalid for a node that is not in the scene.
  QModelIndex FindIndex(const SceneNode* node) const;

  /// What a node is called here: its name, or in its place what it is.
  static QString GetTitle(const SceneNode& node);

 private:
  struct Row;

  // Without the roots while one of them goes.
  void Reset(bool hasRoots);
  Row& GetRow(const QModelIndex& index) const;
  // The rows of a group, which are made now if they are not there yet.
  std::vector<Row>& Open(Row& row) const;

  Document& document_;
  const QIcon fileIcon_, groupIcon_, bodyIcon_;
  std::unique_ptr<Row> root_;
};

}  // namespace mirel
