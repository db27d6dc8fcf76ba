#pragma once

#include <Viewer/Draw/SurfaceFinder.h>

#include <cstdint>
#include <vector>

namespace mirel {

/// How much of the room around it each point of a picture sees: less in corners and under things.
///
/// Four rays leave each point, in directions that repeat every four pixels. Their mean over the neighbours on the same
/// surface is smooth, and the same wherever a tile of the picture begins.
class AmbientOcclusion {
 public:
  /// How far beyond what is wanted `surfaces` must reach on each side.
  static constexpr int kBorder = 2;

  explicit AmbientOcclusion(const SurfaceFinder& finder);

  /// `surfaces` are rows of so many pixels, of a part of the picture that begins at (left, top). Gives for each of them
  /// how open it is, 0 to 1; without meaning within the border.
  std::vector<float> Find(const std::vector<Surface>& surfaces, int left, int top, int width) const;

 private:
  // The same place in the patterns of a block, as columns and rows of `surfaces`.
  struct Grid {
    int left, top, right, bottom;
  };
  struct Rays;
  void AddRays(const std::vector<Surface>& surfaces, const Grid& grid, int left, int top, int width,
               Rays& rays) const;
  std::vector<std::uint8_t> CastRays(const std::vector<Surface>& surfaces, int left, int top,
                                     int width) const;

  ShortRay Clip(const ShortRay& ray) const;

  const SurfaceFinder& finder_;
  const glm::vec3 target_;  // of the camera, from the middle of the scene
  const float reach_;
};

}  // namespace mirel
