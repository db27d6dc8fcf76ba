#include <Programs/mirel-viewer/Compare/CompareDialog.h>

#include <Programs/mirel-viewer/Opening/FileKind.h>

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace mirel {

CompareDialog::CompareDialog(const QString& newer, QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Compare two versions"));
  setMinimumWidth(560);
  auto* const grid = new QGridLayout;
  older_ = AddRow(*grid, tr("&Older version"), "Older");
  newer_ = AddRow(*grid, tr("&Newer version"), "Newer");
  newer_->setText(newer);
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
  compare_ = buttons->addButton(tr("&Compare"), QDialogButtonBox::AcceptRole);
  compare_->setObjectName("CompareNow");
  compare_->setEnabled(false);
  QPushButton* const swap = buttons->addButton(tr("&Swap"), QDialogButtonBox::ActionRole);
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(grid);
  layout->addWidget(buttons);
  for (QLineEdit* field : {older_, newer_}) {
    connect(field, &QLineEdit::textChanged, this,
            [this] { compare_->setEnabled(!GetOlder().isEmpty() && !GetNewer().isEmpty()); });
  }
  connect(swap, &QPushButton::clicked, this, &CompareDialog::Swap);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

QLineEdit* CompareDialog::AddRow(QGridLayout& grid, const QString& title, const QString& name) {
  const int row = grid.rowCount();
  auto* const field = new QLineEdit(this);
  field->setObjectName(name);
  field->setClearButtonEnabled(true);
  auto* const label = new QLabel(title, this);
  label->setBuddy(field);
  auto* const file = new QPushButton(tr("File..."), this);
  auto* const folder = new QPushButton(tr("Folder..."), this);
  file->setAccessibleName(QString(title).remove('&') + ", " + tr("file"));
  folder->setAccessibleName(QString(title).remove('&') + ", " + tr("folder"));
  grid.addWidget(label, row, 0);
  grid.addWidget(field, row, 1);
  grid.addWidget(file, row, 2);
  grid.addWidget(folder, row, 3);
  const auto take = [field](const QString& path) {
    if (!path.isEmpty()) {
      field->setText(path);
    }
  };
  connect(file, &QPushButton::clicked, this, [this, field, take] {
    take(QFileDialog::getOpenFileName(this, tr("Compare"), field->text(), kModelFilter));
  });
  connect(folder, &QPushButton::clicked, this, [this, field, take] {
    take(QFileDialog::getExistingDirectory(this, tr("Compare"), field->text()));
  });
  return field;
}

void CompareDialog::Swap() {
  const QString older = older_->text();
  older_->setText(newer_->text());
  newer_->setText(older);
}

QString CompareDialog::GetOlder() const {
  return older_->text().trimmed();
}

QString CompareDialog::GetNewer() const {
  return newer_->text().trimmed();
}

}  // namespace mirel
