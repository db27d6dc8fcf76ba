#include <Bench/CopiesFolder.h>
#include <Bench/Display.h>
#include <Bench/Meter.h>
#include <Bench/ModelCopies.h>
#include <Bench/RunProgram.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Picker.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <memory>
#include <random>
#include <stdexcept>

namespace mirel::bench {

namespace {

constexpr int kPicks = 100000;

PictureOptions Options() {
  PictureOptions options;
  options.width = 1600;
  options.height = 1200;
  options.samples = 4;
  return options;
}

std::shared_ptr<SceneNode> OpenModel(const TaskInput& input) {
  std::shared_ptr<SceneNode> model = LiteSceneReader().Load(IndexFile(input.work), nullptr);
  if (!model) throw std::runtime_error("the model folder cannot be opened");
  return model;
}

Figures DrawFolder(const TaskInput& input, const std::string& folder) {
  return RunProgram({MIREL_PROGRAM, "picture", "-q", "--samples", "4", folder, input.work + "picture.png"});
}

/// `mirel picture` as a process: its time from beginning to end, and its peak memory as the kernel counts it.
Figures DrawAsProcess(const TaskInput& input) {
  return DrawFolder(input, ModelFolder(input.work));
}

/// The same of a folder with so many copies of the model that there are --count placed bodies at least.
Figures DrawCopiesAsProcess(const TaskInput& input) {
  return DrawFolder(input, MakeCopies(input.work, CountCopies(input.work, input.count)));
}

/// f3d, which needs a display.
Figures DrawByF3d(const TaskInput& input, const char* task, const std::string& file,
                  const char* size = "1600,1200") {
  NeedDisplay(input, task);
  return RunProgram({"f3d", "--dry-run", "--quiet", std::string("--resolution=") + size,
                     "--output=" + input.work + "f3d.png", file});
}

Figures DrawStepByF3d(const TaskInput& input) {
  return DrawByF3d(input, "f3d", input.source);
}

Figures DrawGlbByF3d(const TaskInput& input) {
  return DrawByF3d(input, "f3d-merged", MergedGlbFile(input.work));
}

/// As large as the window of mirel-viewer is at first.
Figures DrawGlbByF3dInWindow(const TaskInput& input) {
  return DrawByF3d(input, "f3d-window", MergedGlbFile(input.work), "1280,820");
}

/// The model in a square of copies, --count placed bodies at least, from the folder to a picture; then picks.
Figures DrawCopies(const TaskInput& input) {
  Figures figures;
  const Meter meter;
  const std::shared_ptr<GroupSceneNode> root = CopyModel(OpenModel(input), input.count);
  const auto scene = std::make_shared<const DrawScene>(*root);
  figures.Set("gather", meter.Elapsed());
  const auto caster = std::make_shared<const RayCaster>(scene);
  figures.Set("index", meter.Elapsed() - figures.Get("gather"));
  const PictureOptions options = Options();
  Camera camera;
  camera.Fit(*scene, static_cast<double>(options.width) / options.height);
  std::string reason;
  if (!PictureRenderer(caster).Draw(camera, options).Save(input.work + "copies.png", reason))
    throw std::runtime_error(reason);
  meter.Stop(figures);
  figures.Set("placedShapes", scene->GetPlacementCount());

  const glm::dvec2 size(options.width, options.height);
  const Picker picker(caster, camera, size);
  std::mt19937 random(1);
  std::uniform_real_distribution<double> place(0.25, 0.75);
  int picked = 0;
  const Meter picks;
  for (int i = 0; i < kPicks; ++i) {
    const glm::dvec2 point(place(random) * size.x, place(random) * size.y);
    picked += picker.Pick(point).kind != PickResult::Kind::kNothing ? 1 : 0;
  }
  figures.Set("pickSeconds", picks.Elapsed() / kPicks);
  if (picked == 0) throw std::runtime_error("nothing was picked");
  return figures;
}

}  // namespace

std::vector<Task> PictureTasks() {
  return {{"picture", "mirel picture of the folder, as a process", DrawAsProcess},
          {"picture-copies", "mirel picture of a folder of copies with --count bodies, as a process",
           DrawCopiesAsProcess},
          {"f3d", "f3d of the STEP file --source, as a process", DrawStepByF3d},
          {"f3d-merged", "f3d of the GLB file whose faces are merged, as a process", DrawGlbByF3d},
          {"f3d-window", "the same, as large as the viewer's window", DrawGlbByF3dInWindow},
          {"copies", "a picture of so many copies of the model that there are --count bodies, and picks",
           DrawCopies}};
}

}  // namespace mirel::bench
