#include <Programs/mirel-viewer/Compare/ComparePanel.h>

#include <Programs/mirel-viewer/Compare/Comparison.h>
#include <Programs/mirel-viewer/Compare/DifferenceModel.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace mirel {

namespace {

QString FormatCount(std::uint64_t count) {
  return QLocale().toString(static_cast<qulonglong>(count));
}

}  // namespace

ComparePanel::ComparePanel(Comparison& comparison, QWidget* parent)
    : QWidget(parent), comparison_(comparison), model_(new DifferenceModel(comparison, this)) {
  summary_ = new QLabel(this);
  summary_->setObjectName("DifferenceSummary");
  summary_->setWordWrap(true);
  auto* const kinds = new QHBoxLayout;
  for (const ChangeKindName& name : kChangeKinds) {
    auto* const box = new QCheckBox(this);
    kinds_.at(static_cast<std::size_t>(name.kind)) = box;
    box->setObjectName(QString("Listed_") + name.key);
    kinds->addWidget(box);
    connect(box, &QCheckBox::toggled, this, [this, kind = name.kind](bool isListed) {
      if (!isShowing_) {
        comparison_.SetListed(kind, isListed);
      }
    });
  }
  kinds->addStretch(1);
  list_ = new QTreeView(this);
  list_->setObjectName("Differences");
  list_->setAccessibleName(tr("What is different between both versions"));
  list_->setModel(model_);
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setAllColumnsShowFocus(true);
  list_->setAlternatingRowColors(true);
  list_->header()->resizeSection(DifferenceModel::kKind, 150);
  list_->header()->resizeSection(DifferenceModel::kName, 190);
  list_->header()->resizeSection(DifferenceModel::kWhat, 360);
  details_ = new QLabel(this);
  details_->setObjectName("DifferenceDetails");
  details_->setTextFormat(Qt::PlainText);
  details_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  details_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  details_->setWordWrap(true);
  rest_ = new QComboBox(this);
  rest_->setObjectName("RestOfParts");
  rest_->setAccessibleName(tr("How equal parts are drawn"));
  rest_->addItems(
      {tr("The rest as glass"), tr("The rest hidden"), tr("The rest solid")});  // as `Rest` has them
  previous_ = new QPushButton(tr("Previous"), this);
  next_ = new QPushButton(tr("Next"), this);
  next_->setObjectName("NextDifferenceButton");

  auto* const foot = new QHBoxLayout;
  foot->addWidget(rest_);
  foot->addStretch(1);
  foot->addWidget(previous_);
  foot->addWidget(next_);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(summary_);
  layout->addLayout(kinds);
  layout->addWidget(list_, 1);
  layout->addWidget(details_);
  layout->addLayout(foot);

  connect(rest_, &QComboBox::currentIndexChanged, this,
          [this](int rest) { comparison_.SetRest(static_cast<Comparison::Rest>(rest)); });
  connect(previous_, &QPushButton::clicked, this, [this] { comparison_.Step(-1); });
  connect(next_, &QPushButton::clicked, this, [this] { comparison_.Step(1); });
  connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
          [this](const QModelIndex& row) {
            if (!isShowing_) {
              comparison_.SetCurrent(model_->GetDifference(row));
            }
          });
  connect(&comparison_, &Comparison::Changed, this, &ComparePanel::ShowComparison);
  connect(&comparison_, &Comparison::CurrentChanged, this, &ComparePanel::ShowCurrent);
  ShowComparison();
}

QString ComparePanel::MakeSummary() const {
  const QString versions = QFileInfo(comparison_.GetOlder()).fileName() + " \u2192 " +
                           QFileInfo(comparison_.GetNewer()).fileName();
  switch (comparison_.GetStage()) {
  case Comparison::Stage::kOff:
    return tr("File, Compare with... shows what is different between two versions of a model.");
  case Comparison::Stage::kOpening:
  case Comparison::Stage::kComparing:
    return tr("%1: comparing...").arg(versions);
  case Comparison::Stage::kShown:
    break;
  }
  const DifferenceReport& report = comparison_.GetReport();
  return (report.differences.empty() ? tr("%1: nothing is different; %2 parts before, %3 after, %4 equal")
                                     : tr("%1: %2 parts before, %3 after, %4 equal"))
      .arg(versions, FormatCount(report.oldParts), FormatCount(report.newParts),
           FormatCount(report.equalParts));
}

void ComparePanel::ShowComparison() {
  isShowing_ = true;
  summary_->setText(MakeSummary());
  std::array<std::uint64_t, std::size(kChangeKinds)> counts{};
  for (const Difference& difference : comparison_.GetReport().differences) {
    ++counts.at(static_cast<std::size_t>(difference.kind));
  }
  for (const ChangeKindName& name : kChangeKinds) {
    const auto kind = static_cast<std::size_t>(name.kind);
    kinds_.at(kind)->setText(QString::fromUtf8(name.text) + " " + FormatCount(counts.at(kind)));
    kinds_.at(kind)->setVisible(counts.at(kind) > 0);
    kinds_.at(kind)->setChecked(comparison_.IsListed(name.kind));
  }
  model_->Renew();
  previous_->setEnabled(model_->rowCount() > 0);
  next_->setEnabled(model_->rowCount() > 0);
  isShowing_ = false;
  ShowCurrent();
}

void ComparePanel::ShowCurrent() {
  const int current = comparison_.GetCurrent();
  const QModelIndex row = model_->FindIndex(current);
  isShowing_ = true;
  if (row.isValid()) {
    list_->selectionModel()->setCurrentIndex(row,
                                             QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    list_->scrollTo(row);
  } else {
    list_->selectionModel()->clear();
  }
  const QString text = current == Comparison::kNone ? QString() : comparison_.GetDifference(current).text;
  details_->setText(text);
  details_->setVisible(text.contains('\n'));  // of one line, the list says all
  isShowing_ = false;
}

}  // namespace mirel
