#pragma once

#include <Viewer/Draw/AmbientOcclusion.h>
#include <Viewer/Draw/EdgeRule.h>
#include <Viewer/Draw/LooseEdges.h>
#include <Viewer/Draw/Picture.h>
#include <Viewer/Draw/PictureOptions.h>
#include <Viewer/Draw/Studio.h>
#include <Viewer/Draw/SurfaceFinder.h>

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

#include <array>
#include <cstdint>
#include <vector>

namespace mirel {

/// Draws a picture tile by tile. Tiles do not depend on each other: any number of threads may paint at once.
class TilePainter {
 public:
  TilePainter(const SurfaceFinder& finder, const PictureOptions& options, bool hasGhosts);

  /// Draws the part of the picture that begins at (left, top), of so many pixels.
  void Paint(int left, int top, int width, int height, Picture& picture) const;

 private:
  class Tile;

  glm::vec3 GetColor(std::uint32_t placement, std::uint32_t face) const;  // linear
  glm::vec3 GetView(const Surface& surface) const;                        // unit, to the eye
  glm::vec3 Shade(const Surface& surface, const glm::vec3& color, float open) const;
  float Hatch(const Surface& surface) const;
  glm::vec4 ShadeGhost(const Surface& surface, const glm::vec3& color) const;

  const SurfaceFinder& finder_;
  const PictureOptions& options_;
  const bool hasGhosts_;
  const EdgeRule edges_;
  const LooseEdges looseEdges_;
  const Studio studio_;
  const AmbientOcclusion occlusion_;
  const glm::vec3 eye_;             // from the camera's target
  std::vector<glm::vec2> samples_;  // within a pixel
  // By neighbour, row by row from the left upper one: the samples that are as near to the middle as lines reach.
  std::array<std::vector<std::uint32_t>, 9> nearSamples_;
  float lineRadius_;    // half the width of lines, in pixels
  float lineStrength_;  // how dark they are, 0 to 1
};

}  // namespace mirel
