#include <Programs/mirel-viewer/Panels/CutPanel.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <glm/glm.hpp>

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QSlider>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace mirel {

namespace {

constexpr int kSteps = 1000;

// The part of the box, 0 to 1, that lies behind a plane, and back.
double GetLow(const AABoxT<double>& box, const glm::dvec3& normal) {
  double low = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    low += normal[axis] * (normal[axis] > 0 ? box.GetMin()[axis] : box.GetMax()[axis]);
  }
  return low;
}

double GetHigh(const AABoxT<double>& box, const glm::dvec3& normal) {
  return -GetLow(box, -normal);
}

AABoxT<double> GetBox(const Document& document) {
  const std::shared_ptr<const DrawScene>& scene = document.GetSnapshot().scene;
  AABoxT<double> box;
  if (scene && scene->GetBox().IsFinite()) {
    return scene->GetBox();
  }
  box.Extend(glm::dvec3(-1.0));
  box.Extend(glm::dvec3(1.0));
  return box;
}

}  // namespace

CutPanel::CutPanel(Document& document, QWidget* parent) : QWidget(parent), document_(document) {
  auto* const layout = new QVBoxLayout(this);
  auto* const sections = new QGroupBox(tr("Sections"), this);
  auto* const grid = new QGridLayout(sections);
  for (int i = 0; i < 3; ++i) {
    const Row row = rows_[static_cast<std::size_t>(i)] = MakeRow(i);
    grid->addWidget(row.on, i, 0);
    grid->addWidget(row.axis, i, 1);
    grid->addWidget(row.place, i, 2);
    grid->addWidget(row.flip, i, 3);
  }
  auto* const explode = new QGroupBox(tr("Explode"), this);
  explosion_ = new QSlider(Qt::Horizontal, explode);
  explosion_->setObjectName("Explosion");
  explosion_->setRange(0, kSteps);
  explosion_->setAccessibleName(tr("How far parts are apart"));
  auto* const explodeLayout = new QVBoxLayout(explode);
  explodeLayout->addWidget(explosion_);
  layout->addWidget(sections);
  layout->addWidget(explode);
  layout->addStretch(1);

  connect(explosion_, &QSlider::sliderPressed, this, [this] { ++drags_; });
  connect(explosion_, &QSlider::valueChanged, this, [this](int value) {
    if (!isShowing_) {
      document_.ChangeState(
          tr("explode"), [value](ViewState& state) { state.explosion = static_cast<double>(value) / kSteps; },
          drags_);
    }
  });
  connect(&document_, &Document::StateChanged, this, &CutPanel::ShowState);
  connect(&document_, &Document::SnapshotChanged, this, &CutPanel::ShowState);
  ShowState();
}

CutPanel::Row CutPanel::MakeRow(int number) {
  Row row;
  const QString name = tr("Section %1").arg(number + 1);
  row.on = new QCheckBox(QString::number(number + 1), this);
  row.on->setAccessibleName(name);
  row.on->setObjectName("SectionOn" + QString::number(number + 1));
  row.axis = new QComboBox(this);
  row.axis->addItems({"X", "Y", "Z"});
  row.axis->setCurrentIndex(number);
  row.axis->setAccessibleName(name + ", " + tr("axis"));
  row.place = new QSlider(Qt::Horizontal, this);
  row.place->setObjectName("SectionPlace" + QString::number(number + 1));
  row.place->setRange(0, kSteps);
  row.place->setValue(kSteps / 2);
  row.place->setAccessibleName(name + ", " + tr("place"));
  row.flip = new QToolButton(this);
  row.flip->setText(tr("Flip"));
  row.flip->setCheckable(true);
  row.flip->setAccessibleName(name + ", " + tr("other side"));
  connect(row.on, &QCheckBox::toggled, this, [this, number] { GiveSections(number); });
  connect(row.axis, &QComboBox::currentIndexChanged, this, [this, number] { GiveSections(number); });
  connect(row.place, &QSlider::sliderPressed, this, [this] { ++drags_; });
  connect(row.place, &QSlider::valueChanged, this, [this, number] { GiveSections(number); });
  connect(row.flip, &QToolButton::toggled, this, [this, number] { GiveSections(number); });
  return row;
}

void CutPanel::GiveSections(int changed) {
  if (isShowing_) {
    return;
  }
  const AABoxT<double> box = GetBox(document_);
  std::vector<SectionPlane> planes;
  for (const Row& row : rows_) {
    if (!row.on->isChecked()) {
      continue;
    }
    SectionPlane plane;
    plane.normal = glm::dvec3(0.0);
    plane.normal[row.axis->currentIndex()] = row.flip->isChecked() ? -1.0 : 1.0;
    const double low = GetLow(box, plane.normal), high = GetHigh(box, plane.normal);
    const double part = static_cast<double>(row.place->value()) / kSteps;
    plane.offset = low + (high - low) * (row.flip->isChecked() ? 1.0 - part : part);
    planes.push_back(plane);
  }
  const bool isDrag = rows_[static_cast<std::size_t>(changed)].place->isSliderDown();
  document_.ChangeState(
      tr("section"), [&](ViewState& state) { state.sections = planes; }, isDrag ? drags_ : ++drags_);
}

// A plane that was dragged in the picture moves its slider; rows whose axis it is not stay as they are.
void CutPanel::ShowState() {
  isShowing_ = true;
  const AABoxT<double> box = GetBox(document_);
  const std::vector<SectionPlane>& planes = document_.GetState().sections;
  std::size_t next = 0;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    const Row& row = rows_[i];
    const bool fillsUp = rows_.size() - i <= planes.size() - next;
    const bool isOn = next < planes.size() && (row.on->isChecked() || fillsUp);
    row.on->setChecked(isOn);
    if (!isOn) {
      continue;
    }
    const SectionPlane& plane = planes[next++];
    int axis = 0;
    for (int other = 1; other < 3; ++other) {
      axis = std::abs(plane.normal[other]) > std::abs(plane.normal[axis]) ? other : axis;
    }
    const double low = GetLow(box, plane.normal), high = GetHigh(box, plane.normal);
    const bool isFlipped = plane.normal[axis] < 0;
    double part = high > low ? (plane.offset - low) / (high - low) : 0.5;
    part = isFlipped ? 1.0 - part : part;
    row.axis->setCurrentIndex(axis);
    row.flip->setChecked(isFlipped);
    if (!row.place->isSliderDown()) {
      row.place->setValue(static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * kSteps)));
    }
  }
  if (!explosion_->isSliderDown()) {
    explosion_->setValue(static_cast<int>(std::lround(document_.GetState().explosion * kSteps)));
  }
  isShowing_ = false;
}

}  // namespace mirel
