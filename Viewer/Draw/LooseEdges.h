#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/PictureOptions.h>
#include <Viewer/Draw/SectionPlane.h>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace mirel {

class DrawScene;
class GRepShape;
struct DrawBatch;

/// The edges of a scene that no triangle shows, as lines of a picture: those of wires, and of other bodies those that no
/// face has. Keeps some bytes for each placement, and goes through the edges anew for each tile.
class LooseEdges {
 public:
  LooseEdges(const DrawScene& scene, const Camera& camera, const PictureOptions& options);

  bool IsEmpty() const { return places_.empty(); }

  /// A straight line in the picture, in pixels; `z` is the distance from the camera in the direction of view.
  struct Line {
    glm::dvec3 from, to;
    glm::vec3 color;  ///< sRGB
    bool ghost;
  };
  /// Calls `draw` for each line that may show in a part of the picture. From any number of threads at once.
  void ForEach(const glm::dvec2& low, const glm::dvec2& high,
               const std::function<void(const Line& line)>& draw) const;

  /// The distance from the camera at a part of the way, 0 to 1, along a line.
  double GetDepth(const Line& line, double part) const;

 private:
  using Segments = std::vector<std::uint32_t>;  // pairs of vertices

  // Where a placed body may show.
  struct Place {
    const DrawBatch* batch;
    const Segments* segments;
    std::uint32_t number;  // in the batch
    glm::vec2 low, high;
  };

  void Add(const DrawBatch& batch, bool isWire);
  Place Locate(const DrawBatch& batch, std::uint32_t number) const;
  bool Cut(glm::dvec3& from, glm::dvec3& to) const;

  const Camera& camera_;
  const PictureOptions& options_;
  const glm::dvec2 size_;
  double nearest_;  // distance from the camera of what is drawn
  std::map<const GRepShape*, Segments> segments_;
  std::vector<Place> places_;
};

}  // namespace mirel
