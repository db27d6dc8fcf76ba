#include <Viewer/Draw/Camera.h>

#include <Viewer/Draw/DrawScene.h>

#include <glm/glm.hpp>
#include <glm/gtc/constants.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace mirel {

namespace {

// Half the height of what is seen at a distance of 1: an angle of 28 degrees from top to bottom, as that of a short
// telephoto lens, which shows machines without distortion.
const double kTangent = std::tan(glm::radians(14.0));

constexpr double kMargin = 0.04;

// How near to the z axis `Orbit` may look along it.
constexpr double kMinCosine = 1e-3;

bool IsFinite(const glm::dvec3& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// The largest and smallest of u - slope * w and u + slope * w over all points: how far the sides of what is seen must
// stand apart.
struct Sides {
  double low = std::numeric_limits<double>::max();
  double high = std::numeric_limits<double>::lowest();

  void Add(double u, double slope, double w) {
    low = std::min(low, u + slope * w);
    high = std::max(high, u - slope * w);
  }
  double GetMiddle() const { return (low + high) / 2; }
  double GetHalf() const { return (high - low) / 2; }
};

}  // namespace

Camera::Camera() {
  SetView(View::kIso);
}

glm::dvec3 Camera::GetRight() const {
  return glm::cross(forward_, up_);
}

double Camera::GetHeight() const {
  return 2 * kTangent * distance_;
}

void Camera::SetView(View view) {
  static const glm::dvec3 kZ(0, 0, 1), kY(0, 1, 0);
  switch (view) {
  case View::kFront:
    SetDirection({0, -1, 0}, kZ);
    break;
  case View::kBack:
    SetDirection({0, 1, 0}, kZ);
    break;
  case View::kLeft:
    SetDirection({-1, 0, 0}, kZ);
    break;
  case View::kRight:
    SetDirection({1, 0, 0}, kZ);
    break;
  case View::kTop:
    SetDirection({0, 0, 1}, kY);
    break;
  case View::kBottom:
    SetDirection({0, 0, -1}, -kY);
    break;
  case View::kIso:
    SetDirection({1, -1, 1}, kZ);
    break;
  }
}

std::optional<Camera::View> Camera::FindView(const std::string& name) {
  static const std::array<std::pair<const char*, View>, 7> views = {{{"front", View::kFront},
                                                                     {"back", View::kBack},
                                                                     {"left", View::kLeft},
                                                                     {"right", View::kRight},
                                                                     {"top", View::kTop},
                                                                     {"bottom", View::kBottom},
                                                                     {"iso", View::kIso}}};
  for (const auto& [known, view] : views) {
    if (name == known) return view;
  }
  return std::nullopt;
}

bool Camera::SetDirection(const glm::dvec3& from, const glm::dvec3& up) {
  if (!IsFinite(from) || !IsFinite(up) || !(glm::length(from) > 0.0) || !(glm::length(up) > 0.0))
    return false;
  const glm::dvec3 forward = -glm::normalize(from);
  glm::dvec3 right = glm::cross(forward, glm::normalize(up));
  if (glm::length(right) < 1e-9) {
    const glm::dvec3 other = std::abs(forward.z) < 0.9 ? glm::dvec3(0, 0, 1) : glm::dvec3(0, 1, 0);
    right = glm::cross(forward, other);
  }
  forward_ = forward;
  up_ = glm::cross(glm::normalize(right), forward);
  return true;
}

/// Finds from where all points are seen as large as they can be, one point after the other.
class Camera::Fitting {
 public:
  Fitting(const Camera& camera, double aspect)
      : right_(camera.GetRight()), up_(camera.up_), forward_(camera.forward_) {
    const double shorter = std::min(1.0, aspect);
    partX_ = aspect - 2 * kMargin * shorter;
    partY_ = 1.0 - 2 * kMargin * shorter;
    perspective_ = camera.projection_ == Projection::kPerspective;
  }

  void Add(const glm::dvec3& point) {
    if (nearest_ > farthest_) origin_ = point;  // near the points, to be exact far from zero
    const glm::dvec3 d = point - origin_;
    const double depth = glm::dot(d, forward_);
    x_.Add(glm::dot(d, right_), perspective_ ? kTangent * partX_ : 0.0, depth);
    y_.Add(glm::dot(d, up_), perspective_ ? kTangent * partY_ : 0.0, depth);
    nearest_ = std::min(nearest_, depth);
    farthest_ = std::max(farthest_, depth);
  }

  void Move(Camera& camera) const {
    if (nearest_ > farthest_) return;
    const double middle = (nearest_ + farthest_) / 2;
    // Where the sides of what is seen just touch; in perspective in front of all points, at least.
    const double distance = std::max(x_.GetHalf() / (kTangent * partX_), y_.GetHalf() / (kTangent * partY_));
    camera.distance_ =
        perspective_ ? std::max(distance, 1e-3 * (farthest_ - nearest_) - nearest_) + middle : distance;
    if (!(camera.distance_ > 1e-9)) camera.distance_ = 0.5 / kTangent;
    camera.target_ = origin_ + right_ * x_.GetMiddle() + up_ * y_.GetMiddle() + forward_ * middle;
  }

 private:
  const glm::dvec3 right_, up_, forward_;
  double partX_ = 1.0, partY_ = 1.0;  // of the picture, as parts of its height, that may be covered
  bool perspective_ = true;
  glm::dvec3 origin_ = glm::dvec3(0.0);
  Sides x_, y_;
  double nearest_ = std::numeric_limits<double>::max(), farthest_ = std::numeric_limits<double>::lowest();
};

void Camera::Fit(const std::vector<glm::dvec3>& points, double aspect) {
  Fitting fitting(*this, aspect);
  for (const glm::dvec3& point : points)
    fitting.Add(point);
  fitting.Move(*this);
}

void Camera::Fit(const DrawScene& scene, double aspect) {
  Fitting fitting(*this, aspect);
  for (std::uint32_t placement = 0; placement < scene.GetPlacementCount(); ++placement) {
    for (const glm::dvec3& corner : scene.GetCorners(placement))
      fitting.Add(corner);
  }
  for (const DrawBatch& wires : scene.GetWires()) {
    for (std::size_t i = 0; i < wires.placements.size(); ++i) {
      for (const glm::dvec3& corner : DrawScene::GetCorners(wires, i))
        fitting.Add(corner);
    }
  }
  fitting.Move(*this);
}

void Camera::Fit(const DrawScene& scene, const std::vector<std::uint32_t>& placements, double aspect) {
  Fitting fitting(*this, aspect);
  for (const std::uint32_t placement : placements) {
    for (const glm::dvec3& corner : scene.GetCorners(placement))
      fitting.Add(corner);
  }
  fitting.Move(*this);
}

void Camera::Orbit(double azimuth, double elevation) {
  const glm::dvec3 from = -forward_;
  const double level = std::sqrt(from.x * from.x + from.y * from.y);
  // Straight from above or below, what is upwards in the picture tells where the camera came from.
  const glm::dvec3 heading = level > kMinCosine ? from : (from.z > 0 ? -up_ : up_);
  const double turned = std::atan2(heading.y, heading.x) + azimuth;
  const double limit = glm::half_pi<double>() - kMinCosine;
  const double risen = std::clamp(std::atan2(from.z, level) + elevation, -limit, limit);
  SetDirection({std::cos(risen) * std::cos(turned), std::cos(risen) * std::sin(turned), std::sin(risen)},
               {0, 0, 1});
}

void Camera::Orbit(double azimuth, double elevation, const glm::dvec3& center) {
  const glm::dvec3 away = target_ - center;
  const glm::dvec3 seen(glm::dot(away, GetRight()), glm::dot(away, up_), glm::dot(away, forward_));
  Orbit(azimuth, elevation);
  target_ = center + GetRight() * seen.x + up_ * seen.y + forward_ * seen.z;
}

void Camera::Pan(double right, double up) {
  target_ += (GetRight() * right + up_ * up) * GetHeight();
}

void Camera::Zoom(double factor, const glm::dvec3& center) {
  if (!(factor > 0.0) || !std::isfinite(factor)) return;
  target_ = center + (target_ - center) / factor;
  distance_ /= factor;
}

Ray Camera::GetRay(const glm::dvec2& point, const glm::dvec2& size) const {
  return Lens(*this, size).GetRay(point);
}

glm::dvec3 Camera::Project(const glm::dvec3& point, const glm::dvec2& size) const {
  const glm::dvec3 d = point - GetEye();
  const double depth = glm::dot(d, forward_);
  const double scale =
      size.y / (2 * kTangent * (projection_ == Projection::kPerspective ? depth : distance_));
  return {size.x / 2 + glm::dot(d, GetRight()) * scale, size.y / 2 - glm::dot(d, up_) * scale, depth};
}

double Camera::GetPixelSize(double distance, const glm::dvec2& size) const {
  return Lens(*this, size).GetPixelSize(distance);
}

Lens::Lens(const Camera& camera, const glm::dvec2& size)
    : isPerspective_(camera.GetProjection() == Camera::Projection::kPerspective),
      middle_(size / 2.0),
      origin_(isPerspective_ ? camera.GetEye() : camera.GetTarget()),
      forward_(camera.GetForward()),
      scale_((isPerspective_ ? 2 * kTangent : camera.GetHeight()) / size.y) {
  right_ = camera.GetRight() * scale_;
  up_ = camera.GetUp() * scale_;
}

}  // namespace mirel
