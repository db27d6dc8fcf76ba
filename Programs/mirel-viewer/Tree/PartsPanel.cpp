#include <Programs/mirel-viewer/Tree/PartsPanel.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSaveFile>
#include <QTableWidget>
#include <QVBoxLayout>

namespace mirel {

PartsPanel::PartsPanel(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), parts_(std::make_unique<PartsList>(PartsList({}, {}))) {
  table_ = new QTableWidget(0, 2, this);
  table_->setObjectName("Parts");
  table_->setAccessibleName(tr("Parts and how many there are"));
  table_->setHorizontalHeaderLabels({tr("Part"), tr("Count")});
  table_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
  table_->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  table_->verticalHeader()->hide();
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  only_ = new QCheckBox(tr("Only what is selected"), this);
  only_->setObjectName("OnlySelected");
  sum_ = new QLabel(this);
  auto* const save = new QPushButton(tr("Save as CSV..."), this);
  auto* const copy = new QPushButton(tr("Copy"), this);
  copy->setObjectName("CopyParts");

  auto* const buttons = new QHBoxLayout;
  buttons->addWidget(sum_, 1);
  buttons->addWidget(save);
  buttons->addWidget(copy);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(only_);
  layout->addWidget(table_);
  layout->addLayout(buttons);

  connect(save, &QPushButton::clicked, this, [this] { SaveTable(); });
  connect(copy, &QPushButton::clicked, this, &PartsPanel::CopyTable);
  connect(table_, &QTableWidget::cellClicked, this, &PartsPanel::SelectRow);
  connect(&document_, &Document::RootRemoved, this, [this] {
    parts_ = std::make_unique<PartsList>(PartsList({}, {}));
    table_->setRowCount(0);
  });
  connect(only_, &QCheckBox::toggled, this, &PartsPanel::Count);
  connect(&document_, &Document::RootsChanged, this, [this] {
    if (isVisible()) {
      Count();
    }
  });
  connect(&document_, &Document::SelectionChanged, this, [this] {
    if (isVisible() && only_->isChecked() && !isSelecting_) {
      Count();
    }
  });
}

PartsPanel::~PartsPanel() = default;

void PartsPanel::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Count();
}

PartsList PartsPanel::MakeList() const {
  if (!only_->isChecked()) {
    return PartsList(document_.GetRoots(), {});
  }
  return document_.GetSelection().empty() ? PartsList({}, {})
                                          : PartsList(document_.GetRoots(), document_.GetSelection());
}

void PartsPanel::Count() {
  parts_ = std::make_unique<PartsList>(MakeList());
  table_->setRowCount(static_cast<int>(parts_->GetParts().size()));
  for (int row = 0; row < table_->rowCount(); ++row) {
    const PartsList::Part& part = parts_->GetParts()[static_cast<std::size_t>(row)];
    auto* const count = new QTableWidgetItem(QString::number(part.count));
    count->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    table_->setItem(row, 0, new QTableWidgetItem(part.name));
    table_->setItem(row, 1, count);
  }
  sum_->setText(tr("%1 different, %2 in all").arg(parts_->GetParts().size()).arg(parts_->GetCount()));
}

void PartsPanel::SelectRow(int row) {
  const PartsList::Part& part = parts_->GetParts()[static_cast<std::size_t>(row)];
  isSelecting_ = true;  // the list that is clicked on stays
  document_.Select(PartsList::FindEqual(document_.GetRoots(), *part.first), part.first);
  isSelecting_ = false;
}

void PartsPanel::CopyTable() {
  Count();
  QApplication::clipboard()->setText(parts_->MakeTable('\t'));
}

void PartsPanel::SaveTable() {
  const QString path =
      QFileDialog::getSaveFileName(this, tr("Save the parts list"), "parts.csv", tr("CSV (*.csv)"));
  QString reason;
  if (!path.isEmpty() && !SaveTable(path, reason)) {
    emit Told({path + ": " + reason});
  }
}

bool PartsPanel::SaveTable(const QString& path, QString& reason) const {
  const PartsList parts = MakeList();
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(parts.MakeTable(',').toUtf8()) < 0 || !file.commit()) {
    reason = file.errorString();
    return false;
  }
  return true;
}

}  // namespace mirel
