#include <Viewer/Draw/TilePainter.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Look.h>
#include <Viewer/Draw/Selection.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace mirel {

namespace {

// Around a tile: what the mean of the occlusion needs.
constexpr int kBorder = AmbientOcclusion::kBorder + 1;

float GetSmallerSide(const PictureOptions& options) {
  return static_cast<float>(std::min(options.width, options.height));
}

}  // namespace

/// The surfaces of one tile and what is around it.
class TilePainter::Tile {
 public:
  Tile(const TilePainter& painter, int left, int top, int width, int height)
      : painter_(painter),
        left_(left - kBorder),
        top_(top - kBorder),
        width_(width + 2 * kBorder),
        height_(height + 2 * kBorder) {
    isEmpty_ = painter_.finder_.IsAside(GetCenter(0, 0), GetCenter(width_ - 1, height_ - 1)) &&
               painter_.looseEdges_.IsEmpty();
    if (isEmpty_) return;
    const std::size_t count = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    solids_.resize(count);
    FindCenters(solids_, RayCaster::Layer::kSolid);
    if (painter_.hasGhosts_) {
      ghosts_.resize(count);
      FindCenters(ghosts_, RayCaster::Layer::kGhost);
      for (std::size_t i = 0; i < count; ++i)
        HideBehind(solids_[i], ghosts_[i]);
    }
    MarkRough();
    FindSamples();
    if (painter_.options_.ambientOcclusion) open_ = painter_.occlusion_.Find(solids_, left_, top_, width_);
    if (!painter_.looseEdges_.IsEmpty()) DrawLooseEdges();
  }

  void Paint(Picture& picture) {
    for (int y = kBorder; y + kBorder < height_; ++y) {
      const glm::vec3 behind = GetBehind(y);
      std::array<std::uint8_t, 4> empty = {};
      Store(glm::vec4(0.0f), behind, empty.data());
      for (int x = kBorder; x + kBorder < width_; ++x) {
        std::uint8_t* const pixel = picture.GetPixel(left_ + x, top_ + y);
        if (ShowsNothing(At(x, y)))
          std::copy(empty.begin(), empty.end(), pixel);
        else
          PaintPixel(x, y, behind, pixel);
      }
    }
  }

 private:
  static constexpr std::uint32_t kSmooth = 0xFFFFFFFFu;  // no samples but the one in the middle

  std::size_t At(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }
  glm::vec2 GetCenter(int x, int y) const {
    return {static_cast<float>(left_ + x) + 0.5f, static_cast<float>(top_ + y) + 0.5f};
  }

  bool ShowsNothing(std::size_t place) const {
    return isEmpty_ ||
           (first_[place] == kSmooth && !solids_[place].IsSeen() && ghosts_.empty() && lines_.empty());
  }

  // What is behind everything in a row.
  glm::vec3 GetBehind(int y) const {
    const PictureOptions& options = painter_.options_;
    if (options.background == PictureOptions::Background::kColor)
      return Studio::ToLinear(options.backgroundColor);
    return Studio::GetBackdrop((static_cast<float>(top_ + y) + 0.5f) / static_cast<float>(options.height));
  }

  static void HideBehind(const Surface& solid, Surface& ghost) {
    if (solid.IsSeen() && solid.depth <= ghost.depth) ghost = Surface();
  }

  void FindCenters(std::vector<Surface>& surfaces, RayCaster::Layer layer) const {
    // In blocks, whose rays stay close to each other.
    constexpr int kBlockWidth = 4, kBlockHeight = 2;
    std::vector<SurfaceFinder::Point> points;
    points.reserve(surfaces.size());
    for (int top = 0; top < height_; top += kBlockHeight) {
      for (int left = 0; left < width_; left += kBlockWidth) {
        const int bottom = std::min(top + kBlockHeight, height_),
                  right = std::min(left + kBlockWidth, width_);
        if (painter_.finder_.IsAside(GetCenter(left, top), GetCenter(right - 1, bottom - 1))) continue;
        for (int y = top; y < bottom; ++y) {
          for (int x = left; x < right; ++x)
            points.push_back({GetCenter(x, y), static_cast<std::uint32_t>(At(x, y))});
        }
      }
    }
    painter_.finder_.Find(points, surfaces, layer);
  }

  bool DiffersFrom(std::size_t a, std::size_t b) const {
    return EdgeRule::IsRough(solids_[a], solids_[b]) ||
           (!ghosts_.empty() && EdgeRule::IsRough(ghosts_[a], ghosts_[b]));
  }

  // Rough are pixels beside which something else is seen, and their neighbours: something thin may pass there.
  void MarkRough() {
    std::vector<std::uint8_t> marks(solids_.size(), 0);
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        const std::size_t own = At(x, y);
        if (x + 1 < width_ && DiffersFrom(own, At(x + 1, y))) marks[own] = marks[At(x + 1, y)] = 1;
        if (y + 1 < height_ && DiffersFrom(own, At(x, y + 1))) marks[own] = marks[At(x, y + 1)] = 1;
      }
    }
    const auto perPixel = static_cast<std::uint32_t>(painter_.samples_.size());
    first_.assign(solids_.size(), kSmooth);
    std::uint32_t next = 0;
    for (int y = kBorder - 1; y <= height_ - kBorder; ++y) {
      for (int x = kBorder - 1; x <= width_ - kBorder; ++x) {
        const bool isCut = solids_[At(x, y)].IsCut();  // hatched
        if (!isCut && !IsNearMark(marks, x, y)) continue;
        first_[At(x, y)] = next;
        next += perPixel;
      }
    }
    samples_.resize(next);
    if (!ghosts_.empty()) ghostSamples_.resize(next);
  }

  bool IsNearMark(const std::vector<std::uint8_t>& marks, int x, int y) const {
    return marks[At(x, y)] != 0 || marks[At(x - 1, y)] != 0 || marks[At(x + 1, y)] != 0 ||
           marks[At(x, y - 1)] != 0 || marks[At(x, y + 1)] != 0;
  }

  void FindSamples() {
    const std::size_t perPixel = painter_.samples_.size();
    std::vector<SurfaceFinder::Point> points;
    points.reserve(samples_.size());
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        if (first_[At(x, y)] == kSmooth) continue;
        const glm::vec2 corner = GetCenter(x, y) - 0.5f;
        for (std::size_t k = 0; k < perPixel; ++k)
          points.push_back({corner + painter_.samples_[k], static_cast<std::uint32_t>(points.size())});
      }
    }
    painter_.finder_.Find(points, samples_, RayCaster::Layer::kSolid);
    if (ghosts_.empty()) return;
    painter_.finder_.Find(points, ghostSamples_, RayCaster::Layer::kGhost);
    for (std::size_t i = 0; i < points.size(); ++i)
      HideBehind(samples_[i], ghostSamples_[i]);
  }

  // How dark the line through a pixel is: in a disc around its middle, twice the share of what lies beyond an edge.
  float FindLine(int x, int y, const std::vector<Surface>& centers,
                 const std::vector<Surface>& samples) const {
    if (first_[At(x, y)] == kSmooth || painter_.options_.edges == PictureOptions::Edges::kNone) return 0.0f;
    const Surface& own = centers[At(x, y)];
    int inside = 0, beyond = 0;
    std::array<std::uint32_t, 9> bodies = {};
    std::size_t bodyCount = 0;
    for (int j = -1; j <= 1; ++j) {
      for (int i = -1; i <= 1; ++i) {
        const std::size_t place = At(x + i, y + j);
        const std::uint32_t body = centers[place].placement;
        if (std::find(bodies.begin(), bodies.begin() + bodyCount, body) == bodies.begin() + bodyCount)
          bodies[bodyCount++] = body;
        const std::vector<std::uint32_t>& near =
            painter_.nearSamples_[static_cast<std::size_t>(3 * j + i + 4)];
        inside += static_cast<int>(near.size());
        if (first_[place] != kSmooth) {
          for (const std::uint32_t k : near)
            beyond += painter_.edges_.IsEdge(own, samples[first_[place] + k]) ? 1 : 0;
        } else if (!near.empty() && painter_.edges_.IsEdge(own, centers[place])) {
          beyond += static_cast<int>(near.size());
        }
      }
    }
    if (inside == 0) return 0.0f;
    // Where many bodies meet in a few pixels, lines would leave nothing else.
    const float crowd = bodyCount > 3 ? 3.0f / static_cast<float>(bodyCount) : 1.0f;
    return std::min(1.0f, 2.0f * static_cast<float>(beyond) / static_cast<float>(inside)) * crowd;
  }

  void DrawLooseEdges() {
    lines_.assign(solids_.size(), glm::vec4(0.0f));
    painter_.looseEdges_.ForEach({left_, top_}, {left_ + width_, top_ + height_},
                                 [&](const LooseEdges::Line& line) { DrawLine(line); });
  }

  // Goes along the axis that the line follows more, and for each step across the pixels that it may cover.
  void DrawLine(const LooseEdges::Line& line) {
    const glm::dvec2 from = glm::dvec2(line.from) - glm::dvec2(left_, top_),
                     to = glm::dvec2(line.to) - glm::dvec2(left_, top_);
    const glm::dvec2 way = to - from;
    const int axis = std::abs(way.x) >= std::abs(way.y) ? 0 : 1;
    const int length = axis == 0 ? width_ : height_, breadth = axis == 0 ? height_ : width_;
    const double reach = static_cast<double>(painter_.lineRadius_) + 1.0;
    const int first = ToPixel(std::min(from[axis], to[axis]) - reach, length);
    const int last = ToPixel(std::max(from[axis], to[axis]) + reach, length);
    for (int step = first; step < last; ++step) {
      const double part =
          way[axis] != 0.0 ? std::clamp((step + 0.5 - from[axis]) / way[axis], 0.0, 1.0) : 0.0;
      const double middle = from[1 - axis] + way[1 - axis] * part;
      for (int aside = ToPixel(middle - 1.5 * reach, breadth);
           aside < ToPixel(middle + 1.5 * reach + 1.0, breadth); ++aside)
        CoverPixel(line, from, way, axis == 0 ? step : aside, axis == 0 ? aside : step);
    }
  }

  static int ToPixel(double place, int limit) {
    return place > 0.0 ? static_cast<int>(std::min(place, static_cast<double>(limit))) : 0;
  }

  void CoverPixel(const LooseEdges::Line& line, const glm::dvec2& from, const glm::dvec2& way, int x, int y) {
    const glm::dvec2 place = glm::dvec2(x + 0.5, y + 0.5) - from;
    const double square = glm::dot(way, way);
    const double part = square > 0.0 ? std::clamp(glm::dot(place, way) / square, 0.0, 1.0) : 0.0;
    const double distance = glm::length(place - way * part);
    const double cover = std::clamp(static_cast<double>(painter_.lineRadius_) + 0.5 - distance, 0.0, 1.0);
    const Surface& solid = solids_[At(x, y)];
    const double depth = painter_.looseEdges_.GetDepth(line, part);
    if (solid.IsSeen() && depth > static_cast<double>(solid.depth + look::kStepPixels * solid.pixel)) return;
    const float alpha = static_cast<float>(cover) * (line.ghost ? look::kGhostLine : painter_.lineStrength_);
    glm::vec4& own = lines_[At(x, y)];
    if (alpha > own.a) own = glm::vec4(Studio::ToLinear(line.color) * alpha, alpha);
  }

  // Few faces are seen at a time: their colors are kept.
  const glm::vec3& GetColor(const Surface& surface) {
    KnownColor& known = colors_[(surface.placement * 31 + surface.face) % colors_.size()];
    if (known.placement != surface.placement || known.face != surface.face)
      known = {surface.placement, surface.face, painter_.GetColor(surface.placement, surface.face)};
    return known.color;
  }

  void PaintPixel(int x, int y, const glm::vec3& behind, std::uint8_t* pixel) {
    const std::size_t place = At(x, y);
    const float open = open_.empty() ? 1.0f : open_[place];
    const std::uint32_t first = first_[place];
    const bool smooth = first == kSmooth;
    const std::size_t count = smooth ? 1 : painter_.samples_.size();
    glm::vec3 color(0.0f);
    float cover = 0.0f;
    glm::vec4 veil(0.0f);  // what ghosts put in front, premultiplied
    for (std::size_t k = 0; k < count; ++k) {
      const Surface& solid = smooth ? solids_[place] : samples_[first + k];
      if (solid.IsSeen()) {
        color += painter_.Shade(solid, GetColor(solid), open);
        cover += 1.0f;
      }
      if (ghosts_.empty()) continue;
      const Surface& ghost = smooth ? ghosts_[place] : ghostSamples_[first + k];
      if (ghost.IsSeen()) veil += painter_.ShadeGhost(ghost, GetColor(ghost));
    }
    const float weight = 1.0f / static_cast<float>(count);
    color *= weight;
    cover *= weight;
    const float line = painter_.lineStrength_ * FindLine(x, y, solids_, samples_);
    glm::vec4 result(color * (1.0f - line) + look::kLineColor * line, cover + (1.0f - cover) * line);
    if (!ghosts_.empty()) {
      veil *= weight;
      const float ghostLine = look::kGhostLine * FindLine(x, y, ghosts_, ghostSamples_);
      veil = veil * (1.0f - ghostLine) + glm::vec4(look::kLineColor, 1.0f) * ghostLine;
      result = veil + result * (1.0f - veil.a);
    }
    if (!lines_.empty()) result = lines_[place] + result * (1.0f - lines_[place].a);
    Store(result, behind, pixel);
  }

  void Store(const glm::vec4& light, const glm::vec3& behind, std::uint8_t* pixel) const {
    glm::vec3 color(light);
    if (painter_.options_.background == PictureOptions::Background::kNone) {
      if (light.a > 0.0f) color /= light.a;
      pixel[3] = static_cast<std::uint8_t>(std::lround(std::min(light.a, 1.0f) * 255.0f));
    } else {
      color += behind * (1.0f - light.a);
      pixel[3] = 255;
    }
    for (int i = 0; i < 3; ++i)
      pixel[i] = Studio::ToByte(color[i]);
  }

  struct KnownColor {
    std::uint32_t placement = FaceMap::kNothing, face = 0;
    glm::vec3 color{0.0f};
  };

  const TilePainter& painter_;
  const int left_, top_, width_, height_;
  bool isEmpty_ = false;                  // nothing at all can be seen here
  std::vector<Surface> solids_, ghosts_;  // in the middle of each pixel; no ghosts when there are none
  std::vector<std::uint32_t> first_;      // of a pixel's samples
  std::vector<Surface> samples_, ghostSamples_;
  std::vector<float> open_;
  std::vector<glm::vec4> lines_;  // of loose edges, premultiplied; empty when there are none
  std::array<KnownColor, 64> colors_;
};

TilePainter::TilePainter(const SurfaceFinder& finder, const PictureOptions& options, bool hasGhosts)
    : finder_(finder),
      options_(options),
      hasGhosts_(hasGhosts),
      edges_(options.edges, finder.GetCaster().GetScene()),
      looseEdges_(finder.GetCaster().GetScene(), finder.GetCamera(), options),
      studio_(finder.GetCamera()),
      occlusion_(finder),
      eye_(finder.GetCamera().GetEye() - finder.GetCamera().GetTarget()),
      lineRadius_(look::GetLineRadius(GetSmallerSide(options))),
      lineStrength_(look::GetLineStrength(GetSmallerSide(options))) {
  int side = 1;
  while (side * side < options.samples && side < 8)
    ++side;
  for (int i = 0; i < side * side; ++i)
    samples_.push_back((glm::vec2(i % side, i / side) + 0.5f) / static_cast<float>(side));
  for (int neighbour = 0; neighbour < 9; ++neighbour) {
    for (std::uint32_t k = 0; k < samples_.size(); ++k) {
      const glm::vec2 d = samples_[k] - 0.5f + glm::vec2(neighbour % 3 - 1, neighbour / 3 - 1);
      if (glm::dot(d, d) <= lineRadius_ * lineRadius_)
        nearSamples_[static_cast<std::size_t>(neighbour)].push_back(k);
    }
  }
}

void TilePainter::Paint(int left, int top, int width, int height, Picture& picture) const {
  Tile(*this, left, top, width, height).Paint(picture);
}

glm::vec3 TilePainter::GetColor(std::uint32_t placement, std::uint32_t face) const {
  const glm::vec3& own = finder_.GetCaster().GetScene().GetBatch(placement).palette->GetColor(face);
  if (options_.selection == nullptr || !options_.selection->Contains(placement, face))
    return Studio::ToLinear(own);
  return Studio::ToLinear(own + (look::kSelectionColor - own) * look::kSelectionStrength);
}

float TilePainter::Hatch(const Surface& surface) const {
  // Lines at 45 degrees in the plane of the cut, one way or the other.
  const std::size_t number = surface.face - FaceMap::kCut;
  const glm::dvec3& normal = finder_.GetSections()[number].normal;
  const glm::dvec3 aside = glm::normalize(std::abs(normal.z) < 0.9 ? glm::cross(glm::dvec3(0, 0, 1), normal)
                                                                   : glm::cross(glm::dvec3(0, 1, 0), normal));
  const glm::dvec3 along = glm::cross(normal, aside);
  const glm::dvec3 point = glm::dvec3(surface.point);
  const double sign = look::Scatter(surface.placement) % 2 == 0 ? 1.0 : -1.0;
  const double across = (glm::dot(point, aside) + sign * glm::dot(point, along)) * 0.70710678;
  const double pitch =
      finder_.GetCamera().GetHeight() / options_.height *
      static_cast<double>(look::kHatchPitch * lineRadius_) *
      (1.0 + static_cast<double>(look::kHatchPitchStep) * (look::Scatter(surface.placement) / 2 % 4));
  const double phase = across / pitch;
  return std::abs(phase - std::round(phase)) * pitch <
                 0.5 * static_cast<double>(look::kHatchWidth) * static_cast<double>(surface.pixel)
             ? 1.0f
             : 0.0f;
}

glm::vec3 TilePainter::GetView(const Surface& surface) const {
  const Camera& camera = finder_.GetCamera();
  return camera.GetProjection() == Camera::Projection::kPerspective ? glm::normalize(eye_ - surface.point)
                                                                    : -glm::vec3(camera.GetForward());
}

glm::vec3 TilePainter::Shade(const Surface& surface, const glm::vec3& color, float open) const {
  if (surface.IsCut()) {
    const glm::vec3 light = Studio::LightCut(color);
    return light + (look::kLineColor - light) * (look::kHatchStrength * Hatch(surface));
  }
  const glm::vec3 light = studio_.Light(color, surface.normal, GetView(surface), open);
  return surface.isBack ? light * look::kBackLight : light;
}

glm::vec4 TilePainter::ShadeGhost(const Surface& surface, const glm::vec3& color) const {
  const glm::vec3 view(-finder_.GetCamera().GetForward());
  const float rim = 1.0f - std::abs(glm::dot(surface.normal, view));
  const float alpha = look::kGhostBody + look::kGhostRim * rim * rim;
  return glm::vec4(studio_.Light(color, surface.normal, view, 1.0f) * alpha, alpha);
}

}  // namespace mirel
