#include <Viewer/Draw/AmbientOcclusion.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace mirel {

namespace {

// Pixels after which the directions repeat, and rays for each of them, one to each quarter of the horizon.
constexpr int kPattern = 4;
constexpr unsigned kQuarters = 4;

// Of the height of what is seen: how far away things still darken a surface.
constexpr double kReach = 0.16;

// How much darker the darkest corner is.
constexpr float kStrength = 0.85f;

// A direction about the z axis, and how far it is followed, as part of the reach.
struct Probe {
  glm::vec3 direction;
  float length;
};

float ReverseBits(unsigned index) {
  float value = 0.0f, digit = 0.5f;
  for (; index > 0; index /= 2, digit /= 2)
    value += static_cast<float>(index % 2) * digit;
  return value;
}

// The order in which the pixels of a pattern get their directions: neighbours far apart (a dither matrix).
unsigned GetOrder(unsigned x, unsigned y) {
  unsigned order = 0;
  for (unsigned bit = 0; bit < 2; ++bit) {
    const unsigned xBit = x >> bit & 1u, yBit = y >> bit & 1u;
    order |= (xBit ^ yBit) << (2 * (1 - bit) + 1) | yBit << (2 * (1 - bit));
  }
  return order;
}

using Pattern = std::array<std::array<Probe, kQuarters>, kPattern * kPattern>;

// Directions with the cosine to the surface as their density, so that their mean is the light of an even sky. Those of
// one pixel look to all sides, low and high, so that few pixels are enough for a fair mean.
Pattern MakePattern() {
  Pattern pattern{};
  for (unsigned y = 0; y < kPattern; ++y) {
    for (unsigned x = 0; x < kPattern; ++x) {
      const unsigned order = GetOrder(x, y);
      const float turn = ReverseBits(order) + 1.0f / 32.0f;
      for (unsigned quarter = 0; quarter < kQuarters; ++quarter) {
        const float level = std::fmod(static_cast<float>(order) * 0.6180340f, 1.0f);
        const float height = (static_cast<float>((quarter * 3 + order) % kQuarters) + level) / kQuarters;
        const float angle = 6.2831853f * (static_cast<float>(quarter) + turn) / kQuarters;
        const float radius = std::sqrt(1.0f - height);
        // Near things darken more than far ones.
        const float far = std::fmod(static_cast<float>(order * kQuarters + quarter) * 0.7548777f, 1.0f);
        pattern[y * kPattern + x][quarter] = {
            {radius * std::cos(angle), radius * std::sin(angle), std::sqrt(height)},
            0.15f + 0.85f * far * far};
      }
    }
  }
  return pattern;
}

glm::vec3 TurnTo(const glm::vec3& normal, const glm::vec3& direction) {
  const float sign = std::copysign(1.0f, normal.z);
  const float a = -1.0f / (sign + normal.z);
  const float b = normal.x * normal.y * a;
  const glm::vec3 x(1.0f + sign * normal.x * normal.x * a, sign * b, -sign * normal.x);
  const glm::vec3 y(b, sign + normal.y * normal.y * a, -normal.y);
  return x * direction.x + y * direction.y + normal * direction.z;
}

bool IsBeside(const Surface& a, const Surface& b) {
  return b.IsSeen() && glm::dot(a.flatNormal, b.flatNormal) > 0.9f &&
         std::abs(glm::dot(b.point - a.point, a.flatNormal)) < 4.0f * a.pixel;
}

}  // namespace

AmbientOcclusion::AmbientOcclusion(const SurfaceFinder& finder)
    : finder_(finder), reach_(finder.GetCamera().GetHeight() * kReach) {}

std::vector<std::uint8_t> AmbientOcclusion::CastRays(const std::vector<Surface>& surfaces, int left, int top,
                                                     int width) const {
  static const Pattern pattern = MakePattern();
  std::vector<std::uint8_t> blocked(surfaces.size(), 0);
  std::vector<Ray> rays;
  std::vector<std::size_t> places;
  rays.reserve(surfaces.size() * kQuarters);
  places.reserve(surfaces.size());
  const glm::dvec3& target = finder_.GetCamera().GetTarget();
  for (std::size_t place = 0; place < surfaces.size(); ++place) {
    const Surface& surface = surfaces[place];
    if (!surface.IsSeen()) continue;
    places.push_back(place);
    const auto column =
        static_cast<unsigned>(left) + static_cast<unsigned>(place % static_cast<unsigned>(width));
    const auto row = static_cast<unsigned>(top) + static_cast<unsigned>(place / static_cast<unsigned>(width));
    // Off the surface, so that facets of what is smooth do not shade each other.
    const glm::vec3 start = surface.point + surface.flatNormal * (0.5f * surface.pixel);
    for (const Probe& probe : pattern[row % kPattern * kPattern + column % kPattern]) {
      Ray ray;
      ray.origin = target + glm::dvec3(start);
      ray.direction = glm::normalize(glm::dvec3(TurnTo(surface.flatNormal, probe.direction)));
      ray.farthest = reach_ * static_cast<double>(probe.length);
      finder_.Clip(ray);
      rays.push_back(ray);
    }
  }
  std::vector<std::uint8_t> found(rays.size());
  finder_.GetCaster().FindBlocked(rays.data(), found.data(), rays.size());
  for (std::size_t i = 0; i < found.size(); ++i)
    blocked[places[i / kQuarters]] = static_cast<std::uint8_t>(blocked[places[i / kQuarters]] + found[i]);
  return blocked;
}

std::vector<float> AmbientOcclusion::Find(const std::vector<Surface>& surfaces, int left, int top,
                                          int width) const {
  const std::vector<std::uint8_t> blocked = CastRays(surfaces, left, top, width);
  std::vector<float> open(surfaces.size(), 1.0f);
  const int height = static_cast<int>(surfaces.size()) / width;
  for (int y = kBorder; y + kBorder < height; ++y) {
    for (int x = kBorder; x + kBorder < width; ++x) {
      const auto place = static_cast<std::ptrdiff_t>(y) * width + x;
      const Surface& own = surfaces[static_cast<std::size_t>(place)];
      if (!own.IsSeen()) continue;
      int cast = 0, dark = 0;
      for (int j = -kPattern / 2; j < kPattern / 2; ++j) {
        for (int i = -kPattern / 2; i < kPattern / 2; ++i) {
          const auto other = static_cast<std::size_t>(place + j * width + i);
          if (!IsBeside(own, surfaces[other])) continue;
          cast += kQuarters;
          dark += blocked[other];
        }
      }
      open[static_cast<std::size_t>(place)] =
          1.0f - kStrength * static_cast<float>(dark) / static_cast<float>(std::max(1, cast));
    }
  }
  return open;
}

}  // namespace mirel
