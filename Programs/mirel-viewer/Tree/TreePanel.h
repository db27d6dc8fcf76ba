#pragma once

#include <Programs/mirel-viewer/Tree/SceneSearch.h>

#include <QWidget>

class QLabel;
class QLineEdit;
class QListView;
class QStackedWidget;
class QTreeView;

namespace mirel {

class Document;
class FoundNodesModel;
class SceneTreeModel;

/// The tree of a document with a field to search in it. What is selected here is selected in the picture, and the other way
/// round; what the mouse is over lights up there.
class TreePanel : public QWidget {
  Q_OBJECT

 public:
  explicit TreePanel(Document& document, QWidget* parent = nullptr);
  ~TreePanel() override;

  void FocusSearch();

 signals:
  void MenuWanted(const QPoint& globalPoint);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Search(const QString& text);
  void ShowFound(const SceneSearch::Result& result);
  void TakeSelection();
  void GiveSelection();
  void HoverRow(const QModelIndex& index);

  Document& document_;
  SceneSearch search_;
  SceneTreeModel* tree_;
  FoundNodesModel* found_;
  QLineEdit* field_;
  QLabel* count_;
  QStackedWidget* stack_;
  QTreeView* treeView_;
  QListView* foundView_;
  bool isGiving_ = false;
  bool isTaking_ = false;
};

}  // namespace mirel
