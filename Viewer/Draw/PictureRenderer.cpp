#include <Viewer/Draw/PictureRenderer.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/ParallelLoop.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Draw/SurfaceFinder.h>
#include <Viewer/Draw/TilePainter.h>

#include <algorithm>

namespace mirel {

namespace {

// Large enough that what is computed around a tile hardly counts, small enough for a processor's cache.
constexpr int kTileSide = 128;

bool HasGhosts(const DrawScene& scene) {
  return std::any_of(scene.GetBatches().begin(), scene.GetBatches().end(),
                     [](const DrawBatch& batch) { return batch.ghost; });
}

}  // namespace

PictureRenderer::PictureRenderer(std::shared_ptr<const RayCaster> caster) : caster_(std::move(caster)) {}

PictureRenderer::~PictureRenderer() = default;

Picture PictureRenderer::Draw(const Camera& camera, const PictureOptions& options) const {
  Picture picture(options.width, options.height);
  if (picture.pixels.empty()) return picture;
  const SurfaceFinder finder(*caster_, camera, {options.width, options.height}, options.sections);
  const TilePainter painter(finder, options, HasGhosts(caster_->GetScene()));
  const int columns = (picture.width + kTileSide - 1) / kTileSide;
  const int rows = (picture.height + kTileSide - 1) / kTileSide;
  ParallelLoop(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), options.threads,
               [&](std::size_t i) {
                 if (options.isCancelled != nullptr && *options.isCancelled) return;
                 const int left = static_cast<int>(i) % columns * kTileSide,
                           top = static_cast<int>(i) / columns * kTileSide;
                 painter.Paint(left, top, std::min(kTileSide, picture.width - left),
                               std::min(kTileSide, picture.height - top), picture);
               });
  return picture;
}

FaceMap PictureRenderer::DrawFaces(const Camera& camera, const PictureOptions& options) const {
  FaceMap map;
  const Picture limits(options.width, options.height);
  if (limits.pixels.empty()) return map;
  map.width = options.width;
  map.height = options.height;
  map.entries.resize(static_cast<std::size_t>(map.width) * static_cast<std::size_t>(map.height));
  const SurfaceFinder finder(*caster_, camera, {options.width, options.height}, options.sections);
  ParallelLoop(static_cast<std::size_t>(map.height), options.threads, [&](std::size_t y) {
    std::vector<SurfaceFinder::Point> points;
    for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(map.width); ++x) {
      const glm::vec2 point = glm::vec2(x, y) + 0.5f;
      if (!finder.IsAside(point, point)) points.push_back({point, x});
    }
    std::vector<Surface> surfaces(static_cast<std::size_t>(map.width));
    finder.Find(points, surfaces, RayCaster::Layer::kSolid);
    for (std::size_t x = 0; x < surfaces.size(); ++x)
      map.entries[y * surfaces.size() + x] = {surfaces[x].placement, surfaces[x].face};
  });
  return map;
}

}  // namespace mirel
