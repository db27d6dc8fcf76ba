#include <Bench/Meter.h>
#include <Bench/ModelCopies.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Tests/Support/OffscreenGL.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/GL/GLRenderer.h>
#include <Viewer/Draw/Picker.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Draw/Selection.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <utility>

namespace mirel::bench {

namespace {

constexpr int kFrames = 10;

// Seconds of this thread on a processor.
double GetThreadTime() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

GLViewOptions Options() {
  GLViewOptions options;
  options.width = 1600;
  options.height = 1200;
  options.uploadBytes = 0;
  return options;
}

Camera LookAt(const DrawScene& scene) {
  Camera camera;
  camera.Fit(scene, static_cast<double>(Options().width) / Options().height);
  return camera;
}

std::shared_ptr<SceneNode> Open(const TaskInput& input) {
  std::shared_ptr<SceneNode> model = LiteSceneReader().Load(IndexFile(input.work), nullptr);
  if (!model) throw std::runtime_error("the model folder cannot be opened");
  return model;
}

void Begin(OffscreenGL& gl) {
  if (!gl.GetObstacle().empty()) throw std::runtime_error(gl.GetObstacle());
  gl.Begin(Options().width, Options().height);
}

// The seconds of a frame, until it is there.
double DrawFrame(GLRenderer& renderer, const Camera& camera, const GLViewOptions& options) {
  const Meter meter;
  renderer.Draw(camera, options);
  OffscreenGL::Finish();
  return meter.Elapsed();
}

/// The model in a window: the first frame, with all that has to be compiled and sent for it; a frame while it turns; and
/// how long it takes to be smooth when it stops.
Figures DrawWindow(const TaskInput& input) {
  const auto scene = std::make_shared<const DrawScene>(*Open(input));
  OffscreenGL gl;
  Begin(gl);
  GLViewOptions options = Options();
  Camera camera = LookAt(*scene);
  Figures figures;
  const Meter meter;
  GLRenderer renderer;
  renderer.SetScene(scene);
  figures.Set("firstFrame", DrawFrame(renderer, camera, options));
  double turning = 0.0;
  for (int i = 0; i < kFrames; ++i) {
    camera.Orbit(0.02, 0.0);
    turning += DrawFrame(renderer, camera, options) / kFrames;
  }
  figures.Set("frame", turning);
  options.samplesAtOnce = options.samples;
  camera.Orbit(0.02, 0.0);
  figures.Set("smoothFrame", DrawFrame(renderer, camera, options));
  meter.Stop(figures);
  renderer.Release();
  return figures;
}

// Seconds of the processor for a pick, under places all over the middle of the picture.
void PickPlaces(const std::shared_ptr<const RayCaster>& caster, const Camera& camera, Figures& figures) {
  constexpr int kSide = 100;
  const glm::dvec2 size(Options().width, Options().height);
  double worst = 0.0;
  const double start = GetThreadTime();
  for (int i = 0; i < kSide * kSide; ++i) {
    const glm::dvec2 place(0.25 + 0.5 * (i % kSide) / kSide, 0.25 + 0.5 * (i / kSide) / kSide);
    const double before = GetThreadTime();
    Picker(caster, camera, size).Pick(place * size, 6.0);
    worst = std::max(worst, GetThreadTime() - before);
  }
  figures.Set("pick", (GetThreadTime() - start) / (kSide * kSide));
  figures.Set("worstPick", worst);
}

// Bytes that are still taken, without blocks that were freed.
double GetLiveBytes(const Meter& meter) {
  malloc_trim(0);
  Figures figures;
  meter.Stop(figures);
  return figures.Get("liveBytes");
}

// Bytes for shaders, triangles and a single model, and for what finds what its rays meet.
std::pair<double, double> MeasureOne(const SceneNode& model) {
  const Meter meter;
  const auto scene = std::make_shared<const DrawScene>(model);
  GLRenderer renderer;
  renderer.SetScene(scene);
  DrawFrame(renderer, LookAt(*scene), Options());
  const double shown = GetLiveBytes(meter);
  renderer.Release();
  const Meter indexMeter;
  const RayCaster caster(scene);
  return {shown, GetLiveBytes(indexMeter)};
}

/// The model in a square of copies, --count placed bodies at least: what the processor does for a frame. Mesa's driver
/// that does nothing stands in for a graphics card, so that no drawing is counted.
Figures SubmitCopies(const TaskInput& input) {
  setenv("GALLIUM_NOOP", "1", 1);
  const std::shared_ptr<SceneNode> model = Open(input);
  const std::shared_ptr<GroupSceneNode> root = CopyModel(model, input.count);
  OffscreenGL gl;
  Begin(gl);
  Figures figures;
  const auto [shownOnce, indexedOnce] = MeasureOne(*model);
  GLRenderer renderer;
  const Meter meter;
  const auto scene = std::make_shared<const DrawScene>(*root);
  renderer.SetScene(scene);
  Camera camera = LookAt(*scene);
  DrawFrame(renderer, camera, Options());
  meter.Stop(figures);
  figures.Set("placedShapes", scene->GetPlacementCount());
  // Of the scene and the renderer; the nodes are there before.
  figures.Set("bytesOfPlacement", (GetLiveBytes(meter) - shownOnce) / scene->GetPlacementCount());
  double submit = 0.0, hover = 0.0;
  for (int i = 0; i < kFrames; ++i) {
    camera.Orbit(0.02, 0.0);
    double start = GetThreadTime();
    renderer.Draw(camera, Options());
    submit += (GetThreadTime() - start) / kFrames;
    Selection under;
    if (i % 2 == 0) under.Add(scene->GetPlacementCount() / 2);
    start = GetThreadTime();
    renderer.SetHover(under);
    renderer.Draw(camera, Options());
    hover += (GetThreadTime() - start) / kFrames;
  }
  figures.Set("submit", submit);
  figures.Set("hover", hover);
  renderer.Release();

  const Meter indexMeter;
  const auto caster = std::make_shared<const RayCaster>(scene, RayCaster::Aim::kMemory);
  figures.Set("indexSeconds", indexMeter.Elapsed());
  figures.Set("bytesOfIndex", (GetLiveBytes(indexMeter) - indexedOnce) / scene->GetPlacementCount());
  PickPlaces(caster, camera, figures);
  return figures;
}

}  // namespace

std::vector<Task> WindowTasks() {
  return {{"window", "the model drawn with OpenGL: first frame, later ones, a smooth one", DrawWindow},
          {"submit", "what the processor does for a frame and a pick of --count bodies, and the memory",
           SubmitCopies}};
}

}  // namespace mirel::bench
