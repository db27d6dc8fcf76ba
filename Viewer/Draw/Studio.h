#pragma once

#include <Viewer/Draw/PictureOptions.h>

#include <glm/vec3.hpp>

#include <cstdint>

namespace mirel {

class Camera;

/// The light that scenes are shown in: lamps that go with the camera, and a bright room. Computes in linear light.
class Studio {
 public:
  explicit Studio(const Camera& camera);

  /// The light that comes from a surface of some colour (linear) with a normal towards the viewer. `view` is the unit
  /// vector to the eye, `open` how much of the room the surface sees, 0 to 1.
  glm::vec3 Light(const glm::vec3& color, const glm::vec3& normal, const glm::vec3& view, float open) const;

  /// The same of the cut through a body: flat, a little lighter, without gloss.
  static glm::vec3 LightCut(const glm::vec3& color);

  /// The light of the backdrop, `down` from 0 at the top of the picture to 1.
  static glm::vec3 GetBackdrop(float down);

  static glm::vec3 ToLinear(const glm::vec3& srgb);
  /// Linear light as a component of a pixel, 0 to 255.
  static std::uint8_t ToByte(float linear);

 private:
  struct Lamp {
    glm::vec3 direction;
    float strength;
  };
  glm::vec3 up_;
  Lamp key_, fill_;
};

}  // namespace mirel
