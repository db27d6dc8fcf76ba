#include <Programs/mirel/Diff/BodyClasses.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_set>

namespace mirel {

namespace {

// By what part the smaller number falls short.
double GetDifference(double a, double b) {
  const double larger = std::max(std::abs(a), std::abs(b));
  return larger > 0.0 ? std::min(1.0, std::abs(a - b) / larger) : 0.0;
}

const GRepMesh& GetMesh(const ComparedModel::Body& body) {
  static const GRepMesh nothing;
  return body.graphics ? body.graphics->GetMesh() : nothing;
}

glm::dvec3 GetExtents(const ComparedModel::Body& body) {
  const AABoxT<double>& box = GetMesh(body).box;
  glm::dvec3 extents = box.IsFinite() ? box.GetMax() - box.GetMin() : glm::dvec3(0.0);
  std::sort(&extents[0], &extents[0] + 3);
  return extents;
}

}  // namespace

BodyClasses::BodyClasses(const ComparedModel& older, const ComparedModel& newer) : models_{&older, &newer} {
  for (const Side side : {kOld, kNew}) {
    classes_[side].resize(models_[side]->GetBodies().size(), kNothing);
    figures_[side].resize(classes_[side].size());
  }
  ClassByText();
  for (const Side side : {kOld, kNew}) {
    Measure(side, changed_[side], false);
  }
  ClassByFigures();
}

void BodyClasses::ClassByText() {
  // Bodies that are not there are equal to each other.
  static const BodyStore::Sum nothing = {};
  struct Entry {
    std::uint32_t number;
    std::array<bool, 2> isIn = {false, false};
  };
  std::map<BodyStore::Sum, Entry> entries;
  std::array<std::vector<Entry*>, 2> found;
  for (const Side side : {kOld, kNew}) {
    for (const ComparedModel::Body& body : models_[side]->GetBodies()) {
      const BodyStore::Sum* const sum = models_[side]->GetStore().FindSum(body.id);
      Entry& entry = entries[sum != nullptr ? *sum : nothing];
      if (!entry.isIn[kOld] && !entry.isIn[kNew]) {
        entry.number = static_cast<std::uint32_t>(entries.size() - 1);
      }
      entry.isIn[side] = true;
      found[side].push_back(&entry);
    }
  }
  for (const Side side : {kOld, kNew}) {
    for (std::uint32_t i = 0; i < found[side].size(); ++i) {
      classes_[side][i] = found[side][i]->number;
      if (!found[side][i]->isIn[1 - side]) {
        changed_[side].push_back(i);
      }
    }
  }
}

void BodyClasses::ClassByFigures() {
  // Bodies that may be equal have signatures within reach of each other.
  struct Candidate {
    double least, most;
    Side side;
    std::uint32_t body;
  };
  std::vector<Candidate> candidates;
  for (const Side side : {kOld, kNew}) {
    for (const std::uint32_t body : changed_[side]) {
      const BodyFigures& figures = figures_[side][body];
      const double signature = figures.GetSignature(), reach = figures.GetSignatureReach();
      candidates.push_back({signature - reach, signature + reach, side, body});
    }
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.least < b.least; });
  // Each body joins the class of an equal one before it, be it of the same version, or is the first one of its class.
  std::vector<Candidate> firsts;
  for (const Candidate& one : candidates) {
    firsts.erase(std::remove_if(firsts.begin(), firsts.end(),
                                [&](const Candidate& other) { return other.most < one.least; }),
                 firsts.end());
    const auto equal = std::find_if(firsts.rbegin(), firsts.rend(), [&](const Candidate& other) {
      return figures_[other.side][other.body].IsEqual(figures_[one.side][one.body]);
    });
    if (equal == firsts.rend()) {
      firsts.push_back(one);
    } else {
      classes_[one.side][one.body] = classes_[equal->side][equal->body];
    }
  }
  std::unordered_set<std::uint32_t> olds;
  for (const std::uint32_t body : changed_[kOld]) {
    olds.insert(classes_[kOld][body]);
  }
  rewritten_ = static_cast<std::size_t>(
      std::count_if(changed_[kNew].begin(), changed_[kNew].end(),
                    [&](std::uint32_t body) { return olds.count(classes_[kNew][body]) > 0; }));
}

void BodyClasses::Measure(Side side, const std::vector<std::uint32_t>& bodies, bool withBox) {
  std::vector<std::uint32_t> missing;
  std::vector<ObjectId> ids;
  for (const std::uint32_t body : bodies) {
    const BodyFigures& figures = figures_[side][body];
    if (!figures.isKnown || (withBox && figures.box.IsEmpty())) {
      missing.push_back(body);
      ids.push_back(models_[side]->GetBodies()[body].id);
    }
  }
  models_[side]->GetStore().Decode(ids, [&](std::size_t position, const TopoShape& body) {
    figures_[side][missing[position]] = BodyFigures::Measure(body, withBox);
  });
}

void BodyClasses::Measure(Side side, const std::vector<std::uint32_t>& bodies) {
  Measure(side, bodies, true);
}

const BodyFigures* BodyClasses::FindFigures(Side side, std::uint32_t body) const {
  return figures_[side][body].isKnown ? &figures_[side][body] : nullptr;
}

double BodyClasses::GetDissimilarity(std::uint32_t oldBody, std::uint32_t newBody) const {
  const ComparedModel::Body& older = models_[kOld]->GetBodies()[oldBody];
  const ComparedModel::Body& newer = models_[kNew]->GetBodies()[newBody];
  const glm::dvec3 oldExtents = GetExtents(older), newExtents = GetExtents(newer);
  double sum = GetDifference(static_cast<double>(GetMesh(older).faces.size()),
                             static_cast<double>(GetMesh(newer).faces.size())) +
               GetDifference(static_cast<double>(GetMesh(older).edges.size()),
                             static_cast<double>(GetMesh(newer).edges.size()));
  int count = 5;
  for (int axis = 0; axis < 3; ++axis) {
    sum += GetDifference(oldExtents[axis], newExtents[axis]);
  }
  const BodyFigures& a = figures_[kOld][oldBody];
  const BodyFigures& b = figures_[kNew][newBody];
  if (a.isKnown && b.isKnown) {
    sum += GetDifference(a.area, b.area) + GetDifference(a.volume, b.volume);
    for (int axis = 0; axis < 3; ++axis) {
      sum += GetDifference(a.moments[axis], b.moments[axis]);
    }
    count += 5;
  }
  return sum / count;
}

const std::vector<std::uint32_t>& BodyClasses::MatchFaces(std::uint32_t oldBody, std::uint32_t newBody) {
  const auto [place, isNew] = faces_.try_emplace({oldBody, newBody});
  if (isNew) {
    const BodyFigures& a = figures_[kOld][oldBody];
    const BodyFigures& b = figures_[kNew][newBody];
    if (a.isKnown && b.isKnown) {
      place->second = a.MatchFaces(b);
    } else {  // one text
      place->second.resize(GetMesh(models_[kOld]->GetBodies()[oldBody]).faces.size());
      std::iota(place->second.begin(), place->second.end(), 0u);
    }
  }
  return place->second;
}

}  // namespace mirel
