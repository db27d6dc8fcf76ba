#include <Viewer/Draw/Studio.h>

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/Look.h>

#include <Viewer/Kernel/Host/GeometryView/Srgb.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace mirel {

namespace {

// In steps fine enough for the darkest tones: of light, and of what lies between two of them in a straight line.
constexpr int kByteSteps = 1 << 14, kLightSteps = 1 << 10;

std::array<std::uint8_t, kByteSteps + 1> MakeByteTable() {
  std::array<std::uint8_t, kByteSteps + 1> table{};
  for (int i = 0; i <= kByteSteps; ++i)
    table[static_cast<std::size_t>(i)] =
        static_cast<std::uint8_t>(Srgb::FromLinear(static_cast<float>(i) / kByteSteps) * 255.0f + 0.5f);
  return table;
}

std::array<float, kLightSteps + 2> MakeLightTable() {
  std::array<float, kLightSteps + 2> table{};
  for (std::size_t i = 0; i < table.size(); ++i)
    table[i] = Srgb::ToLinear(static_cast<float>(i) / kLightSteps);
  return table;
}

float Power(float base, unsigned exponent) {
  float power = 1.0f;
  for (; exponent > 0; exponent /= 2, base *= base)
    power *= exponent % 2 != 0 ? base : 1.0f;
  return power;
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
  const float gloss =
      look::kGloss * Power(std::max(0.0f, glm::dot(normal, half)), static_cast<unsigned>(look::kGlossPower));
  const float rim = 1.0f - std::max(0.0f, glm::dot(normal, view));
  const float mirror = look::kRimLight * rim * rim * rim;
  return color * light + glm::vec3(gloss * shade + mirror * open);
}

glm::vec3 Studio::LightCut(const glm::vec3& color) {
  return color * look::kCutLight + look::kCutGlow;
}

glm::vec3 Studio::GetBackdrop(float down) {
  static const glm::vec3 top = ToLinear(look::kBackdropTop), bottom = ToLinear(look::kBackdropBottom);
  const float t = down * down * (3.0f - 2.0f * down);
  return top + (bottom - top) * t;
}

glm::vec3 Studio::ToLinear(const glm::vec3& srgb) {
  static const std::array<float, kLightSteps + 2> table = MakeLightTable();
  glm::vec3 light;
  for (int i = 0; i < 3; ++i) {
    const float step = std::min(1.0f, std::max(0.0f, srgb[i])) * kLightSteps;
    const auto below = static_cast<std::size_t>(step);
    light[i] = table[below] + (table[below + 1] - table[below]) * (step - static_cast<float>(below));
  }
  return light;
}

std::uint8_t Studio::ToByte(float linear) {
  static const std::array<std::uint8_t, kByteSteps + 1> table = MakeByteTable();
  const float step = std::clamp(linear, 0.0f, 1.0f) * kByteSteps;
  return table[static_cast<std::size_t>(step + 0.5f)];
}

}  // namespace mirel
