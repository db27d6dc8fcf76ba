#include <Programs/mirel-viewer/Tree/TreePanel.h>

#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Tree/FoundNodesModel.h>
#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace mirel {

namespace {

// More rows than that are not marked one by one; the picture shows them.
constexpr std::size_t kMaxMarked = 5000;

template <class View>
View* MakeView(QWidget* parent, const QString& name) {
  auto* const view = new View(parent);
  view->setSelectionMode(QAbstractItemView::ExtendedSelection);
  view->setEditTriggers(QAbstractItemView::NoEditTriggers);
  view->setContextMenuPolicy(Qt::CustomContextMenu);
  view->setMouseTracking(true);
  view->setAccessibleName(name);
  return view;
}

}  // namespace

TreePanel::TreePanel(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), search_(document) {
  tree_ = new SceneTreeModel(document, this);
  found_ = new FoundNodesModel(this);

  field_ = new QLineEdit(this);
  field_->setObjectName("SearchField");
  field_->setPlaceholderText(tr("Search names and ids"));
  field_->setAccessibleName(tr("Search"));
  field_->setClearButtonEnabled(true);
  field_->installEventFilter(this);
  count_ = new QLabel(this);
  count_->setObjectName("SearchCount");
  count_->hide();

  treeView_ = MakeView<QTreeView>(this, tr("Tree of the model"));
  treeView_->setObjectName("Tree");
  treeView_->setUniformRowHeights(true);
  treeView_->setHeaderHidden(true);
  treeView_->setModel(tree_);
  foundView_ = MakeView<QListView>(this, tr("What was found"));
  foundView_->setObjectName("Found");
  foundView_->setUniformItemSizes(true);
  foundView_->setModel(found_);
  stack_ = new QStackedWidget(this);
  stack_->addWidget(treeView_);
  stack_->addWidget(foundView_);

  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(field_);
  layout->addWidget(count_);
  layout->addWidget(stack_);

  connect(field_, &QLineEdit::textChanged, this, &TreePanel::Search);
  connect(&search_, &SceneSearch::Found, this, &TreePanel::ShowFound);
  connect(&document_, &Document::SelectionChanged, this, &TreePanel::TakeSelection);
  connect(&document_, &Document::StateChanged, treeView_, [this] { treeView_->viewport()->update(); });
  connect(&document_, &Document::RootRemoved, this, [this] { found_->SetNodes({}); });
  connect(&document_, &Document::RootsChanged, this, [this] {
    for (int row = 0; row < tree_->rowCount(); ++row) {
      QModelIndex top = tree_->index(row, 0);
      treeView_->expand(top);
      while (tree_->rowCount(top) == 1) {
        top = tree_->index(0, 0, top);
        treeView_->expand(top);
      }
    }
    Search(field_->text());
    TakeSelection();
  });
  for (QAbstractItemView* view :
       {static_cast<QAbstractItemView*>(treeView_), static_cast<QAbstractItemView*>(foundView_)}) {
    connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &TreePanel::GiveSelection);
    connect(view, &QAbstractItemView::entered, this, &TreePanel::HoverRow);
    connect(view, &QWidget::customContextMenuRequested, this,
            [this, view](const QPoint& point) { emit MenuWanted(view->viewport()->mapToGlobal(point)); });
    view->viewport()->installEventFilter(this);
  }
}

TreePanel::~TreePanel() = default;

void TreePanel::FocusSearch() {
  field_->setFocus(Qt::ShortcutFocusReason);
  field_->selectAll();
}

bool TreePanel::eventFilter(QObject* watched, QEvent* event) {
  if (watched == field_ && event->type() == QEvent::ShortcutOverride) {
    // Here Escape ends the search, and is no command.
    event->setAccepted(static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape);
    return event->isAccepted();
  }
  if (watched == field_ && event->type() == QEvent::KeyPress) {
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Escape:
      field_->clear();
      treeView_->setFocus();
      return true;
    case Qt::Key_Down:
    case Qt::Key_Return:
      if (stack_->currentWidget() == foundView_ && found_->rowCount() > 0) {
        foundView_->setFocus();
        foundView_->setCurrentIndex(found_->index(0));
        return true;
      }
      break;
    default:
      break;
    }
  } else if (event->type() == QEvent::Leave && watched != field_) {
    document_.SetHovered(nullptr);
  }
  return QWidget::eventFilter(watched, event);
}

void TreePanel::Search(const QString& text) {
  if (text.trimmed().isEmpty()) {
    search_.Stop();
    count_->hide();
    found_->SetNodes({});
    stack_->setCurrentWidget(treeView_);
    return;
  }
  search_.Start(text.trimmed());
}

void TreePanel::ShowFound(const SceneSearch::Result& result) {
  found_->SetNodes(result.nodes);
  const QString number = QLocale().toString(static_cast<qulonglong>(result.count));
  count_->setText(result.count > result.nodes.size()
                      ? tr("%1 found, the first %2 are listed").arg(number).arg(result.nodes.size())
                      : tr("%1 found").arg(number));
  count_->show();
  stack_->setCurrentWidget(foundView_);
}

void TreePanel::TakeSelection() {
  if (isGiving_) {
    return;
  }
  isTaking_ = true;
  treeView_->selectionModel()->clearSelection();
  if (document_.GetSelection().size() <= kMaxMarked) {
    QItemSelection marked;
    for (const SceneNode* node : document_.GetSelection()) {
      const QModelIndex index = tree_->FindIndex(node);
      marked.select(index, index);
    }
    treeView_->selectionModel()->select(marked, QItemSelectionModel::Select);
  }
  if (document_.GetCurrent() != nullptr) {
    const QModelIndex index = tree_->FindIndex(document_.GetCurrent());
    treeView_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    treeView_->scrollTo(index);
  }
  isTaking_ = false;
}

void TreePanel::GiveSelection() {
  if (isTaking_) {
    return;
  }
  isGiving_ = true;
  const bool isFound = stack_->currentWidget() == foundView_;
  const QItemSelectionModel* const selection =
      isFound ? foundView_->selectionModel() : treeView_->selectionModel();
  Document::Nodes nodes;
  for (const QModelIndex& index : selection->selectedIndexes()) {
    nodes.insert(isFound ? found_->GetNode(index) : tree_->GetNode(index));
  }
  const QModelIndex current = selection->currentIndex();
  document_.Select(std::move(nodes), isFound ? found_->GetNode(current) : tree_->GetNode(current));
  isGiving_ = false;
}

void TreePanel::HoverRow(const QModelIndex& index) {
  document_.SetHovered(stack_->currentWidget() == foundView_ ? found_->GetNode(index)
                                                             : tree_->GetNode(index));
}

}  // namespace mirel
