#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Picker.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>
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

/// `mirel picture` as a process: its time from beginning to end, and its peak memory as the kernel counts it.
Figures DrawAsProcess(const TaskInput& input) {
  const std::string folder = ModelFolder(input.work), picture = input.work + "picture.png";
  Figures figures;
  const Meter meter;
  const pid_t child = fork();
  if (child == 0) {
    execl(MIREL_PROGRAM, MIREL_PROGRAM, "picture", "-q", "--samples", "4", folder.c_str(), picture.c_str(),
          nullptr);
    _exit(127);
  }
  int status = -1;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
    throw std::runtime_error("mirel picture failed");
  meter.Stop(figures);
  figures.Set("userSeconds", static_cast<double>(usage.ru_utime.tv_sec) +
                                 1e-6 * static_cast<double>(usage.ru_utime.tv_usec));
  figures.Set("peakBytes", 1024.0 * static_cast<double>(usage.ru_maxrss));
  return figures;
}

/// The model in a square of copies, --count placed bodies at least, from the folder to a picture; then picks.
Figures DrawCopies(const TaskInput& input) {
  Figures figures;
  const Meter meter;
  const std::shared_ptr<SceneNode> model = LiteSceneReader().Load(IndexFile(input.work), nullptr);
  if (!model) throw std::runtime_error("the model folder cannot be opened");
  const DrawScene one(*model);
  if (one.GetPlacementCount() == 0) throw std::runtime_error("nothing is drawn of the model");
  const auto copies = static_cast<int>(input.count / one.GetPlacementCount() + 1);
  const int side = static_cast<int>(std::ceil(std::sqrt(copies)));
  const glm::dvec3 pitch = (one.GetBox().GetMax() - one.GetBox().GetMin()) * 1.1;
  const auto root = std::make_shared<GroupSceneNode>();
  for (int i = 0; i < copies; ++i) {
    const auto copy = std::make_shared<GroupSceneNode>();
    copy->SetTransform(
        glm::translate(glm::dmat4(1.0), glm::dvec3(i % side * pitch.x, i / side * pitch.y, 0.0)));
    copy->AddNode(model);
    root->AddNode(copy);
  }
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
          {"copies", "a picture of so many copies of the model that there are --count bodies, and picks",
           DrawCopies}};
}

}  // namespace mirel::bench
