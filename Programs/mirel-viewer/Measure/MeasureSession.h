#pragma once

#include <Programs/mirel-viewer/Measure/MeasureResult.h>

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/Picker.h>
#include <Viewer/Measure/ExactPart.h>

#include <QObject>
#include <QPointF>
#include <QThreadPool>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace mirel {

class BrepSceneNode;
class Document;

/// What is being measured: takes picks of a user, decodes the exact bodies behind them on a thread of its own, and
/// keeps the results.
class MeasureSession : public QObject {
  Q_OBJECT

 public:
  enum class Tool {
    kNone,
    kSize,      ///< each pick is measured by itself
    kDistance,  ///< each two picks are measured against each other
  };

  explicit MeasureSession(Document& document);
  ~MeasureSession() override;

  Tool GetTool() const { return tool_; }
  void SetTool(Tool tool);

  /// A pick at a point of a picture of `size`, which is seen with `camera`.
  void Take(const PickResult& pick, const QPointF& point, const Camera& camera, const glm::dvec2& size);
  /// The same of where the mouse only is: what a click there would mean is told by `GetHint`, a moment later.
  void PointAt(const PickResult& pick, const QPointF& point, const Camera& camera, const glm::dvec2& size);
  /// Volume, area and centre of mass of all bodies that are selected.
  void MeasureSelection();

  const std::vector<MeasureResult>& GetResults() const { return results_; }
  void Remove(std::size_t result);
  void Clear();

  /// Whether a measure is on its way.
  bool IsBusy() const { return pending_ > 0; }
  /// Where the first of two picks is, while the second is missing.
  std::optional<glm::dvec3> GetFirstPick() const;

  /// A place to snap to, and what it is.
  struct Hint {
    glm::dvec3 point;
    QString kind;
  };
  /// The one that the mouse is near; nothing when it is near none.
  const std::optional<Hint>& GetHint() const { return hint_; }

  const MeasureUnit& GetUnit() const { return unit_; }
  void SetUnit(const MeasureUnit& unit);
  /// In g/cm³; 0 when nobody has said.
  double GetDensity() const { return density_; }
  void SetDensity(double density);

 signals:
  /// Results, the tool, the unit or what is on its way.
  void Changed();
  void HintChanged();
  /// Why something cannot be measured.
  void Told(const QStringList& messages);

 private:
  struct Target;
  /// What a pick means, exactly.
  struct ExactPick {
    ExactPart part;
    glm::dvec3 point;
    QString kind;  // of a point
  };
  using Outcome = std::optional<MeasureResult>;

  std::optional<Target> MakeTarget(const PickResult& pick, const QPointF& point, const Camera& camera,
                                   const glm::dvec2& size) const;
  void SetHint(const std::optional<Hint>& hint);
  void FindHint();
  static std::optional<ExactPick> Decode(const Target& target);
  static Outcome MeasureOne(const ExactPick& pick);
  void TakeDistance(const Target& target);
  void ForgetFirst();
  void Start(const std::function<void()>& work);
  void Finish(const std::function<void()>& take);
  void TakeOutcome(Outcome outcome, const SceneNode* root);

  Document& document_;
  Tool tool_ = Tool::kNone;
  MeasureUnit unit_;
  double density_ = 0.0;
  std::vector<MeasureResult> results_;
  std::optional<ExactPick> first_;  // what the user is shown of it
  /// The first of two picks, for the worker alone, which may be behind with several; another object for each new start.
  std::shared_ptr<std::optional<ExactPick>> waiting_ = std::make_shared<std::optional<ExactPick>>();
  std::optional<Hint> hint_;
  std::shared_ptr<const Target> wanted_;  // what the mouse is at, when no hint was looked for there yet
  bool isLooking_ = false;
  unsigned pending_ = 0;
  unsigned round_ = 0;  // results of an earlier one are not wanted any more
  std::atomic<bool> isEnding_{false};
  QThreadPool worker_;
};

}  // namespace mirel
