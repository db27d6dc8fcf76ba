#include <Viewer/Draw/GL/ViewBlock.h>

#include <Viewer/Draw/Look.h>
#include <Viewer/Draw/Studio.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <limits>

namespace mirel {

namespace {

// Of the height of what is seen: nearer things are not drawn in perspective. Reversed depths lose no digits by a small one.
constexpr double kNearest = 1e-5, kNearestNotReversed = 1e-2;

struct Depths {
  double nearest = std::numeric_limits<double>::max();
  double farthest = std::numeric_limits<double>::lowest();
};

Depths FindDepths(const Camera& camera, const AABoxT<double>& box) {
  Depths depths;
  if (!box.IsFinite()) return {0.0, 1.0};
  for (const glm::dvec3& corner : GetBoxCorners(box)) {
    const double depth = glm::dot(corner - camera.GetEye(), camera.GetForward());
    depths.nearest = std::min(depths.nearest, depth);
    depths.farthest = std::max(depths.farthest, depth);
  }
  // Rounding may put a surface a little outside of the box.
  const double margin = 1e-3 * (depths.farthest - depths.nearest) + 1e-6;
  return {depths.nearest - margin, depths.farthest + margin};
}

glm::vec4 TurnLamp(const Camera& camera, const glm::vec3& seen, float strength) {
  return glm::vec4(glm::normalize(glm::vec3(camera.GetRight()) * seen.x + glm::vec3(camera.GetUp()) * seen.y -
                                  glm::vec3(camera.GetForward()) * seen.z),
                   strength);
}

void FillLens(const Camera& camera, const GLViewOptions& options, const Depths& depths, bool isReversed,
              ViewBlock& block) {
  const glm::dvec2 size(options.width, options.height);
  const bool isPerspective = camera.GetProjection() == Camera::Projection::kPerspective;
  const double pixel = camera.GetPixelSize(1.0, size);
  block.pixel.x = static_cast<float>(pixel);
  block.lens = glm::vec4(2.0 / (pixel * size.x), 2.0 / (pixel * size.y), 0.0f, 0.0f);
  const double nearest =
      std::max(depths.nearest, (isReversed ? kNearest : kNearestNotReversed) * camera.GetHeight());
  block.depthMap = isPerspective ? glm::vec4(nearest, 0.0f, 0.0f, 1.0f)
                                 : glm::vec4(depths.farthest, depths.farthest - depths.nearest, 0.0f, 0.0f);
  block.depthMap.z = isReversed ? 1.0f : 0.0f;
}

void FillSections(const Camera& camera, const GLViewOptions& options, ViewBlock& block) {
  const int count = std::min<int>(kMaxSections, static_cast<int>(options.sections.size()));
  block.size.z = count;
  for (int i = 0; i < count; ++i) {
    const SectionPlane& plane = options.sections[static_cast<std::size_t>(i)];
    const glm::dvec3 aside =
        glm::normalize(glm::abs(plane.normal.z) < 0.9 ? glm::cross(glm::dvec3(0, 0, 1), plane.normal)
                                                      : glm::cross(glm::dvec3(0, 1, 0), plane.normal));
    block.planes[i] = glm::vec4(glm::vec3(plane.normal), plane.GetDistance(camera.GetEye()));
    block.hatchAside[i] = glm::vec4(glm::vec3(aside), 0.0f);
    block.hatchAlong[i] = glm::vec4(glm::vec3(glm::cross(plane.normal, aside)), 0.0f);
  }
}

void FillLight(const Camera& camera, const GLViewOptions& options, ViewBlock& block) {
  block.key = TurnLamp(camera, look::kKeyDirection, look::kKeyStrength);
  block.fill = TurnLamp(camera, look::kFillDirection, look::kFillStrength);
  block.sky =
      glm::vec4(glm::normalize(glm::vec3(camera.GetUp()) + glm::vec3(0.0f, 0.0f, 1.0f) * 0.999f), 0.0f);
  block.backdrop =
      glm::vec4(Studio::ToLinear(options.backgroundColor), static_cast<float>(options.background));
}

}  // namespace

void FillView(const Camera& camera, const GLViewOptions& options, const AABoxT<double>& box,
              const glm::dvec3& anchor, bool isReversed, ViewBlock& block) {
  const glm::dvec3 eye = camera.GetEye() - anchor;
  block.right = glm::vec4(glm::vec3(camera.GetRight()), 0.0f);
  block.up = glm::vec4(glm::vec3(camera.GetUp()), 0.0f);
  block.forward = glm::vec4(glm::vec3(camera.GetForward()), 0.0f);
  block.eyeHigh = glm::vec4(glm::vec3(eye), 0.0f);
  block.eyeLow = glm::vec4(glm::vec3(eye - glm::dvec3(glm::vec3(eye))), 0.0f);
  block.target = glm::vec4(glm::vec3(camera.GetTarget() - camera.GetEye()), 0.0f);
  FillLens(camera, options, FindDepths(camera, box), isReversed, block);
  FillSections(camera, options, block);
  FillLight(camera, options, block);
  const auto side = static_cast<float>(std::min(options.width, options.height));
  block.pixel.y = options.offsetFactor;
  block.pixel.z = look::GetLineStrength(side);
  block.pixel.w =
      static_cast<float>(camera.GetHeight() / options.height) * look::kHatchPitch * look::GetLineRadius(side);
  block.size.x = options.width;
  block.size.y = options.height;
  block.modes.x = static_cast<int>(options.edges);
}

void FillSample(const glm::vec2& sample, int number, const GLViewOptions& options, ViewBlock& block) {
  // The scene moves the other way; OpenGL counts from below.
  block.lens.z = (0.5f - sample.x) * 2.0f / static_cast<float>(options.width);
  block.lens.w = (sample.y - 0.5f) * 2.0f / static_cast<float>(options.height);
  block.size.w = number;
  // The neighbour away from which the sample lies: the middles of all pairs are spread evenly over the pixel.
  block.extras.x = sample.x < 0.5f ? 1 : -1;
  block.extras.y = sample.y < 0.5f ? -1 : 1;
}

}  // namespace mirel
