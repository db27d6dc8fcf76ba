#include <Programs/mirel/Diff/PartMatching.h>

#include <Programs/mirel/Diff/Assignment.h>
#include <Programs/mirel/Diff/KeyHash.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <utility>

namespace mirel {

namespace {

// The assignment takes more than time in proportion, so it gets no more pairs at once.
constexpr std::size_t kMaxPairs = 4096;

constexpr double kOtherBody = 0.3, kUnlikeBody = 0.7;
constexpr double kOtherName = 0.15, kOtherPlaceName = 0.1;
constexpr double kOtherTree = 0.3;
constexpr double kOtherPlace = 0.6, kFarPlace = 0.2;

// Of costs that are otherwise the same, so that parts stay in their order.
constexpr double kOrder = 1e-9;

}  // namespace

PartMatching::PartMatching(const ComparedModel& older, const ComparedModel& newer, const BodyClasses& classes)
    : models_{&older, &newer}, classes_(classes) {
  if (const AABoxT<double>& box = older.GetBox(0); box.IsFinite()) {
    size_ = std::max(glm::distance(box.GetMin(), box.GetMax()), BodyFigures::kTolerance);
  }
  for (const BodyClasses::Side side : {BodyClasses::kOld, BodyClasses::kNew}) {
    partners_[side].resize(models_[side]->GetNodes().size(), kNothing);
    parts_[side] = MakeParts(side);
  }
  using P = const Part&;
  const auto key = [](auto... values) {
    KeyHash hash;
    (hash.Add(values), ...);
    return hash.Get();
  };
  const auto body = [](P part) { return std::uint64_t{part.bodyClass}; };
  const auto path = [key](P part) { return key(part.name, part.placeName, part.tree); };
  // The same body: where it was, even under another name; then by what it is called.
  MatchBy([=](P part) { return key(body(part), path(part), part.placement); });
  MatchBy([=](P part) { return key(body(part), part.placement); });
  MatchBy([=](P part) { return key(body(part), path(part)); });
  // Another body in the same place.
  MatchBy([=](P part) { return key(path(part), part.placement); });
  // The same body with an assembly that has moved within the tree; then anywhere.
  MatchBy([=](P part) { return key(body(part), part.name, part.placeName, part.ownPlacement); });
  MatchBy([=](P part) { return key(body(part), part.name); });
  MatchBy([=](P part) { return body(part); });
  // Another body, and something else is not the same either.
  MatchBy([=](P part) { return path(part); });
  MatchBy([=](P part) { return key(part.name, part.placeName); });
  MatchBy([=](P part) { return part.placement; });
  MatchBy([=](P part) { return part.name; });
}

std::vector<PartMatching::Part> PartMatching::MakeParts(BodyClasses::Side side) const {
  const ComparedModel& model = *models_[side];
  std::vector<Part> parts;
  parts.reserve(model.GetParts().size());
  for (const std::uint32_t number : model.GetParts()) {
    const ComparedNode& node = model.GetNode(number);
    Part part;
    part.node = number;
    part.body = node.bodyNumber;
    part.bodyClass = classes_.GetClass(side, node.bodyNumber);
    part.name = node.name;
    part.placement = KeyHash().Add(node.placement).Get();
    part.middle = model.GetMiddle(number);
    // The group of a place holds one thing alone: the part.
    std::uint32_t place = number;
    if (node.parent != kNothing && node.parent != 0 && model.GetNode(node.parent).childCount == 1) {
      place = node.parent;
    }
    const ComparedNode& placeNode = model.GetNode(place);
    part.placeName = placeNode.name;
    const std::uint32_t around = placeNode.parent;
    part.tree = around == kNothing ? 0 : model.GetNode(around).path;
    const glm::dmat4 outer = around == kNothing ? glm::dmat4(1.0) : model.GetNode(around).placement;
    part.ownPlacement = KeyHash().Add(glm::inverse(outer) * node.placement).Get();
    parts.push_back(part);
  }
  return parts;
}

double PartMatching::GetCost(const Part& older, const Part& newer) const {
  double cost = 0.0;
  if (older.bodyClass != newer.bodyClass) {
    cost += kOtherBody + kUnlikeBody * classes_.GetDissimilarity(older.body, newer.body);
  }
  cost += older.name != newer.name ? kOtherName : 0.0;
  cost += older.placeName != newer.placeName ? kOtherPlaceName : 0.0;
  cost += older.tree != newer.tree ? kOtherTree : 0.0;
  cost += older.placement != newer.placement ? kOtherPlace : 0.0;
  // Bodies may also be apart that stand in one place, where all coordinates are those of the whole.
  const double distance = glm::distance(older.middle, newer.middle);
  return cost + kFarPlace * (distance < size_ ? distance / size_ : 1.0);
}

PartMatching::Cluster PartMatching::ListOpen(BodyClasses::Side side, const Cluster& parts) const {
  Cluster open;
  for (const Part* part : parts) {
    if (partners_[side][part->node] == kNothing) {
      open.push_back(part);
    }
  }
  return open;
}

void PartMatching::ForEachCluster(const std::array<Cluster, 2>& parts, const Key& key,
                                  const std::function<void(const std::array<Cluster, 2>&)>& match) {
  using Keyed = std::pair<std::uint64_t, const Part*>;
  std::array<std::vector<Keyed>, 2> keyed;
  for (std::size_t side = 0; side < 2; ++side) {
    for (const Part* part : parts[side]) {
      keyed[side].push_back({key(*part), part});
    }
    std::stable_sort(keyed[side].begin(), keyed[side].end(),
                     [](const Keyed& a, const Keyed& b) { return a.first < b.first; });
  }
  std::array<std::size_t, 2> at = {0, 0};
  while (at[0] < keyed[0].size() && at[1] < keyed[1].size()) {
    const std::uint64_t next = std::max(keyed[0][at[0]].first, keyed[1][at[1]].first);
    std::array<Cluster, 2> cluster;
    for (std::size_t side = 0; side < 2; ++side) {
      for (; at[side] < keyed[side].size() && keyed[side][at[side]].first <= next; ++at[side]) {
        if (keyed[side][at[side]].first == next) {
          cluster[side].push_back(keyed[side][at[side]].second);
        }
      }
    }
    if (!cluster[0].empty() && !cluster[1].empty()) {
      match(cluster);
    }
  }
}

void PartMatching::MatchBy(const Key& key) {
  std::array<Cluster, 2> open;
  for (const BodyClasses::Side side : {BodyClasses::kOld, BodyClasses::kNew}) {
    for (const Part& part : parts_[side]) {
      if (partners_[side][part.node] == kNothing) {
        open[side].push_back(&part);
      }
    }
  }
  if (!open[0].empty() && !open[1].empty()) {
    ForEachCluster(open, key, [this](const std::array<Cluster, 2>& cluster) { Match(cluster); });
  }
}

void PartMatching::Match(const std::array<Cluster, 2>& cluster) {
  const Cluster& olds = cluster[0];
  const Cluster& news = cluster[1];
  if (olds.size() * news.size() > kMaxPairs) {
    MatchLarge(cluster);
    return;
  }
  const std::vector<std::size_t> columns =
      Assignment::Solve(olds.size(), news.size(), kUnrelated, [&](std::size_t row, std::size_t column) {
        const std::size_t apart = row > column ? row - column : column - row;
        return GetCost(*olds[row], *news[column]) + kOrder * static_cast<double>(apart);
      });
  for (std::size_t row = 0; row < columns.size(); ++row) {
    if (columns[row] != Assignment::kNone) {
      Join(*olds[row], *news[columns[row]]);
    }
  }
}

void PartMatching::MatchLarge(const std::array<Cluster, 2>& cluster) {
  std::array<Cluster, 2> open = cluster;
  const auto keepOpen = [&] {
    for (const BodyClasses::Side side : {BodyClasses::kOld, BodyClasses::kNew}) {
      open[side] = ListOpen(side, open[side]);
    }
    return !open[0].empty() && !open[1].empty();
  };
  // From small cells of space to large ones. Every second grid is moved by half a cell, for those on both sides of a border.
  for (const double part : {1e-5, 1e-4, 1e-3, 1e-2, 0.05, 0.2}) {
    for (const double shift : {0.0, 0.5}) {
      const double cell = part * size_;
      const Key key = [&](const Part& one) {
        return KeyHash().Add(one.middle + glm::dvec3(shift * cell), cell).Get();
      };
      ForEachCluster(open, key, [this](const std::array<Cluster, 2>& near) {
        if (near[0].size() * near[1].size() <= kMaxPairs) {
          Match(near);
        }
      });
      if (!keepOpen()) {
        return;
      }
    }
  }
  // What is left is in the same place or scattered: in the order of the tree.
  for (std::size_t i = 0; i < std::min(open[0].size(), open[1].size()); ++i) {
    if (GetCost(*open[0][i], *open[1][i]) < kUnrelated) {
      Join(*open[0][i], *open[1][i]);
    }
  }
}

void PartMatching::Join(const Part& older, const Part& newer) {
  partners_[BodyClasses::kOld][older.node] = newer.node;
  partners_[BodyClasses::kNew][newer.node] = older.node;
}

}  // namespace mirel
