#include <Programs/mirel-viewer/Measure/MeasureSession.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Measure/PartMeasures.h>
#include <Viewer/Measure/Separation.h>

#include <glm/glm.hpp>

#include <QStringList>

#include <algorithm>
#include <utility>

namespace mirel {

namespace {

// How far from the mouse a place to snap to may be seen.
constexpr double kSnapPixels = 8.0;

const char* NameOf(SnapPoint::Kind kind) {
  return kind == SnapPoint::Kind::kVertex   ? "Vertex"
         : kind == SnapPoint::Kind::kMiddle ? "Middle of an edge"
                                            : "Center";
}

}  // namespace

/// A pick, with all that a thread needs to know of it.
struct MeasureSession::Target {
  PickResult pick;
  glm::dvec2 point{0.0};
  Camera camera;
  glm::dvec2 size{0.0};
  std::shared_ptr<const GRepShape> grep;
  glm::dmat4 placement{1.0};
  const SceneNode* root = nullptr;
};

MeasureSession::MeasureSession(Document& document) : document_(document) {
  worker_.setMaxThreadCount(1);
  connect(&document_, &Document::RootRemoved, this, [this](const SceneNode* root) {
    ++round_;
    wanted_ = nullptr;
    SetHint(std::nullopt);
    ForgetFirst();
    const auto belongs = [root](const MeasureResult& result) {
      return result.root == root || result.root == nullptr;
    };
    results_.erase(std::remove_if(results_.begin(), results_.end(), belongs), results_.end());
    emit Changed();
  });
}

MeasureSession::~MeasureSession() {
  isEnding_ = true;
  worker_.clear();
  worker_.waitForDone();
}

void MeasureSession::SetTool(Tool tool) {
  tool_ = tool;
  wanted_ = nullptr;
  SetHint(std::nullopt);
  ForgetFirst();
  emit Changed();
}

void MeasureSession::Take(const PickResult& pick, const QPointF& point, const Camera& camera,
                          const glm::dvec2& size) {
  if (pick.kind == PickResult::Kind::kNothing) {
    return;
  }
  if (pick.kind == PickResult::Kind::kFace && pick.hit.face >= FaceMap::kCut) {
    emit Told({tr("a cut is not part of the body; pick a face, an edge or a vertex of it")});
    return;
  }
  const Target target = *MakeTarget(pick, point, camera, size);
  if (tool_ == Tool::kDistance) {
    TakeDistance(target);
    return;
  }
  Start([this, target, round = round_] {
    const std::optional<ExactPick> exact = Decode(target);
    Outcome outcome = exact ? MeasureOne(*exact) : std::nullopt;
    Finish([this, outcome = std::move(outcome), root = target.root, round] {
      if (round == round_) {
        TakeOutcome(outcome, root);
      }
    });
  });
}

std::optional<MeasureSession::Target> MeasureSession::MakeTarget(const PickResult& pick, const QPointF& point,
                                                                 const Camera& camera,
                                                                 const glm::dvec2& size) const {
  if (pick.kind == PickResult::Kind::kNothing ||
      (pick.kind == PickResult::Kind::kFace && pick.hit.face >= FaceMap::kCut)) {
    return std::nullopt;
  }
  const DrawScene& scene = *document_.GetSnapshot().scene;
  Target target;
  target.pick = pick;
  target.point = {point.x(), point.y()};
  target.camera = camera;
  target.size = size;
  target.grep = scene.GetBatch(pick.hit.placement).grep;
  target.placement = glm::dmat4(scene.GetPlacement(pick.hit.placement));
  target.root = scene.GetPath(pick.hit.placement).front();
  return target;
}

void MeasureSession::PointAt(const PickResult& pick, const QPointF& point, const Camera& camera,
                             const glm::dvec2& size) {
  const std::optional<Target> target = MakeTarget(pick, point, camera, size);
  wanted_ = target ? std::make_shared<const Target>(*target) : nullptr;
  if (!target) {
    SetHint(std::nullopt);
  } else if (!isLooking_) {
    FindHint();
  }
}

// One at a time: of all places that the mouse was at meanwhile, only the last counts.
void MeasureSession::FindHint() {
  isLooking_ = true;
  worker_.start([this, target = std::exchange(wanted_, nullptr), round = round_] {
    const std::optional<ExactPick> exact = isEnding_ ? std::nullopt : Decode(*target);
    const bool isPoint = exact && exact->part.GetKind() == ExactPart::Kind::kPoint;
    const auto hint = isPoint ? std::optional(Hint{exact->point, exact->kind}) : std::nullopt;
    QMetaObject::invokeMethod(
        this,
        [this, hint, round] {
          isLooking_ = false;
          SetHint(round == round_ && tool_ != Tool::kNone ? hint : std::nullopt);
          if (wanted_) {
            FindHint();
          }
        },
        Qt::QueuedConnection);
  });
}

void MeasureSession::SetHint(const std::optional<Hint>& hint) {
  if (hint || hint_) {
    hint_ = hint;
    emit HintChanged();
  }
}

void MeasureSession::TakeDistance(const Target& target) {
  Start([this, target, waiting = waiting_, round = round_] {
    const std::optional<ExactPick> exact = Decode(target);
    const bool isFirst = exact && !*waiting;
    Outcome outcome;
    if (isFirst) {
      *waiting = exact;
    } else if (exact) {
      const std::optional<Separation> separation =
          MeasureSeparation((*waiting)->part, exact->part, [this] { return isEnding_.load(); });
      outcome = separation ? Outcome(MeasureResult::OfSeparation(*separation)) : std::nullopt;
      waiting->reset();
    }
    Finish([this, exact, isFirst, waiting, outcome = std::move(outcome), root = target.root, round] {
      if (waiting == waiting_ && exact) {
        first_ = isFirst ? exact : std::nullopt;
      }
      if (round == round_ && !isFirst) {
        TakeOutcome(outcome, root);
      }
    });
  });
}

void MeasureSession::ForgetFirst() {
  first_.reset();
  waiting_ = std::make_shared<std::optional<ExactPick>>();
}

void MeasureSession::MeasureSelection() {
  const std::vector<std::uint32_t> placements =
      document_.GetSnapshot().FindPlacements(document_.GetSelection());
  if (placements.empty()) {
    emit Told({tr("select what is to be weighed first")});
    return;
  }
  Start([this, placements, scene = document_.GetSnapshot().scene, round = round_] {
    std::optional<BodyMeasure> sum;
    std::size_t missing = 0;
    for (const std::uint32_t placement : placements) {
      if (isEnding_) {
        return;
      }
      const std::shared_ptr<TopoShape> shape = scene->GetBatch(placement).grep->WaitForShape();
      const auto part =
          shape ? ExactPart::OfBody(*shape, glm::dmat4(scene->GetPlacement(placement))) : std::nullopt;
      const std::optional<BodyMeasure> body = part ? MeasureBody(*part) : std::nullopt;
      if (!body) {
        ++missing;
      } else if (sum) {
        *sum += *body;
      } else {
        sum = body;
      }
    }
    Finish([this, sum, missing, count = placements.size() - missing, round] {
      if (round != round_) {
        return;
      }
      if (missing > 0) {
        emit Told(
            {tr("%1 bodies cannot be measured: their exact geometry is missing or damaged").arg(missing)});
      }
      if (sum) {
        TakeOutcome(MeasureResult::OfBodies(*sum, count), nullptr);
      }
    });
  });
}

std::optional<MeasureSession::ExactPick> MeasureSession::Decode(const Target& target) {
  const std::shared_ptr<TopoShape> shape = target.grep->WaitForShape();
  if (!shape) {
    return std::nullopt;
  }
  const PickResult& pick = target.pick;
  const bool isEdge = pick.kind == PickResult::Kind::kEdge;
  const auto part = isEdge ? ExactPart::OfEdge(*shape, pick.edge, target.placement)
                           : ExactPart::OfFace(*shape, pick.hit.face, target.placement);
  if (!part) {
    return std::nullopt;
  }
  // Of several places near the mouse, the nearest is meant.
  double nearest = kSnapPixels;
  std::optional<ExactPick> snapped;
  for (const SnapPoint& snap : FindSnapPoints(*part)) {
    const glm::dvec3 seen = target.camera.Project(snap.point, target.size);
    const double distance = glm::distance(glm::dvec2(seen), target.point);
    if (seen.z > 0.0 && distance < nearest) {
      nearest = distance;
      snapped = ExactPick{ExactPart::OfPoint(snap.point), snap.point, tr(NameOf(snap.kind))};
    }
  }
  return snapped ? snapped : ExactPick{*part, pick.point, QString()};
}

MeasureSession::Outcome MeasureSession::MeasureOne(const ExactPick& pick) {
  if (pick.part.GetKind() == ExactPart::Kind::kPoint) {
    return MeasureResult::OfPoint(pick.point, pick.kind);
  }
  Outcome result;
  if (const std::optional<EdgeMeasure> edge = MeasureEdge(pick.part)) {
    result = MeasureResult::OfEdge(*edge);
  } else if (const std::optional<FaceMeasure> face = MeasureFace(pick.part)) {
    result = MeasureResult::OfFace(*face);
  }
  if (result) {
    result->anchor = pick.point;
  }
  return result;
}

void MeasureSession::Start(const std::function<void()>& work) {
  ++pending_;
  worker_.start(work);
  emit Changed();
}

// Called by the worker; what it gives is done by the window's thread, as long as there is a session.
void MeasureSession::Finish(const std::function<void()>& take) {
  QMetaObject::invokeMethod(
      this,
      [this, take] {
        --pending_;
        take();
        emit Changed();
      },
      Qt::QueuedConnection);
}

void MeasureSession::TakeOutcome(Outcome outcome, const SceneNode* root) {
  if (!outcome) {
    emit Told({tr("this cannot be measured: the exact geometry is missing or damaged")});
    return;
  }
  outcome->root = root;
  results_.push_back(std::move(*outcome));
}

void MeasureSession::Remove(std::size_t result) {
  results_.erase(results_.begin() + static_cast<std::ptrdiff_t>(result));
  emit Changed();
}

void MeasureSession::Clear() {
  ++round_;
  ForgetFirst();
  results_.clear();
  emit Changed();
}

std::optional<glm::dvec3> MeasureSession::GetFirstPick() const {
  return first_ ? std::optional<glm::dvec3>(first_->point) : std::nullopt;
}

void MeasureSession::SetUnit(const MeasureUnit& unit) {
  unit_ = unit;
  emit Changed();
}

void MeasureSession::SetDensity(double density) {
  density_ = density;
  emit Changed();
}

}  // namespace mirel
