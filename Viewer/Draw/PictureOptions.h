#pragma once

#include <Viewer/Draw/SectionPlane.h>

#include <glm/vec3.hpp>

#include <atomic>
#include <optional>
#include <vector>

namespace mirel {

class Selection;

/// How a picture is drawn.
struct PictureOptions {
  enum class Edges {
    kNone,
    kSharp,  ///< outlines, and where faces meet at an angle
    kAll,    ///< where any two faces meet
  };

  int width = 1600;  ///< in pixels; see `Picture` for the limits of both
  int height = 1200;

  /// Rays for each pixel in which more than one surface is seen: rounded up to the next square number, 1 to 64.
  int samples = 9;

  Edges edges = Edges::kSharp;

  /// Whether surfaces get darker where others stand close to them.
  bool ambientOcclusion = true;

  /// Behind everything: a colour (sRGB, 0 to 1), or nothing, and the picture has an alpha channel. By default a light
  /// backdrop.
  enum class Background { kStudio, kColor, kNone };
  Background background = Background::kStudio;
  glm::vec3 backgroundColor{1.0f};

  std::vector<SectionPlane> sections;

  /// Shown in another colour, if any; not owned.
  const Selection* selection = nullptr;

  /// How many threads draw; 0: as many as there are cores. The picture is the same.
  unsigned threads = 0;

  /// When it becomes true, drawing ends soon, and the picture is not complete. Not owned; null: nobody calls it off.
  const std::atomic<bool>* isCancelled = nullptr;
};

}  // namespace mirel
