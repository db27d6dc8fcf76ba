#pragma once

#include <Programs/mirel/Diff/BodyClasses.h>
#include <Programs/mirel/Diff/ComparedModel.h>
#include <Programs/mirel/Diff/PartMatching.h>

#include <glm/mat4x4.hpp>

#include <array>
#include <cstdint>
#include <vector>

namespace mirel {

/// Which node of the new version is which of the old one, assemblies included: an assembly became the one that most of its
/// parts are in. Also how nodes have moved: an assembly as most of its parts.
class NodeMatching {
 public:
  NodeMatching(const ComparedModel& older, const ComparedModel& newer, const PartMatching& parts);

  /// The node of the other version, or `kNothing`.
  std::uint32_t GetPartner(BodyClasses::Side side, std::uint32_t node) const { return partners_[side][node]; }

  /// What a node of the old version that has a partner was moved by, in the scene: from where things were to where they are.
  const glm::dmat4& GetMotion(std::uint32_t oldNode) const { return motions_[oldNode]; }

 private:
  void MatchGroups();
  void MatchEmptyGroups();
  void FindMotions();
  void Join(std::uint32_t older, std::uint32_t newer);

  std::array<const ComparedModel*, 2> models_;
  std::array<std::vector<std::uint32_t>, 2> partners_;
  std::vector<glm::dmat4> motions_;
};

}  // namespace mirel
