#include <Bench/ChildProcess.h>
#include <Bench/Display.h>
#include <Bench/GeneratedModel.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#ifdef MIREL_VIEWER

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#endif

namespace mirel::bench {

#ifdef MIREL_VIEWER

namespace {

// Each line of `mirel-viewer --benchmark` begins with a name; these are the times in it.
Figures ReadStages(const std::string& text) {
  static const std::vector<std::pair<std::string, std::vector<const char*>>> kLines = {
      {"window", {"window"}},
      {"nodes", {"nodes"}},
      {"bodies", {"bodies"}},
      {"picture", {"seconds", "userSeconds"}},
      {"frame", {"frame", "worstFrame"}},
      {"hover", {"hover", "worstHover"}},
      {"click", {"click", "worstClick"}},
      {"snap", {"snap", "worstSnap"}},
      {"tree", {"tree", "expand"}},
      {"search", {"search"}},
      {"opening", {"frameWhileOpening", "worstFrameWhileOpening"}},
      {"after", {"frameAfter", "worstFrameAfter"}}};
  static const std::regex kTime("([0-9.]+) ms");
  Figures figures;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    for (const auto& [begin, names] : kLines) {
      if (line.rfind(begin + ' ', 0) != 0) continue;
      std::sregex_iterator time(line.begin(), line.end(), kTime);
      for (std::size_t i = 0; i < names.size() && time != std::sregex_iterator(); ++i, ++time)
        figures.Set(names[i], 1e-3 * std::stod((*time)[1]));
    }
  }
  if (!figures.Has("frameAfter")) throw std::runtime_error("the viewer did not come to its end:\n" + text);
  figures.Set("worstWhileOpening", figures.Get("worstFrameWhileOpening") / figures.Get("frameAfter"));
  return figures;
}

// With settings of its own, so that the window is as large as it is at first, and the cache of the work folder.
Figures RunViewer(const TaskInput& input, const char* task, const std::string& file) {
  NeedDisplay(input, task);
  const std::string home = input.work + "viewer/";
  for (const char* const folder : {"CONFIG", "CACHE", "DATA"}) {
    const std::string path = std::filesystem::absolute(home + folder).string();
    std::filesystem::create_directories(path);
    setenv(("XDG_" + std::string(folder) + "_HOME").c_str(), path.c_str(), 1);
  }
  std::filesystem::remove_all(home + "CONFIG/mirel");
  return ReadStages(ReadOutput({MIREL_VIEWER, "--benchmark", file}));
}

/// The window with the folder: from the start of the process to the first full picture in the window, and what follows.
Figures ShowFolder(const TaskInput& input) {
  return RunViewer(input, "viewer", ModelFolder(input.work));
}

/// The same with the STEP file, of which the viewer has a folder in its cache.
Figures ShowStep(const TaskInput& input) {
  if (!std::filesystem::exists(input.work + "viewer/CACHE/mirel-viewer"))
    RunViewer(input, "viewer-step", input.source);
  return RunViewer(input, "viewer-step", input.source);
}

/// The same with --count nodes in groups of a tenth of them, all of which show a square. Mesa's driver that does nothing stands in
/// for a graphics card.
Figures ShowManyNodes(const TaskInput& input) {
  const std::string folder = input.work + "nodes-" + std::to_string(input.count) + "/";
  if (!std::filesystem::exists(folder)) {
    LiteModel model;
    GeneratedModel::AddWide(model, input.count, input.count / 10);
    model.AddShape(GeneratedModel::BodyId(0), std::make_shared<TopoShape>(GeneratedModel::MakeBody(1)));
    LiteModelWriter(model).Save(folder);
  }
  setenv("GALLIUM_NOOP", "1", 1);
  return RunViewer(input, "viewer-nodes", folder);
}

}  // namespace

std::vector<Task> ViewerTasks() {
  return {{"viewer", "mirel-viewer --benchmark of the folder", ShowFolder},
          {"viewer-step", "mirel-viewer --benchmark of --source, which is in its cache", ShowStep},
          {"viewer-nodes", "mirel-viewer --benchmark of a tree of --count nodes", ShowManyNodes}};
}

#else

std::vector<Task> ViewerTasks() {
  return {};
}

#endif

}  // namespace mirel::bench
