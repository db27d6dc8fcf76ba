#include <Programs/mirel-viewer/Measure/MeasurePanel.h>

#include <Programs/mirel-viewer/Measure/MeasureSession.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace mirel {

namespace {

constexpr const char* kUnitSetting = "measure/unit";
constexpr const char* kDensitySetting = "measure/density";
constexpr double kMaxDensity = 30.0;  // there is no heavier metal

QString MakeHint(const MeasureSession& session) {
  if (session.IsBusy()) {
    return MeasurePanel::tr("Measuring...");
  }
  switch (session.GetTool()) {
  case MeasureSession::Tool::kSize:
    return MeasurePanel::tr("Click a face, an edge or a vertex.");
  case MeasureSession::Tool::kDistance:
    return session.GetFirstPick() ? MeasurePanel::tr("Click the other one.")
                                  : MeasurePanel::tr("Click the first of two faces, edges or points.");
  case MeasureSession::Tool::kNone:
    break;
  }
  return MeasurePanel::tr("Choose what to measure in the menu Measure.");
}

}  // namespace

MeasurePanel::MeasurePanel(MeasureSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  hint_ = new QLabel(this);
  hint_->setWordWrap(true);
  list_ = new QTreeWidget(this);
  list_->setObjectName("Measures");
  list_->setAccessibleName(tr("Measured values"));
  list_->setColumnCount(2);
  list_->setHeaderHidden(true);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  unit_ = new QComboBox(this);
  unit_->setObjectName("MeasureUnit");
  for (const auto length : {MeasureUnit::Length::kMillimetre, MeasureUnit::Length::kCentimetre,
                            MeasureUnit::Length::kMetre, MeasureUnit::Length::kInch}) {
    unit_->addItem(QString::fromStdString(MeasureUnit(length).GetName()), static_cast<int>(length));
  }
  density_ = new QDoubleSpinBox(this);
  density_->setObjectName("Density");
  density_->setRange(0.0, kMaxDensity);
  density_->setSpecialValueText(tr("not known"));
  density_->setSuffix(" g/cm³");
  density_->setToolTip(tr("Steel 7.85, aluminium 2.70, ABS 1.05"));
  auto* const copy = new QPushButton(tr("Copy"), this);
  copy->setObjectName("CopyMeasures");
  auto* const remove = new QPushButton(tr("Remove"), this);
  auto* const clear = new QPushButton(tr("Remove all"), this);

  auto* const form = new QFormLayout;
  form->addRow(tr("Unit"), unit_);
  form->addRow(tr("Density"), density_);
  auto* const buttons = new QHBoxLayout;
  buttons->addWidget(copy);
  buttons->addWidget(remove);
  buttons->addWidget(clear);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(hint_);
  layout->addWidget(list_, 1);
  layout->addLayout(form);
  layout->addLayout(buttons);

  const QSettings settings;
  session_.SetDensity(settings.value(kDensitySetting, 0.0).toDouble());
  density_->setValue(session_.GetDensity());
  unit_->setCurrentIndex(unit_->findText(settings.value(kUnitSetting, "mm").toString()));
  session_.SetUnit(MeasureUnit(static_cast<MeasureUnit::Length>(unit_->currentData().toInt())));

  connect(&session_, &MeasureSession::Changed, this, &MeasurePanel::ShowResults);
  connect(unit_, &QComboBox::currentIndexChanged, this, [this] {
    QSettings().setValue(kUnitSetting, unit_->currentText());
    session_.SetUnit(MeasureUnit(static_cast<MeasureUnit::Length>(unit_->currentData().toInt())));
  });
  connect(density_, &QDoubleSpinBox::valueChanged, this, [this](double density) {
    QSettings().setValue(kDensitySetting, density);
    session_.SetDensity(density);
  });
  connect(copy, &QPushButton::clicked, this, &MeasurePanel::Copy);
  connect(clear, &QPushButton::clicked, &session_, &MeasureSession::Clear);
  connect(remove, &QPushButton::clicked, this, [this] {
    QTreeWidgetItem* item = list_->currentItem();
    if (item != nullptr && item->parent() != nullptr) {
      item = item->parent();
    }
    if (item != nullptr) {
      session_.Remove(static_cast<std::size_t>(list_->indexOfTopLevelItem(item)));
    }
  });
  ShowResults();
}

void MeasurePanel::ShowResults() {
  hint_->setText(MakeHint(session_));
  list_->clear();
  for (const MeasureResult& result : session_.GetResults()) {
    auto* const top = new QTreeWidgetItem(list_, {result.title});
    for (const MeasuredValue& value : result.values) {
      new QTreeWidgetItem(top, {value.name, value.Format(session_.GetUnit())});
    }
    const QString mass = result.FormatMass(session_.GetDensity());
    if (!mass.isEmpty()) {
      new QTreeWidgetItem(top, {tr("Mass"), mass});
    }
    top->setExpanded(true);
  }
  list_->scrollToBottom();
}

void MeasurePanel::Copy() const {
  QString text;
  const bool isAll = list_->selectedItems().isEmpty();
  for (int i = 0; i < list_->topLevelItemCount(); ++i) {
    QTreeWidgetItem* const item = list_->topLevelItem(i);
    bool isChosen = isAll || item->isSelected();
    for (int child = 0; child < item->childCount(); ++child) {
      isChosen = isChosen || item->child(child)->isSelected();
    }
    if (isChosen) {
      text += session_.GetResults()[static_cast<std::size_t>(i)].MakeText(session_.GetUnit(),
                                                                          session_.GetDensity());
    }
  }
  QApplication::clipboard()->setText(text);
}

}  // namespace mirel
