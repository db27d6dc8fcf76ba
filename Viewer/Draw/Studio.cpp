#include <Viewer/Draw/Studio.h>

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/Look.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace mirel {

namespace {

float Decode(float component) {
  return component <= 0.04045f ? component / 12.92f : std::pow((component + 0.055f) / 1.055f, 2.4f);
}

// Linear light, in steps fine enough for the darkest tones.
constexpr int kSteps = 1 << 14;

std::array<std::uint8_t, kSteps + 1> MakeTable() {
  std::array<std::uint8_t, kSteps + 1> table{};
  for (int i = 0; i <= kSteps; ++i) {
    const float linear = static_cast<float>(i) / kSteps;
    const float encoded =
        linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
    table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(encoded * 255.0f + 0.5f);
  }
  return table;
}

glm::vec3 Turn(const Camera& camera, const glm::vec3& view) {
  return glm::normalize(glm::vec3(camera.GetRight()) * view.x + glm::vec3(camera.GetUp()) * view.y -
                        glm::vec3(camera.GetForward()) * view.z);
}

}  // namespace

Studio::Studio(const Camera& camera)
    : up_(glm::normalize(glm::vec3(camera.GetUp()) + glm::vec3(0.0f, 0.0f, 1.0f) * 0.999f)),
      key_{Turn(camera, look::kKeyDirection), look::kKeyStrength},
      fill_{Turn(camera, look::kFillDirection), look::kFillStrength} {}

glm::vec3 Studio::Light(const glm::vec3& color, const glm::vec3& normal, const glm::vec3& view,
                        float open) const {
  const float upwards = 0.5f + 0.5f * glm::dot(normal, up_);
  const float room = look::kGroundLight + (look::kSkyLight - look::kGroundLight) * upwards;
  const float key = std::max(0.0f, glm::dot(normal, key_.direction)) * key_.strength;
  const float fill = std::max(0.0f, glm::dot(normal, fill_.direction)) * fill_.strength;
  // Lamps are large: what stands close takes some of their light too.
  const float shade = look::kLampInCorners + (1.0f - look::kLampInCorners) * open;
  const float light = room * open + (key + fill) * shade;
  const glm::vec3 half = glm::normalize(key_.direction + view);
  const float gloss = look::kGloss * std::pow(std::max(0.0f, glm::dot(normal, half)), look::kGlossPower);
  const float rim = 1.0f - std::max(0.0f, glm::dot(normal, view));
  const float mirror = look::kRimLight * rim * rim * rim;
  return ToLinear(color) * light + glm::vec3(gloss * shade + mirror * open);
}

glm::vec3 Studio::LightCut(const glm::vec3& color) {
  return ToLinear(color) * look::kCutLight + look::kCutGlow;
}

glm::vec3 Studio::GetBackdrop(float down) {
  static const glm::vec3 top = ToLinear(look::kBackdropTop), bottom = ToLinear(look::kBackdropBottom);
  const float t = down * down * (3.0f - 2.0f * down);
  return top + (bottom - top) * t;
}

glm::vec3 Studio::ToLinear(const glm::vec3& srgb) {
  return {Decode(srgb.r), Decode(srgb.g), Decode(srgb.b)};
}

std::uint8_t Studio::ToByte(float linear) {
  static const std::array<std::uint8_t, kSteps + 1> table = MakeTable();
  const float step = std::clamp(linear, 0.0f, 1.0f) * kSteps;
  return table[static_cast<std::size_t>(step + 0.5f)];
}

}  // namespace mirel
