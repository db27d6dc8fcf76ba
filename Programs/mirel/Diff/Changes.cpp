#include <Programs/mirel/Diff/Changes.h>

#include <Programs/mirel/Diff/KeyHash.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>

namespace mirel {

namespace {

// Half of what a colour of 8 bits can tell apart.
constexpr float kColorStep = 0.5f / 255.0f;
// Radians.
constexpr double kAngleTolerance = 1e-7;

bool IsSame(const glm::vec3& a, const glm::vec3& b) {
  const glm::vec3 apart = glm::abs(glm::clamp(a, 0.0f, 1.0f) - glm::clamp(b, 0.0f, 1.0f));
  return std::max({apart.x, apart.y, apart.z}) <= kColorStep;
}

std::uint64_t GetKey(const glm::vec3& color) {
  return KeyHash().Add(glm::dvec3(color), 2.0 * kColorStep).Get();
}

// The angle of a turn; of a matrix that also mirrors, scales or shears, that of its axes.
double GetAngle(const glm::dmat3& turn) {
  const double sine = 0.5 * glm::length(glm::dvec3(turn[1][2] - turn[2][1], turn[2][0] - turn[0][2],
                                                   turn[0][1] - turn[1][0]));
  return std::atan2(sine, 0.5 * (turn[0][0] + turn[1][1] + turn[2][2] - 1.0));
}

// How far the corners of a box go at most.
double GetReach(const AABoxT<double>& box, const glm::dmat4& motion) {
  double reach = 0.0;
  for (const glm::dvec3& corner : GetBoxCorners(box)) {
    reach = std::max(reach, glm::distance(corner, glm::dvec3(motion * glm::dvec4(corner, 1.0))));
  }
  return reach;
}

std::size_t CountFaces(const ComparedModel& model, std::uint32_t body) {
  const auto& graphics = model.GetBodies()[body].graphics;
  return graphics ? graphics->GetMesh().faces.size() : 0;
}

}  // namespace

Changes::Changes(const ComparedModel& older, const ComparedModel& newer, BodyClasses& classes,
                 const NodeMatching& nodes)
    : models_{&older, &newer}, classes_(classes), nodes_(nodes) {
  std::vector<std::uint32_t> changed[2];
  for (const std::uint32_t part : older.GetParts()) {
    const std::uint32_t partner = nodes.GetPartner(BodyClasses::kOld, part);
    if (partner == kNothing) {
      continue;
    }
    const std::uint32_t oldBody = older.GetNode(part).bodyNumber, newBody = newer.GetNode(partner).bodyNumber;
    if (classes.GetClass(BodyClasses::kOld, oldBody) != classes.GetClass(BodyClasses::kNew, newBody)) {
      changed[0].push_back(oldBody);
      changed[1].push_back(newBody);
    }
  }
  for (const BodyClasses::Side side : {BodyClasses::kOld, BodyClasses::kNew}) {
    std::sort(changed[side].begin(), changed[side].end());
    changed[side].erase(std::unique(changed[side].begin(), changed[side].end()), changed[side].end());
    classes.Measure(side, changed[side]);
  }
  FindLonely(BodyClasses::kOld);
  FindLonely(BodyClasses::kNew);
  for (std::uint32_t i = 1; i < older.GetNodes().size(); ++i) {
    if (nodes.GetPartner(BodyClasses::kOld, i) != kNothing) {
      Visit(i, nodes.GetPartner(BodyClasses::kOld, i));
    }
  }
  CountEqual();
  std::stable_sort(changes_.begin(), changes_.end(),
                   [](const Change& a, const Change& b) { return a.kind < b.kind; });
}

std::uint64_t Changes::GetId(BodyClasses::Side side, std::uint32_t node) const {
  return models_[side]->GetNode(node).node->GetUserId();
}

Change& Changes::Note(Change::Kind kind, std::uint64_t key, std::uint32_t older, std::uint32_t newer) {
  const auto [place, isNew] = byKey_.try_emplace({kind, key}, changes_.size());
  if (isNew) {
    changes_.emplace_back().kind = kind;
  }
  Change& change = changes_[place->second];
  change.places.push_back({older, newer});
  return change;
}

// What the other version has not got, each with all below it that it has not got either.
void Changes::FindLonely(BodyClasses::Side side) {
  const std::vector<ComparedNode>& nodes = models_[side]->GetNodes();
  for (std::uint32_t i = 1; i < nodes.size(); ++i) {
    if (nodes_.GetPartner(side, i) != kNothing || nodes_.GetPartner(side, nodes[i].parent) == kNothing) {
      continue;
    }
    const std::uint64_t key = KeyHash().Add(GetId(side, i)).Add(GetId(side, nodes[i].parent)).Get();
    if (side == BodyClasses::kOld) {
      Note(Change::Kind::kRemoved, key, i, kNothing);
    } else {
      Note(Change::Kind::kAdded, key, kNothing, i);
    }
  }
}

void Changes::Visit(std::uint32_t older, std::uint32_t newer) {
  const ComparedNode& a = models_[0]->GetNode(older);
  const ComparedNode& b = models_[1]->GetNode(newer);
  const bool isReparented = nodes_.GetPartner(BodyClasses::kOld, a.parent) != b.parent;
  if (isReparented) {
    const std::uint64_t key = KeyHash()
                                  .Add(GetId(BodyClasses::kOld, older))
                                  .Add(GetId(BodyClasses::kNew, newer))
                                  .Add(GetId(BodyClasses::kOld, a.parent))
                                  .Add(GetId(BodyClasses::kNew, b.parent))
                                  .Get();
    Note(Change::Kind::kReparented, key, older, newer);
  }
  if (a.name != b.name) {
    const std::uint64_t body =
        a.body == nullptr ? kNothing : classes_.GetClass(BodyClasses::kOld, a.bodyNumber);
    Note(Change::Kind::kRenamed, KeyHash().Add(a.name).Add(b.name).Add(body).Get(), older, newer);
  }
  FindMotion(older, newer, isReparented);
  if (a.body == nullptr || b.body == nullptr) {
    return;
  }
  if (classes_.GetClass(BodyClasses::kOld, a.bodyNumber) !=
      classes_.GetClass(BodyClasses::kNew, b.bodyNumber)) {
    const std::uint64_t key =
        KeyHash().Add(std::uint64_t{a.bodyNumber}).Add(std::uint64_t{b.bodyNumber}).Get();
    Note(Change::Kind::kReshaped, key, older, newer);
  }
  FindColors(older, newer);
}

void Changes::FindMotion(std::uint32_t older, std::uint32_t newer, bool isReparented) {
  const ComparedNode& a = models_[0]->GetNode(older);
  // Within an assembly that has moved itself, only what did not go with it has moved.
  const glm::dmat4 around = isReparented ? glm::dmat4(1.0) : nodes_.GetMotion(a.parent);
  const glm::dmat4& motion = nodes_.GetMotion(older);
  const glm::dmat4 own = glm::inverse(around) * motion;
  const glm::dvec3 middle = models_[0]->GetMiddle(older);
  const AABoxT<double>& box = models_[0]->GetBox(older);
  const glm::dvec3 moved(own * glm::dvec4(middle, 1.0));
  const double reach = box.IsFinite() ? GetReach(box, own) : glm::distance(moved, middle);
  // Numbers far from the origin have fewer digits behind the point.
  const double noise = 1e-9 * (glm::length(middle) + glm::length(glm::dvec3(own[3])));
  if (!(reach > BodyFigures::kTolerance + noise)) {
    return;
  }
  const double distance = glm::distance(moved, middle), angle = GetAngle(glm::dmat3(own));
  // The same step in all instances of an assembly is one change: it is compared in the assembly's own coordinates.
  const glm::dmat3 turn(models_[0]->GetNode(a.parent).placement);
  const glm::dvec3 step = glm::inverse(turn) * (moved - middle);
  const std::uint64_t key = KeyHash()
                                .Add(GetId(BodyClasses::kOld, older))
                                .Add(GetId(BodyClasses::kNew, newer))
                                .Add(GetId(BodyClasses::kOld, a.parent))
                                .Add(step, 0.1 * BodyFigures::kTolerance)
                                .Add(angle, kAngleTolerance * 10.0)
                                .Get();
  Change& change = Note(Change::Kind::kMoved, key, older, newer);
  if (change.places.size() == 1) {
    change.distance = distance > 0.1 * BodyFigures::kTolerance ? distance : 0.0;
    change.angle = angle > kAngleTolerance ? angle : 0.0;
    change.vector =
        glm::dvec3(motion * glm::dvec4(middle, 1.0)) - glm::dvec3(around * glm::dvec4(middle, 1.0));
  }
}

void Changes::FindColors(std::uint32_t older, std::uint32_t newer) {
  const ComparedNode& a = models_[0]->GetNode(older);
  const ComparedNode& b = models_[1]->GetNode(newer);
  const FacePalette& oldColors = *a.body->GetPalette();
  const FacePalette& newColors = *b.body->GetPalette();
  const bool hasFaceColors = !oldColors.empty() || !newColors.empty();
  const bool isSameBodyColor =
      IsSame(a.body->GetDrawnColor(BodyFigures::kNone), b.body->GetDrawnColor(BodyFigures::kNone));
  if (!hasFaceColors && isSameBodyColor) {
    return;
  }
  std::map<std::uint64_t, Change::Recoloring> found;
  const auto compare = [&](std::uint32_t face, const glm::vec3& from, const glm::vec3& to) {
    if (!IsSame(from, to)) {
      const std::uint64_t key = KeyHash().Add(GetKey(from)).Add(GetKey(to)).Get();
      ++found.try_emplace(key, Change::Recoloring{face, from, to, 0}).first->second.faceCount;
    }
  };
  const std::vector<std::uint32_t>& match = classes_.MatchFaces(a.bodyNumber, b.bodyNumber);
  for (std::uint32_t face = 0; face < match.size(); ++face) {
    if (match[face] != BodyFigures::kNone) {
      compare(face, a.body->GetDrawnColor(face), b.body->GetDrawnColor(match[face]));
    }
  }
  if (found.empty() && CountFaces(*models_[0], a.bodyNumber) == 0) {  // wires
    compare(0, a.body->GetDrawnColor(BodyFigures::kNone), b.body->GetDrawnColor(BodyFigures::kNone));
  }
  if (found.empty()) {
    return;
  }
  KeyHash key;
  key.Add(std::uint64_t{a.bodyNumber}).Add(std::uint64_t{b.bodyNumber}).Add(a.name);
  std::vector<Change::Recoloring> recolorings;
  for (const auto& [pair, recoloring] : found) {
    key.Add(pair).Add(std::uint64_t{recoloring.oldFace}).Add(std::uint64_t{recoloring.faceCount});
    recolorings.push_back(recoloring);
  }
  std::sort(recolorings.begin(), recolorings.end(),
            [](const Change::Recoloring& x, const Change::Recoloring& y) { return x.oldFace < y.oldFace; });
  Note(Change::Kind::kRecolored, key.Get(), older, newer).recolorings = recolorings;
}

void Changes::CountEqual() {
  const std::vector<ComparedNode>& nodes = models_[1]->GetNodes();
  std::vector<bool> isTouched(nodes.size(), false), isMoved(nodes.size(), false);
  for (const Change& change : changes_) {
    const bool isOfAll = change.kind != Change::Kind::kRenamed;
    for (const Change::Place& place : change.places) {
      if (place.newer != kNothing) {
        (isOfAll ? isMoved : isTouched)[place.newer] = true;
      }
    }
  }
  for (std::uint32_t i = 1; i < nodes.size(); ++i) {
    isMoved[i] = isMoved[i] || isMoved[nodes[i].parent];
    equalParts_ += nodes[i].body != nullptr && !isTouched[i] && !isMoved[i] ? 1 : 0;
  }
}

}  // namespace mirel
