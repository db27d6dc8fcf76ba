#pragma once

#include <Programs/mirel/Diff/BodyClasses.h>
#include <Programs/mirel/Diff/ComparedModel.h>

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace mirel {

/// Which part of the new version is which of the old one, where a part is a body at one place.
///
/// Saying that one became the other costs
///
///     0             when both are of the same body, else 0.3, and up to 0.7 more the less the bodies are alike
///     0.15, 0.1     when the name of the part, and when that of its place, is another one
///     0.3           when the names of the assemblies around it are others
///     0.6           when it is placed elsewhere
///     0 to 0.2      by how far away it is, as a part of the size of the model
///
/// and 1.1 that one is gone and the other one is new. The pairs are those whose costs are the smallest in sum. To find
/// them in a time that hardly grows faster than the number of parts, those are looked at first that agree in what weighs most; in each of these
/// rounds the parts are sorted into clusters that agree, and the parts of a cluster are assigned to each other. Where a cluster
/// is large, the nearest come first.
class PartMatching {
 public:
  /// Costs from here on mean that two parts have nothing to do with each other.
  static constexpr double kUnrelated = 1.1;

  /// Keeps references while it is made.
  PartMatching(const ComparedModel& older, const ComparedModel& newer, const BodyClasses& classes);

  /// For each node of the new version, and of the old one, the node of the other one, or `kNothing`. Groups have none.
  const std::vector<std::uint32_t>& GetPartners(BodyClasses::Side side) const { return partners_[side]; }

 private:
  /// What a part is matched by.
  struct Part {
    std::uint32_t node;
    std::uint32_t body;
    std::uint32_t bodyClass;
    std::uint64_t name;          // of the part
    std::uint64_t placeName;     // of the group around it that holds nothing else, else its own
    std::uint64_t tree;          // of the names around that
    std::uint64_t placement;     // in the scene
    std::uint64_t ownPlacement;  // in the assembly around it
    glm::dvec3 middle;
  };
  using Key = std::function<std::uint64_t(const Part& part)>;
  using Cluster = std::vector<const Part*>;

  std::vector<Part> MakeParts(BodyClasses::Side side) const;
  double GetCost(const Part& older, const Part& newer) const;
  void MatchBy(const Key& key);
  /// Calls `match` with the parts on both sides that agree in a key.
  static void ForEachCluster(const std::array<Cluster, 2>& parts, const Key& key,
                             const std::function<void(const std::array<Cluster, 2>&)>& match);
  void Match(const std::array<Cluster, 2>& cluster);
  void MatchLarge(const std::array<Cluster, 2>& cluster);
  void Join(const Part& older, const Part& newer);
  Cluster ListOpen(BodyClasses::Side side, const Cluster& parts) const;

  std::array<const ComparedModel*, 2> models_;
  const BodyClasses& classes_;
  double size_ = 1.0;  // of the old model, in mm
  std::array<std::vector<Part>, 2> parts_;
  std::array<std::vector<std::uint32_t>, 2> partners_;
};

}  // namespace mirel
