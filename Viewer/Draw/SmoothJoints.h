#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace mirel {

class DrawScene;
class GRepShape;
struct GRepMesh;

/// Which faces of the bodies of a scene go on smoothly in each other, as their exact bodies say. Nothing is known of bodies
/// whose graphics do not tell.
class SmoothJoints {
 public:
  using Joints = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  ///< sorted, the smaller number first

  explicit SmoothJoints(const DrawScene& scene);

  /// The pairs of faces of one body that meet, and only smoothly.
  static Joints Find(const GRepMesh& mesh);

  /// Whether two faces of a placement's body meet, and only smoothly.
  bool Contains(std::uint32_t placement, std::uint32_t face, std::uint32_t other) const;

 private:
  const DrawScene& scene_;
  std::unordered_map<const GRepShape*, Joints> joints_;
};

}  // namespace mirel
