#include <Viewer/Draw/AmbientOcclusion.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace mirel {

namespace {

// Pixels after which the directions repeat, and rays for each of them, one to each quarter of the horizon.
constexpr int kPattern = 4;
constexpr unsigned kQuarters = 4;

// Of the same place in several patterns, directions are much the same: their rays are fast together.
constexpr int kBlockWidth = 4 * kPattern, kBlockHeight = 2 * kPattern;
constexpr std::size_t kGridSize = 8;

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

// The directions along a surface, for a normal.
struct Axes {
  glm::vec3 x{0.0f}, y{0.0f}, normal{0.0f};

  Axes() = default;
  explicit Axes(const glm::vec3& up) : normal(up) {
    const float sign = std::copysign(1.0f, normal.z);
    const float a = -1.0f / (sign + normal.z);
    const float b = normal.x * normal.y * a;
    x = glm::vec3(1.0f + sign * normal.x * normal.x * a, sign * b, -sign * normal.x);
    y = glm::vec3(b, sign + normal.y * normal.y * a, -normal.y);
  }

  glm::vec3 Turn(const glm::vec3& direction) const {
    return x * direction.x + y * direction.y + normal * direction.z;
  }
};

// Whether two places are on one surface, up to some angle, and pixels that it may have bent away.
bool IsBeside(const Surface& a, const Surface& b, float cosine = 0.9f, float pixels = 4.0f) {
  return b.IsSeen() && glm::dot(a.flatNormal, b.flatNormal) > cosine &&
         std::abs(glm::dot(b.point - a.point, a.flatNormal)) < pixels * a.pixel;
}

// For each place the sum of `counts` over the pattern around it; without meaning at the rim.
std::vector<std::uint8_t> SumUp(const std::vector<std::uint8_t>& counts, int width) {
  const auto size = static_cast<std::ptrdiff_t>(counts.size());
  std::vector<std::uint8_t> rows(counts.size()), sums(counts.size());
  const auto add = [size](const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t step) {
    static_assert(kPattern == 4, "from two before to one behind");
    for (std::ptrdiff_t i = 2 * step; i + step < size; ++i)
      to[i] = static_cast<std::uint8_t>(from[i - 2 * step] + from[i - step] + from[i] + from[i + step]);
  };
  add(counts.data(), rows.data(), 1);
  add(rows.data(), sums.data(), width);
  return sums;
}

// Of the pattern around a place, what is on the same surface: rays that were cast there, and those that were blocked.
void CountBeside(const std::vector<Surface>& surfaces, const std::vector<std::uint8_t>& blocked,
                 std::size_t place, int width, int& cast, int& dark) {
  cast = dark = 0;
  for (int j = -kPattern / 2; j < kPattern / 2; ++j) {
    for (int i = -kPattern / 2; i < kPattern / 2; ++i) {
      const auto other =
          static_cast<std::size_t>(static_cast<std::ptrdiff_t>(place) + std::ptrdiff_t{j} * width + i);
      if (!IsBeside(surfaces[place], surfaces[other])) continue;
      cast += kQuarters;
      dark += blocked[other];
    }
  }
}

// 1 where a surface bends, or ends, towards its right or lower neighbour.
std::vector<std::uint8_t> MarkUneven(const std::vector<Surface>& surfaces, int width) {
  std::vector<std::uint8_t> marks(surfaces.size(), 1);
  for (std::size_t i = 0; i + static_cast<std::size_t>(width) < surfaces.size(); ++i) {
    const Surface& own = surfaces[i];
    if (own.IsSeen() && IsBeside(own, surfaces[i + 1], 0.99f, 1.0f) &&
        IsBeside(own, surfaces[i + static_cast<std::size_t>(width)], 0.99f, 1.0f))
      marks[i] = 0;
  }
  return marks;
}

}  // namespace

// Those of a block, and the places that they leave.
struct AmbientOcclusion::Rays {
  static constexpr std::size_t kMost = kQuarters * kBlockWidth * kBlockHeight;

  std::array<ShortRay, kMost> list;
  std::array<std::size_t, kMost> places = {};
  std::array<std::uint8_t, kMost> blocked = {};
  std::size_t count = 0;
};

AmbientOcclusion::AmbientOcclusion(const SurfaceFinder& finder)
    : finder_(finder),
      target_(finder.GetCamera().GetTarget() - finder.GetCaster().GetCenter()),
      reach_(static_cast<float>(finder.GetCamera().GetHeight() * kReach)) {}

std::vector<std::uint8_t> AmbientOcclusion::CastRays(const std::vector<Surface>& surfaces, int left, int top,
                                                     int width) const {
  std::vector<std::uint8_t> blocked(surfaces.size(), 0);
  const int height = static_cast<int>(surfaces.size()) / width;
  const auto rays = std::make_unique<Rays>();
  for (int y = 0; y < height; y += kBlockHeight) {
    for (int x = 0; x < width; x += kBlockWidth) {
      for (int place = 0; place < kPattern * kPattern; ++place) {
        Grid grid = {x + place % kPattern, y + place / kPattern, std::min(x + kBlockWidth, width),
                     std::min(y + kBlockHeight, height)};
        AddRays(surfaces, grid, left, top, width, *rays);
      }
      finder_.GetCaster().FindBlocked(rays->list.data(), rays->blocked.data(), rays->count);
      for (std::size_t i = 0; i < rays->count; ++i)
        blocked[rays->places[i]] = static_cast<std::uint8_t>(blocked[rays->places[i]] + rays->blocked[i]);
      rays->count = 0;
    }
  }
  return blocked;
}

void AmbientOcclusion::AddRays(const std::vector<Surface>& surfaces, const Grid& grid, int left, int top,
                               int width, Rays& rays) const {
  static const Pattern pattern = MakePattern();
  std::array<Axes, kGridSize> axes;
  std::array<glm::vec3, kGridSize> starts = {};
  std::array<std::size_t, kGridSize> places = {};
  std::size_t count = 0;
  for (int y = grid.top; y < grid.bottom; y += kPattern) {
    for (int x = grid.left; x < grid.right; x += kPattern) {
      const auto place = static_cast<std::size_t>(y * width + x);
      const Surface& surface = surfaces[place];
      if (!surface.IsSeen()) continue;
      axes[count] = Axes(surface.flatNormal);
      // Off the surface, so that facets of what is smooth do not shade each other.
      starts[count] = target_ + surface.point + surface.flatNormal * (0.5f * surface.pixel);
      places[count++] = place;
    }
  }
  const unsigned column = static_cast<unsigned>(left + grid.left) % kPattern,
                 row = static_cast<unsigned>(top + grid.top) % kPattern;
  for (const Probe& probe : pattern[row * kPattern + column]) {
    for (std::size_t i = 0; i < count; ++i) {
      const ShortRay ray = {starts[i], axes[i].Turn(probe.direction), reach_ * probe.length};
      rays.list[rays.count] = finder_.GetSections().empty() ? ray : Clip(ray);
      rays.places[rays.count++] = places[i];
    }
  }
}

// What section planes leave of a ray.
ShortRay AmbientOcclusion::Clip(const ShortRay& ray) const {
  Ray whole;
  whole.origin = finder_.GetCaster().GetCenter() + glm::dvec3(ray.origin);
  whole.direction = glm::dvec3(ray.direction);
  whole.farthest = static_cast<double>(ray.length);
  finder_.Clip(whole);
  double start = 0.0;
  return finder_.GetCaster().Shorten(whole, start);
}

std::vector<float> AmbientOcclusion::Find(const std::vector<Surface>& surfaces, int left, int top,
                                          int width) const {
  const std::vector<std::uint8_t> blocked = CastRays(surfaces, left, top, width);
  const std::vector<std::uint8_t> darkAround = SumUp(blocked, width),
                                  unevenAround = SumUp(MarkUneven(surfaces, width), width);
  std::vector<float> open(surfaces.size(), 1.0f);
  const int height = static_cast<int>(surfaces.size()) / width;
  for (int y = kBorder; y + kBorder < height; ++y) {
    for (int x = kBorder; x + kBorder < width; ++x) {
      const auto place = static_cast<std::size_t>(y * width + x);
      if (!surfaces[place].IsSeen()) continue;
      int cast = kPattern * kPattern * static_cast<int>(kQuarters), dark = darkAround[place];
      if (unevenAround[place] > 0) CountBeside(surfaces, blocked, place, width, cast, dark);
      open[place] = 1.0f - kStrength * static_cast<float>(dark) / static_cast<float>(std::max(1, cast));
    }
  }
  return open;
}

}  // namespace mirel
