#include <Programs/mirel-viewer/View/ModelView.h>

#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/View/SectionHandles.h>
#include <Programs/mirel-viewer/View/ViewCube.h>

#include <Viewer/Draw/Explosion.h>
#include <Viewer/Draw/Selection.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>

#include <glm/glm.hpp>

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QOpenGLContext>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace mirel {

namespace {

constexpr double kTurnPerPixel = 0.0087;  // half a degree
constexpr double kZoomPerPixel = 1.006, kZoomPerStep = 1.2;
constexpr double kKeyTurn = 0.2618;  // 15 degrees
constexpr double kKeyPan = 0.1;
constexpr double kClickPixels = 4.0;
constexpr int kSamples = 9;
constexpr std::size_t kUploadBytes = 16u << 20;  // a frame, so that most models are there with the first one

}  // namespace

ModelView::ModelView(Document& document, QWidget* parent) : QOpenGLWidget(parent), document_(document) {
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleName(tr("Model"));
  setAccessibleDescription(
      tr("The picture of the model. Arrow keys turn it, with Shift they move it, plus and minus zoom."));
  setMinimumSize(200, 150);
  camera_.SetView(Camera::View::kIso);
  connect(&document_, &Document::SnapshotChanged, this, &ModelView::TakeSnapshot);
  connect(&document_, &Document::SelectionChanged, this, &ModelView::TakeSelection);
  connect(&document_, &Document::HoverChanged, this, &ModelView::TakeHover);
  connect(&document_, &Document::StateChanged, this, &ModelView::TakeExplosion);
  connect(&document_, &Document::DisplayChanged, this, [this] { update(); });
  connect(this, &QOpenGLWidget::frameSwapped, this, &ModelView::TakeSwap);
}

ModelView::~ModelView() {
  if (context() != nullptr) {
    disconnect(context(), nullptr, this, nullptr);
    makeCurrent();
    renderer_.Release();
    doneCurrent();
  }
}

glm::dvec2 ModelView::GetSize() const {
  return {std::max(1, width()), std::max(1, height())};
}

double ModelView::GetAspect() const {
  return GetSize().x / GetSize().y;
}

void ModelView::SetCamera(const Camera& camera) {
  camera_ = camera;
  hasFitted_ = true;
  update();
  emit CameraChanged();
}

void ModelView::FitAll() {
  if (scene_ && scene_->GetPlacementCount() > 0) {
    const double explosion = document_.GetState().explosion;
    explosion > 0.0 ? camera_.Fit(*scene_->Move(Explosion(*scene_).GetOffsets(), explosion), GetAspect())
                    : camera_.Fit(*scene_, GetAspect());
  }
  update();
  emit CameraChanged();
}

void ModelView::FitSelection() {
  const std::vector<std::uint32_t> placements =
      document_.GetSnapshot().FindPlacements(document_.GetSelection());
  if (placements.empty()) {
    FitAll();
    return;
  }
  camera_.Fit(*document_.GetSnapshot().scene, placements, GetAspect());
  update();
  emit CameraChanged();
}

void ModelView::Fit(const AABoxT<double>& box, double factor) {
  if (!box.IsFinite()) {
    return;
  }
  const glm::dvec3 middle = (box.GetMin() + box.GetMax()) * 0.5;
  const glm::dvec3 half = (box.GetMax() - box.GetMin()) * (0.5 * factor);
  const std::array<glm::dvec3, 8> corners = GetBoxCorners(AABoxT<double>(middle - half, middle + half));
  camera_.Fit({corners.begin(), corners.end()}, GetAspect());
  update();
  emit CameraChanged();
}

void ModelView::LookFrom(Camera::View view) {
  camera_.SetView(view);
  FitAll();
}

void ModelView::LookFrom(const glm::dvec3& direction, const glm::dvec3& up) {
  camera_.SetDirection(direction, up);
  FitAll();
}

void ModelView::SetProjection(Camera::Projection projection) {
  camera_.SetProjection(projection);
  update();
  emit CameraChanged();
}

void ModelView::TakeSnapshot() {
  const std::shared_ptr<const DrawScene>& scene = document_.GetSnapshot().scene;
  if (scene == scene_) {
    return;  // the ray caster alone is new
  }
  scene_ = scene;
  isComplete_ = isRefined_ = isShown_ = false;
  renderer_.SetScene(scene_);
  hasOffsets_ = false;
  TakeExplosion();
  if (!scene_ || scene_->GetNodes().empty()) {
    hasFitted_ = false;
  } else if (!hasFitted_ && scene_->GetPlacementCount() > 0) {
    hasFitted_ = true;
    FitAll();
  }
  TakeSelection();
  TakeHover();
}

// Offsets are found once a scene is taken apart, and then the slider moves one number.
void ModelView::TakeExplosion() {
  if (!hasOffsets_ && scene_ && document_.GetState().explosion > 0.0) {
    hasOffsets_ = true;
    renderer_.SetOffsets(Explosion(*scene_).GetOffsets());
  }
  update();
}

void ModelView::TakeSelection() {
  Selection selection;
  for (const std::uint32_t placement : document_.GetSnapshot().FindPlacements(document_.GetSelection())) {
    selection.Add(placement);
  }
  renderer_.SetSelection(selection);
  update();
}

void ModelView::TakeHover() {
  Selection hover;
  if (document_.GetHovered() != nullptr) {
    for (const std::uint32_t placement : document_.GetSnapshot().FindPlacements({document_.GetHovered()})) {
      hover.Add(placement);
    }
  }
  renderer_.SetHover(hover);
  update();
}

void ModelView::initializeGL() {
  const std::string obstacle = GLRenderer::FindObstacle();
  isBroken_ = !obstacle.empty();
  if (isBroken_) {
    emit Broken(QString::fromStdString(obstacle));
  }
  connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] {
    makeCurrent();
    renderer_.Release();
    doneCurrent();
  });
}

void ModelView::paintGL() {
  QElapsedTimer timer;
  timer.start();
  if (!isBroken_) {
    const double ratio = devicePixelRatioF();
    GLViewOptions options;
    options.width = static_cast<int>(std::lround(width() * ratio));
    options.height = static_cast<int>(std::lround(height() * ratio));
    options.samples = kSamples;
    options.uploadBytes = kUploadBytes;
    options.samplesAtOnce = isComplete_ && !isShown_ ? 0 : 1;  // nobody has seen the first one yet
    options.edges = document_.GetDisplay().edges;
    options.sections = document_.GetState().sections;
    options.offsetFactor = static_cast<float>(document_.GetState().explosion);
    try {
      const GLRenderer::Progress progress = renderer_.Draw(camera_, options);
      goesOn_ = !progress.isUploaded || !progress.isRefined;
      isComplete_ = progress.isUploaded && scene_;
      isRefined_ = isComplete_ && progress.isRefined;
    } catch (const GLError& failure) {
      isBroken_ = true;
      emit Broken(QString::fromUtf8(failure.what()));
    }
  }
  PaintOverlays();
  frameTime_ = static_cast<double>(timer.nsecsElapsed()) * 1e-6;
  ++frameCount_;
}

// What was drawn is in the window: more is drawn from here on, so that nothing is drawn that nobody sees.
void ModelView::TakeSwap() {
  if (isComplete_ && !std::exchange(isShown_, true)) {
    document_.MakeCaster();
    emit Completed();
  }
  if (std::exchange(goesOn_, false)) {
    update();
  }
}

void ModelView::PaintOverlays() {
  QPainter painter(this);
  const std::vector<SectionPlane>& sections = document_.GetState().sections;
  if (!sections.empty() && scene_ && scene_->GetBox().IsFinite()) {
    SectionHandles(sections, scene_->GetBox(), camera_, GetSize()).Draw(painter, litSection_);
  }
  for (const Overlay& overlay : overlays_) {
    overlay(painter);
  }
  ViewCube::Draw(painter, ViewCube::GetPlace(size()), camera_, litCube_);
  if (dragging_ == Dragging::kScheme && action_ == MouseScheme::Action::kRectangle) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1.0));
    QColor fill = palette().color(QPalette::Highlight);
    fill.setAlpha(40);
    painter.setBrush(fill);
    painter.drawRect(QRectF(pressed_, last_).normalized());
  }
}

PickResult ModelView::Pick(const QPointF& point, double tolerance) {
  const Snapshot& snapshot = document_.GetSnapshot();
  if (snapshot.caster && document_.GetState().explosion == 0.0) {
    return Picker(snapshot.caster, camera_, GetSize(), document_.GetState().sections)
        .Pick({point.x(), point.y()}, tolerance);
  }
  PickResult result;
  if (isBroken_ || !scene_ || context() == nullptr) {
    return result;
  }
  makeCurrent();
  const double ratio = devicePixelRatioF();
  const GLRenderer::Seen seen =
      renderer_.Pick(static_cast<int>(point.x() * ratio), static_cast<int>(point.y() * ratio));
  doneCurrent();
  if (seen.IsHit()) {
    result.kind = PickResult::Kind::kFace;
    result.hit.placement = seen.entry.placement;
    result.hit.face = seen.entry.face;
    result.point = seen.point;
  }
  return result;
}

const SceneNode* ModelView::FindNode(const QPointF& point) {
  const PickResult result = Pick(point);
  return result.kind == PickResult::Kind::kNothing ? nullptr
                                                   : document_.GetSnapshot().GetNode(result.hit.placement);
}

std::optional<QPointF> ModelView::Project(const glm::dvec3& point) const {
  const glm::dvec3 seen = camera_.Project(point, GetSize());
  if (camera_.GetProjection() == Camera::Projection::kPerspective && seen.z <= 0.0) {
    return std::nullopt;
  }
  return QPointF(seen.x, seen.y);
}

// What is under the mouse; beside the model, what lies at the distance of its middle.
glm::dvec3 ModelView::FindPivot(const QPointF& point) {
  const PickResult result = Pick(point);
  if (result.kind != PickResult::Kind::kNothing) {
    return result.point;
  }
  const glm::dvec3 middle = scene_ && scene_->GetBox().IsFinite()
                                ? (scene_->GetBox().GetMin() + scene_->GetBox().GetMax()) * 0.5
                                : camera_.GetTarget();
  return middle;
}

void ModelView::MoveCamera(MouseScheme::Action action, const QPointF& by, const QPointF& at) {
  switch (action) {
  case MouseScheme::Action::kOrbit:
    camera_.Orbit(-by.x() * kTurnPerPixel, by.y() * kTurnPerPixel, pivot_);
    break;
  case MouseScheme::Action::kPan: {
    // What was taken hold of stays under the mouse.
    const double depth = camera_.Project(pivot_, GetSize()).z;
    const double pixel = camera_.GetPixelSize(std::max(depth, 1e-9), GetSize());
    camera_.Pan(-by.x() * pixel / camera_.GetHeight(), by.y() * pixel / camera_.GetHeight());
    break;
  }
  case MouseScheme::Action::kZoom:
    pivot_ = FindPivot(at);
    camera_.Zoom(std::pow(kZoomPerPixel, -by.y()), pivot_);
    break;
  case MouseScheme::Action::kRectangle:
  case MouseScheme::Action::kNone:
    break;
  }
  update();
  emit CameraChanged();
}

void ModelView::mousePressEvent(QMouseEvent* event) {
  pressed_ = last_ = event->position();
  dragging_ = Dragging::kPressed;
  action_ = scheme_.FindDrag(event->button(), event->modifiers());
  section_ = -1;
  if (event->button() == Qt::LeftButton) {
    if (const auto direction = ViewCube::Find(pressed_, ViewCube::GetPlace(size()), camera_)) {
      dragging_ = Dragging::kNothing;
      const bool isUpright =
          std::abs(direction->z) > 0.5 && std::abs(direction->x) + std::abs(direction->y) < 0.5;
      LookFrom(*direction, isUpright ? glm::dvec3(0, direction->z, 0) : glm::dvec3(0, 0, 1));
      return;
    }
    section_ = litSection_;
    if (section_ >= 0) {
      dragging_ = Dragging::kSection;
      ++sectionDrags_;
      return;
    }
  }
  if (action_ != MouseScheme::Action::kRectangle && action_ != MouseScheme::Action::kNone) {
    pivot_ = FindPivot(pressed_);
  }
}

void ModelView::mouseMoveEvent(QMouseEvent* event) {
  const QPointF point = event->position();
  if (dragging_ == Dragging::kNothing || event->buttons() == Qt::NoButton) {
    Hover(point);
    return;
  }
  if (dragging_ == Dragging::kPressed && QLineF(pressed_, point).length() >= kClickPixels) {
    dragging_ = Dragging::kScheme;
  }
  if (dragging_ == Dragging::kScheme) {
    MoveCamera(action_, point - last_, pressed_);
    last_ = point;
  } else if (dragging_ == Dragging::kSection) {
    DragSection(point);
    last_ = point;
  }
}

void ModelView::mouseReleaseEvent(QMouseEvent* event) {
  const Dragging was = dragging_;
  dragging_ = Dragging::kNothing;
  if (was == Dragging::kPressed && event->button() == Qt::LeftButton) {
    Click(event->position(), event->modifiers());
  } else if (was == Dragging::kPressed && event->button() == Qt::RightButton) {
    const SceneNode* const node = FindNode(event->position());
    if (node != nullptr && document_.GetSelection().count(node) == 0) {
      document_.Select({node}, node);
    }
    emit MenuWanted(event->globalPosition().toPoint());
  } else if (was == Dragging::kScheme && action_ == MouseScheme::Action::kRectangle) {
    SelectRectangle(QRectF(pressed_, last_), event->modifiers());
  }
  update();
}

void ModelView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && FindNode(event->position()) != nullptr) {
    FitSelection();
  }
}

void ModelView::Hover(const QPointF& point) {
  const auto cube = ViewCube::Find(point, ViewCube::GetPlace(size()), camera_);
  const std::vector<SectionPlane>& sections = document_.GetState().sections;
  const int section = cube || sections.empty() || !scene_ || !scene_->GetBox().IsFinite()
                          ? -1
                          : SectionHandles(sections, scene_->GetBox(), camera_, GetSize()).Find(point);
  if (cube != litCube_ || section != litSection_) {
    litCube_ = cube;
    litSection_ = section;
    update();
  }
  setCursor(section >= 0 ? Qt::SizeAllCursor : cube ? Qt::PointingHandCursor : Qt::ArrowCursor);
  document_.SetHovered(cube || section >= 0 ? nullptr : FindNode(point));
  if (hoverListener_) {
    hoverListener_(point);
  }
}

void ModelView::leaveEvent(QEvent* event) {
  QOpenGLWidget::leaveEvent(event);
  document_.SetHovered(nullptr);
  litCube_.reset();
  litSection_ = -1;
  update();
}

void ModelView::Click(const QPointF& point, Qt::KeyboardModifiers modifiers) {
  if (clickFilter_ && clickFilter_(point, modifiers)) {
    return;
  }
  const SceneNode* const node = FindNode(point);
  const bool isAdding = (modifiers & (Qt::ControlModifier | Qt::ShiftModifier)) != 0;
  if (node == nullptr) {
    if (!isAdding) {
      document_.Select({});
    }
  } else if (isAdding) {
    document_.ToggleSelected(node);
  } else {
    document_.Select({node}, node);
  }
}

// From left to right, what lies inside; from right to left, what is touched.
void ModelView::SelectRectangle(const QRectF& rectangle, Qt::KeyboardModifiers modifiers) {
  const Snapshot& snapshot = document_.GetSnapshot();
  if (!snapshot.caster) {
    return;
  }
  const Picker picker(snapshot.caster, camera_, GetSize(), document_.GetState().sections);
  const QPointF from = rectangle.topLeft(), to = rectangle.bottomRight();
  const Picker::Reach reach = to.x() >= from.x() ? Picker::Reach::kInside : Picker::Reach::kTouching;
  Document::Nodes nodes;
  if (modifiers.testFlag(Qt::ShiftModifier)) {
    nodes = document_.GetSelection();
  }
  for (const std::uint32_t placement : picker.PickRectangle({from.x(), from.y()}, {to.x(), to.y()}, reach)) {
    nodes.insert(snapshot.GetNode(placement));
  }
  document_.Select(std::move(nodes));
}

void ModelView::DragSection(const QPointF& to) {
  const std::vector<SectionPlane>& sections = document_.GetState().sections;
  const auto offset =
      SectionHandles(sections, scene_->GetBox(), camera_, GetSize()).Drag(section_, last_, to);
  if (offset) {
    document_.ChangeState(
        tr("move section"),
        [&](ViewState& state) { state.sections[static_cast<std::size_t>(section_)].offset = *offset; },
        sectionDrags_);
  }
}

void ModelView::wheelEvent(QWheelEvent* event) {
  const MouseScheme::Action action = scheme_.FindScroll(event->modifiers(), event->hasPixelDelta());
  pivot_ = FindPivot(event->position());
  if (action == MouseScheme::Action::kZoom) {
    camera_.Zoom(std::pow(kZoomPerStep, event->angleDelta().y() / 120.0), pivot_);
    update();
    emit CameraChanged();
  } else {
    MoveCamera(action, event->pixelDelta(), event->position());
  }
  event->accept();
}

bool ModelView::event(QEvent* event) {
  if (event->type() == QEvent::NativeGesture) {
    const auto* const gesture = static_cast<QNativeGestureEvent*>(event);
    if (gesture->gestureType() == Qt::ZoomNativeGesture) {
      camera_.Zoom(1.0 + gesture->value(), FindPivot(gesture->position()));
      update();
      emit CameraChanged();
      return true;
    }
  }
  return QOpenGLWidget::event(event);
}

void ModelView::keyPressEvent(QKeyEvent* event) {
  const bool isMoving = event->modifiers().testFlag(Qt::ShiftModifier);
  double right = 0.0, up = 0.0;
  switch (event->key()) {
  case Qt::Key_Left:
    right = -1.0;
    break;
  case Qt::Key_Right:
    right = 1.0;
    break;
  case Qt::Key_Up:
    up = 1.0;
    break;
  case Qt::Key_Down:
    up = -1.0;
    break;
  case Qt::Key_Plus:
  case Qt::Key_Equal:
    camera_.Zoom(kZoomPerStep, camera_.GetTarget());
    break;
  case Qt::Key_Minus:
    camera_.Zoom(1.0 / kZoomPerStep, camera_.GetTarget());
    break;
  default:
    QOpenGLWidget::keyPressEvent(event);
    return;
  }
  if (isMoving) {
    camera_.Pan(right * kKeyPan, up * kKeyPan);
  } else {
    camera_.Orbit(right * kKeyTurn, up * kKeyTurn);
  }
  update();
  emit CameraChanged();
}

}  // namespace mirel
