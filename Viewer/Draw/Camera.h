#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <glm/geometric.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

class DrawScene;

/// A line of sight: all points `origin + t * direction` with `nearest <= t <= farthest`.
struct Ray {
  glm::dvec3 origin{0.0};
  glm::dvec3 direction{0.0, 0.0, 1.0};  ///< of unit length, so that t is in mm
  double nearest = 0.0;
  double farthest = 1e30;
};

/// From where a scene is seen: a place to look from, a point to look at, and how what is seen is put on a picture.
///
/// Coordinates are those of the scene, in mm; z is up, and the front of things looks towards negative y, as usual in
/// CAD. Points of a picture are in pixels, (0, 0) the left upper corner of the left upper pixel, y downwards.
///
/// Thread safety: as a standard container.
class MIREL_DRAW_API Camera {
 public:
  enum class Projection { kPerspective, kParallel };
  enum class View { kFront, kBack, kLeft, kRight, kTop, kBottom, kIso };

  /// In perspective, as in `View::kIso`, at a distance of 1 mm from the origin: to be followed by `Fit`.
  Camera();

  Projection GetProjection() const { return projection_; }
  /// Keeps the size of what lies at the target.
  void SetProjection(Projection projection) { projection_ = projection; }

  /// Where the camera is, in parallel projection too, where only its direction from the target counts.
  glm::dvec3 GetEye() const { return target_ - forward_ * distance_; }
  const glm::dvec3& GetTarget() const { return target_; }
  /// Unit vectors: of view, to the right and upwards in the picture.
  const glm::dvec3& GetForward() const { return forward_; }
  glm::dvec3 GetRight() const;
  const glm::dvec3& GetUp() const { return up_; }

  /// The height in mm of what is seen at the target.
  double GetHeight() const;

  /// Looks from one side, and keeps target and distance.
  void SetView(View view);
  /// The view with a name such as "front" or "iso"; nothing for other names.
  static std::optional<View> FindView(const std::string& name);

  /// Looks from the direction `from` (seen from the target) with `up` upwards in the picture. False, and nothing
  /// changes, when one of them is zero or not finite. An `up` along `from` is replaced by one that is not.
  bool SetDirection(const glm::dvec3& from, const glm::dvec3& up);

  /// Moves so that all points are seen as large as they can be, with a margin of 4 % of the picture's shorter side.
  /// `aspect` is width by height. Keeps the direction. Without points nothing changes; one point alone gives a view
  /// of 1 mm.
  void Fit(const std::vector<glm::dvec3>& points, double aspect);
  /// The same for the boxes of all placed bodies of a scene, or of some.
  void Fit(const DrawScene& scene, double aspect);
  void Fit(const DrawScene& scene, const std::vector<std::uint32_t>& placements, double aspect);

  /// Turns about the target: `azimuth` about the scene's z axis, positive to the left, and `elevation` upwards, in
  /// radians. Does not go over the top.
  void Orbit(double azimuth, double elevation);
  /// The same about another point, which stays where it is in the picture.
  void Orbit(double azimuth, double elevation, const glm::dvec3& center);
  /// Moves camera and target by a part of the picture's height, to the right and upwards.
  void Pan(double right, double up);
  /// Comes nearer by a factor above 1, or goes away by one below it; `center` stays where it is in the picture.
  void Zoom(double factor, const glm::dvec3& center);

  /// What is seen at a point of a picture of `size` pixels.
  Ray GetRay(const glm::dvec2& point, const glm::dvec2& size) const;
  /// Where a point of the scene is seen (x, y), and z, its distance in mm from the camera in the direction of view. In
  /// perspective the first two have no meaning unless z is positive.
  glm::dvec3 Project(const glm::dvec3& point, const glm::dvec2& size) const;
  /// The width in mm of a pixel at a distance (as z above) from the camera.
  double GetPixelSize(double distance, const glm::dvec2& size) const;

 private:
  class Fitting;

  Projection projection_ = Projection::kPerspective;
  glm::dvec3 target_ = glm::dvec3(0.0);
  glm::dvec3 forward_ = glm::dvec3(0.0, 1.0, 0.0);
  glm::dvec3 up_ = glm::dvec3(0.0, 0.0, 1.0);
  double distance_ = 1.0;
};

/// A camera with a picture of `size` pixels before it: for many points of one picture, as `Camera::GetRay` and
/// `Camera::GetPixelSize` are for one, in a fraction of the time.
class MIREL_DRAW_API Lens {
 public:
  Lens(const Camera& camera, const glm::dvec2& size);

  Ray GetRay(const glm::dvec2& point) const {
    const glm::dvec3 aside = right_ * (point.x - middle_.x) - up_ * (point.y - middle_.y);
    Ray ray;
    if (isPerspective_) {
      ray.origin = origin_;
      ray.direction = glm::normalize(forward_ + aside);
      return ray;
    }
    // What is beside or behind the camera is seen too.
    ray.origin = origin_ + aside;
    ray.direction = forward_;
    ray.nearest = -ray.farthest;
    return ray;
  }

  double GetPixelSize(double distance) const { return isPerspective_ ? distance * scale_ : scale_; }

 private:
  bool isPerspective_;
  glm::dvec2 middle_;
  glm::dvec3 origin_, forward_;
  glm::dvec3 right_, up_;  // as long as a pixel is at a distance of 1, or everywhere
  double scale_;           // the same as a number
};

}  // namespace mirel
