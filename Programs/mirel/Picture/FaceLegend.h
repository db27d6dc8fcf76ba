#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Draw/Picture.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// A picture whose colours are numbers, and the legend that says which body and which face each number stands for.
class FaceLegend {
 public:
  FaceLegend(const DrawScene& scene, const FaceMap& map);

  /// Whether every face that is seen got a number; only as many can as there are colours.
  bool IsComplete() const { return complete_; }

  /// Each pixel is 65536 * red + 256 * green + blue; 0 where nothing is seen.
  Picture MakePicture() const;

  /// The legend as JSON: size, view, bodies and, for each number from 1 on, body and face.
  std::string MakeJson(const Camera& camera) const;

 private:
  using Part = std::pair<std::uint32_t, std::uint32_t>;  // placement and face

  const DrawScene& scene_;
  const FaceMap& map_;
  std::map<Part, std::uint32_t> numbers_;
  std::vector<Part> parts_;  // by number, from 1 on
  bool complete_ = true;
};

}  // namespace mirel
