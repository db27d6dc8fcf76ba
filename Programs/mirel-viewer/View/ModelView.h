#pragma once

#include <Programs/mirel-viewer/Document/Snapshot.h>
#include <Programs/mirel-viewer/View/MouseScheme.h>

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/GL/GLRenderer.h>
#include <Viewer/Draw/Picker.h>

#include <QElapsedTimer>
#include <QOpenGLWidget>
#include <QPointF>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QPainter;

namespace mirel {

class Document;

/// The picture of a document's scene, in which users turn, move, select and cut.
///
/// Points are in the widget's own coordinates; the renderer's pixels are `devicePixelRatio` times as fine.
class ModelView : public QOpenGLWidget {
  Q_OBJECT

 public:
  explicit ModelView(Document& document, QWidget* parent = nullptr);
  ~ModelView() override;

  const Camera& GetCamera() const { return camera_; }
  void SetCamera(const Camera& camera);

  void FitAll();
  void FitSelection();
  /// Sees a box of the scene, and so much more around it. Nothing happens for an empty one.
  void Fit(const AABoxT<double>& box, double factor);
  void LookFrom(Camera::View view);
  void LookFrom(const glm::dvec3& direction, const glm::dvec3& up);
  void SetProjection(Camera::Projection projection);

  const MouseScheme& GetScheme() const { return scheme_; }
  void SetScheme(MouseScheme::Kind kind) { scheme_ = MouseScheme(kind); }

  /// What is seen at a point of the widget; within `tolerance` pixels of it vertices and edges too. Nothing where nothing is
  /// seen, and for tolerances as long as the snapshot has no ray caster yet.
  PickResult Pick(const QPointF& point, double tolerance = 0.0);
  const SceneNode* FindNode(const QPointF& point);

  /// Where a point of the scene is seen; nothing behind the camera.
  std::optional<QPointF> Project(const glm::dvec3& point) const;

  /// What else is painted over the model, such as the labels of measures.
  using Overlay = std::function<void(QPainter& painter)>;
  void AddOverlay(Overlay overlay) { overlays_.push_back(std::move(overlay)); }

  /// A click is asked first whether something else than selecting is meant by it, such as measuring.
  using ClickFilter = std::function<bool(const QPointF& point, Qt::KeyboardModifiers modifiers)>;
  void SetClickFilter(ClickFilter filter) { clickFilter_ = std::move(filter); }

  /// Hears where the mouse is while no button is down.
  using HoverListener = std::function<void(const QPointF& point)>;
  void SetHoverListener(HoverListener listener) { hoverListener_ = std::move(listener); }

  /// How long the last frame took, in ms, and how many there were.
  double GetFrameTime() const { return frameTime_; }
  unsigned GetFrameCount() const { return frameCount_; }
  /// All that belongs to the picture has been drawn.
  bool IsComplete() const { return isComplete_; }
  /// And nothing of it will get smoother.
  bool IsRefined() const { return isRefined_; }

 signals:
  void CameraChanged();
  /// The first frame after which `IsComplete` is true is in the window.
  void Completed();
  /// The user wants a menu for what is at a point of the screen.
  void MenuWanted(const QPoint& globalPoint);
  /// OpenGL cannot draw; the text is for people.
  void Broken(const QString& reason);

 protected:
  void initializeGL() override;
  void paintGL() override;
  bool event(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  enum class Dragging { kNothing, kPressed, kScheme, kSection };

  glm::dvec2 GetSize() const;
  double GetAspect() const;
  void TakeSnapshot();
  void TakeExplosion();
  void TakeSelection();
  void TakeHover();
  glm::dvec3 FindPivot(const QPointF& point);
  void MoveCamera(MouseScheme::Action action, const QPointF& by, const QPointF& at);
  void Hover(const QPointF& point);
  void Click(const QPointF& point, Qt::KeyboardModifiers modifiers);
  void SelectRectangle(const QRectF& rectangle, Qt::KeyboardModifiers modifiers);
  void DragSection(const QPointF& to);
  void TakeSwap();
  void PaintOverlays();

  Document& document_;
  GLRenderer renderer_;
  Camera camera_;
  MouseScheme scheme_{MouseScheme::Kind::kCad};
  std::shared_ptr<const DrawScene> scene_;
  bool hasFitted_ = false;
  bool hasOffsets_ = false;
  bool isBroken_ = false;

  Dragging dragging_ = Dragging::kNothing;
  MouseScheme::Action action_ = MouseScheme::Action::kNone;
  QPointF pressed_, last_;
  glm::dvec3 pivot_{0.0};
  int section_ = -1, litSection_ = -1, sectionDrags_ = 0;
  std::optional<glm::dvec3> litCube_;

  std::vector<Overlay> overlays_;
  ClickFilter clickFilter_;
  HoverListener hoverListener_;
  double frameTime_ = 0.0;
  unsigned frameCount_ = 0;
  bool isComplete_ = false;
  bool isShown_ = false;  // a complete frame is in the window
  bool goesOn_ = false;   // the next frame shows more
  bool isRefined_ = false;
};

}  // namespace mirel
