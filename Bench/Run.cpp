#include <Bench/Run.h>

#include <Bench/ChildProcess.h>
#include <Bench/Display.h>
#include <Bench/Growth.h>
#include <Bench/RunProgram.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>

namespace mirel::bench {

namespace {

constexpr double kMilli = 1e-3;
constexpr double kMicro = 1e-6;
constexpr double kMega = 1e6;
constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

using Arguments = std::vector<std::string>;

Spread Exact(double value) {
  return {value, value, value};
}

Spread Scale(const Spread& spread, double factor) {
  return {spread.value * factor, spread.low * factor, spread.high * factor};
}

Arguments TaskOf(const std::string& name, const std::string& work) {
  return {"task", name, "--work", work};
}

std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text)
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

bool HasTask(const std::string& name) {
  const std::vector<Task>& tasks = GetTasks();
  return std::any_of(tasks.begin(), tasks.end(), [&](const Task& task) { return name == task.name; });
}

/// The size of a file as gzip would leave it.
double GzipBytes(const std::string& path) {
  std::FILE* const pipe = popen(("gzip -6 -c <" + Quote(path)).c_str(), "r");
  if (!pipe) throw std::runtime_error("cannot run gzip");
  std::vector<char> block(1 << 16);
  double bytes = 0.0;
  for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
    bytes += static_cast<double>(count);
  }
  if (pclose(pipe) != 0) throw std::runtime_error("gzip failed on " + path);
  return bytes;
}

// One STEP file.

class FileRun {
 public:
  FileRun(const std::string& source, const RunOptions& options)
      : source_(source),
        stem_(std::filesystem::path(source).stem().string()),
        work_(options.work + stem_ + "/"),
        rounds_(options.rounds),
        copiedBodies_(options.tiny ? 100 : 1000000) {}

  void Measure(Report& report) {
    std::fprintf(stderr, "preparing %s\n", source_.c_str());
    RunChild({"prepare", source_, "--work", work_});
    WarmUp(work_);
    for (const char* const name :
         {"open", "graphics", "floor", "binxcaf", "glb", "glb-merged", "save", "stages", "save-stages",
          "picture", "export-glb", "export-meshopt", "export-step", "step-of-document"}) {
      things_.Add(name, TaskOf(name, work_));
    }
    for (const char* const name : {"copies", "picture-copies"}) {
      Arguments copies = TaskOf(name, work_);
      copies.insert(copies.end(), {"--count", std::to_string(copiedBodies_)});
      things_.Add(name, copies);
    }
    hasPython_ = HasTask("python");
    if (hasPython_) {
      things_.Add("python", TaskOf("python", work_));
      Arguments arrays = TaskOf("python-arrays", work_);
      arrays.insert(arrays.end(), {"--count", std::to_string(copiedBodies_)});
      things_.Add("python-arrays", arrays);
    }
    hasF3d_ = HasProgram("f3d") && HasDisplay();
    hasViewer_ = HasTask("viewer") && HasDisplay();
    if (hasF3d_) things_.Add("f3d-merged", TaskOf("f3d-merged", work_));
    if (hasViewer_) {
      things_.Add("viewer", TaskOf("viewer", work_));
      if (hasF3d_) things_.Add("f3d-window", TaskOf("f3d-window", work_));
      Arguments cached = TaskOf("viewer-step", work_), submit = TaskOf("submit", work_);
      cached.insert(cached.end(), {"--source", source_});
      submit.insert(submit.end(), {"--count", std::to_string(copiedBodies_)});
      Arguments nodes = TaskOf("viewer-nodes", work_);
      nodes.insert(nodes.end(), {"--count", std::to_string(copiedBodies_)});
      things_.Add("viewer-step", cached);
      things_.Add("submit", submit);
      things_.Add("viewer-nodes", nodes);
    }
    TryMesher();
    for (const char* const name : {"step", "program", "entities", "step-entities", "glb-of-step"}) {
      Arguments task = TaskOf(name, work_);
      task.insert(task.end(), {"--source", source_});
      things_.Add(name, task);
    }
    things_.Run(rounds_);
    if (hasF3d_) {  // once: it takes minutes
      Arguments task = TaskOf("f3d", work_);
      task.insert(task.end(), {"--source", source_});
      things_.Add("f3d", task);
      things_.Run(1);
    }
    FindFastestMesher();
    AddOpening(report);
    AddConverting(report);
    AddSaving(report);
    AddDrawing(report);
    AddWindow(report);
    if (hasPython_) AddPython(report);
    AddExporting(report);
    AddSizes(report);
    AddGoals(report);
    AddDrawingGoals(report);
    if (hasViewer_) AddWindowGoals(report);
    AddExportingGoals(report);
  }

 private:
  Arguments MesherTask(const std::string& variant) const {
    Arguments arguments = TaskOf("mesher", work_);
    arguments.insert(arguments.end(), {"--variant", variant});
    return arguments;
  }

  /// Tries every variant of the mesher once. Those that come near the fastest take part in the rounds.
  void TryMesher() {
    double best = std::numeric_limits<double>::infinity();
    for (const char* const algorithm : {"watson", "delabella"}) {
      for (const char* const mode : {"serial", "faces", "bodies", "both"}) {
        const std::string variant = std::string(algorithm) + "-" + mode;
        std::fprintf(stderr, "trying the mesher: %s\n", variant.c_str());
        variants_.emplace_back(variant, RunChild(MesherTask(variant)));
        best = std::min(best, variants_.back().second.Get("seconds"));
      }
    }
    for (const auto& [variant, figures] : variants_) {
      if (figures.Get("seconds") < 2.0 * best) things_.Add(variant, MesherTask(variant));
    }
  }

  void FindFastestMesher() {
    double best = std::numeric_limits<double>::infinity();
    for (const auto& [variant, figures] : variants_) {
      if (!things_.Has(variant) || things_.Get(variant, "seconds").value >= best) continue;
      best = things_.Get(variant, "seconds").value;
      mesher_ = variant;
    }
  }

  void AddOpening(Report& report) const {
    Report::Table table{stem_ + ": opening",
                        {{"time", "ms", kMilli, 2, true},
                         {"peak memory", "MB", kMega, 1, false},
                         {"on disk", "MB", kMega, 2, false},
                         {"bodies", "", 1.0, 0, false},
                         {"placed", "", 1.0, 0, false},
                         {"triangles", "", 1.0, 0, false},
                         {"drawn triangles", "", 1.0, 0, false}},
                        {}};
    for (const char* const name : {"open", "floor", "binxcaf", "glb", "glb-merged", "step"}) {
      Report::Row row{name, {}};
      for (const char* const figure :
           {"seconds", "peakBytes", "bytes", "bodies", "placedShapes", "triangles", "drawnTriangles"}) {
        const bool isCount = std::string(name) == "floor" && std::string(figure) != "seconds" &&
                             std::string(figure) != "peakBytes" && std::string(figure) != "bytes";
        row.values.push_back(isCount ? Exact(kMissing) : things_.Get(name, figure));
      }
      table.rows.push_back(row);
    }
    report.AddTable(table);
    AddStages(report, stem_ + ": stages of opening", "stages",
              {"inflate", "index", "grep", "bodyCheck", "scene", "release", "seconds"});
    AddStages(report, stem_ + ": stages of reading STEP", "step",
              {"read", "transfer", "tessellate", "seconds"});
  }

  void AddStages(Report& report, const std::string& title, const std::string& thing,
                 const Arguments& stages) const {
    Report::Table table{
        title, {{"time", "ms", kMilli, 2, true}, {"instructions", "millions", kMega, 1, false}}, {}};
    for (const std::string& stage : stages)
      table.rows.push_back({stage, {things_.Get(thing, stage), Instructions(thing, stage)}});
    report.AddTable(table);
  }

  Spread Instructions(const std::string& thing, const std::string& stage) const {
    const Spread spread = things_.Get(thing, stage + "Instructions");
    return spread.value > 0.0 ? spread : Exact(kMissing);
  }

  void AddConverting(Report& report) const {
    Report::Table table{stem_ + ": converting STEP",
                        {{"time", "ms", kMilli, 1, true},
                         {"processor time", "ms", kMilli, 1, false},
                         {"peak memory", "MB", kMega, 1, false}},
                        {}};
    for (const char* const name : {"program", "step", "entities", "step-entities"}) {
      table.rows.push_back(
          {name,
           {things_.Get(name, "seconds"), things_.Get(name, "userSeconds"), things_.Get(name, "peakBytes")}});
    }
    report.AddTable(table);
  }

  void AddSaving(Report& report) const {
    Report::Table table{stem_ + ": saving",
                        {{"time", "ms", kMilli, 1, true},
                         {"peak memory", "MB", kMega, 1, false},
                         {"triangles", "", 1.0, 0, false}},
                        {}};
    table.rows.push_back({"save",
                          {things_.Get("save", "seconds"), things_.Get("save", "peakBytes"),
                           things_.Get("open", "triangles")}});
    for (const char* const stage : {"bodyText", "bodyFiles", "tessellate", "graphicsFiles"}) {
      table.rows.push_back({stage, {things_.Get("save-stages", stage), Exact(kMissing), Exact(kMissing)}});
    }
    for (const auto& [variant, figures] : variants_) {
      Report::Row row{"mesher " + variant, {}};
      for (const char* const figure : {"seconds", "peakBytes", "triangles"}) {
        row.values.push_back(things_.Has(variant) ? things_.Get(variant, figure)
                                                  : Exact(figures.Get(figure)));
      }
      table.rows.push_back(row);
    }
    report.AddTable(table);
  }

  void AddDrawing(Report& report) const {
    Report::Table table{stem_ + ": drawing",
                        {{"time", "ms", kMilli, 1, true},
                         {"processor time", "ms", kMilli, 1, false},
                         {"peak memory", "MB", kMega, 1, false},
                         {"placed", "", 1.0, 0, false}},
                        {}};
    for (const auto& [name, counted] : {std::pair("picture", "open"),
                                        {"picture-copies", "copies"},
                                        {"copies", "copies"},
                                        {"f3d-merged", "open"},
                                        {"f3d", "open"}}) {
      if (!things_.Has(name)) {
        const Spread none = Exact(kMissing);
        table.rows.push_back(
            {std::string(name) + " (not run: f3d or xvfb-run is missing)", {none, none, none, none}});
        continue;
      }
      table.rows.push_back({name,
                            {things_.Get(name, "seconds"), things_.Get(name, "userSeconds"),
                             things_.Get(name, "peakBytes"), things_.Get(counted, "placedShapes")}});
    }
    report.AddTable(table);
    report.AddTable({stem_ + ": picking",
                     {{"time", "us", kMicro, 2, true}},
                     {{"pick", {things_.Get("copies", "pickSeconds")}}}});
  }

  void AddWindow(Report& report) const {
    Report::Table table{stem_ + ": in a window", {{"time", "ms", kMilli, 2, true}}, {}};
    if (!hasViewer_) {
      table.rows.push_back({"viewer (not run: mirel-viewer or xvfb-run is missing)", {Exact(kMissing)}});
      report.AddTable(table);
      return;
    }
    for (const auto& [row, thing, figure] :
         {std::tuple("window", "viewer", "window"),
          {"first full picture", "viewer", "seconds"},
          {"the same, of processors", "viewer", "userSeconds"},
          {"the same of the STEP file, from the cache", "viewer-step", "seconds"},
          {"a frame", "viewer", "frame"},
          {"the worst frame while the model opens again", "viewer", "worstFrameWhileOpening"},
          {"a frame afterwards", "viewer", "frameAfter"},
          {"a click, worst", "viewer", "worstClick"},
          {"a click that snaps, worst", "viewer", "worstSnap"},
          {"a frame of a million bodies is submitted", "submit", "submit"},
          {"the mouse moves over a million bodies, worst", "viewer-nodes", "worstHover"},
          {"a click on a million bodies, worst", "viewer-nodes", "worstClick"},
          {"the tree is filled", "viewer-nodes", "tree"},
          {"a group is opened", "viewer-nodes", "expand"},
          {"search", "viewer-nodes", "search"}})
      table.rows.push_back({row, {things_.Get(thing, figure)}});
    if (hasF3d_)
      table.rows.push_back({"f3d, as large as the window", {things_.Get("f3d-window", "seconds")}});
    report.AddTable(table);
  }

  void AddWindowGoals(Report& report) const {
    if (hasF3d_)
      report.AddGoal({stem_ + ": the first full picture in the window takes, of f3d's as large as the window",
                      true, 0.6, things_.Ratio("viewer", "f3d-window", "seconds")});
    report.AddGoal({stem_ + ": the same of the STEP file in the cache, times the folder", true, 1.2,
                    things_.Ratio("viewer-step", "viewer", "seconds")});
    report.AddGoal({stem_ + ": the worst frame while a model opens, times one afterwards", true, 3.0,
                    things_.Get("viewer", "worstWhileOpening")});
    report.AddGoal({stem_ + ": ms to submit a frame of a million bodies", true, 2.0,
                    Scale(things_.Get("submit", "submit"), 1.0 / kMilli)});
    report.AddGoal({stem_ + ": bytes for each of a million placed bodies", true, 120.0,
                    Exact(things_.Get("submit", "bytesOfPlacement").value +
                          things_.Get("submit", "bytesOfIndex").value)});
    for (const auto& [what, thing, figure, most] :
         {std::tuple("a click that snaps, worst", "viewer", "worstSnap", 5.0),
          {"a pick among a million bodies, worst", "submit", "worstPick", 5.0},
          {"the mouse moves over a million bodies, worst", "viewer-nodes", "worstHover", 5.0},
          {"a click on a million bodies, worst", "viewer-nodes", "worstClick", 5.0},
          {"a tree of a million nodes is filled", "viewer-nodes", "tree", 100.0},
          {"a group of 100,000 is opened", "viewer-nodes", "expand", 100.0},
          {"a million names are searched", "viewer-nodes", "search", 500.0}})
      report.AddGoal({stem_ + ": ms, " + what, true, most, Scale(things_.Get(thing, figure), 1.0 / kMilli)});
  }

  void AddPython(Report& report) const {
    Report::Table table{stem_ + ": in Python",
                        {{"time", "ms", kMilli, 2, true},
                         {"numpy's copy", "ms", kMilli, 2, true},
                         {"placed", "", 1.0, 0, false}},
                        {}};
    table.rows.push_back(
        {"open", {things_.Get("python", "seconds"), Exact(kMissing), things_.Get("python", "placedShapes")}});
    for (const char* const array : {"positions", "matrices"}) {
      table.rows.push_back(
          {array,
           {things_.Get("python-arrays", array), things_.Get("python-arrays", std::string(array) + "Copy"),
            things_.Get("python-arrays", "placedShapes")}});
    }
    report.AddTable(table);
    report.AddGoal({stem_ + ": opening in Python takes, times opening", true, 1.3,
                    things_.Ratio("python", "open", "seconds")});
    report.AddGoal({stem_ + ": placements of a million bodies as an array take, times numpy's copy of it",
                    true, 2.0,
                    Exact(things_.Get("python-arrays", "matrices").value /
                          things_.Get("python-arrays", "matricesCopy").value)});
  }

  void AddExporting(Report& report) const {
    Report::Table table{stem_ + ": exporting",
                        {{"time", "ms", kMilli, 1, true},
                         {"processor time", "ms", kMilli, 1, false},
                         {"peak memory", "MB", kMega, 1, false},
                         {"on disk", "kB", 1e3, 1, false}},
                        {}};
    for (const char* const name :
         {"export-glb", "export-meshopt", "glb-of-step", "export-step", "step-of-document"}) {
      table.rows.push_back({name,
                            {things_.Get(name, "seconds"), things_.Get(name, "userSeconds"),
                             things_.Get(name, "peakBytes"), things_.Get(name, "bytes")}});
    }
    report.AddTable(table);
  }

  void AddExportingGoals(Report& report) const {
    report.AddGoal({stem_ + ": GLB of STEP by OpenCASCADE takes, times mirel export", false, 20.0,
                    things_.Ratio("glb-of-step", "export-glb", "seconds")});
    report.AddGoal({stem_ + ": bytes of export --meshopt after gzip -6, of those of OpenCASCADE's GLB", true,
                    0.5, Exact(GzipBytes(CompressedGlbFile(work_)) / GzipBytes(GlbFile(work_)))});
    report.AddGoal({stem_ + ": STEP by mirel export takes, of OpenCASCADE's writer alone", true, 1.2,
                    things_.Ratio("export-step", "step-of-document", "seconds")});
  }

  void AddSizes(Report& report) {
    folderBytes_ = static_cast<double>(BytesOnDisk(ModelFolder(work_)));
    zippedGlbBytes_ = GzipBytes(MergedGlbFile(work_));
    const auto bytes = [](const std::string& path) { return Exact(static_cast<double>(BytesOnDisk(path))); };
    report.AddTable({stem_ + ": bytes on disk",
                     {{"size", "kB", 1e3, 1, false}},
                     {{"index", {bytes(IndexFile(work_))}},
                      {"graphics", {bytes(ModelFolder(work_) + "grep/")}},
                      {"exact bodies", {bytes(ModelFolder(work_) + "model/")}},
                      {"model folder", {Exact(folderBytes_)}},
                      {"GLB", {bytes(GlbFile(work_))}},
                      {"GLB after gzip -6", {Exact(GzipBytes(GlbFile(work_)))}},
                      {"GLB, merged", {bytes(MergedGlbFile(work_))}},
                      {"GLB, merged, after gzip -6", {Exact(zippedGlbBytes_)}},
                      {"binary XCAF with triangles", {bytes(TriangleDocument(work_))}},
                      {"STEP", {bytes(source_)}}}});
  }

  void AddGoals(Report& report) const {
    report.AddGoal(
        {stem_ + ": opening takes, times inflating", true, 3.0, things_.Ratio("open", "floor", "seconds")});
    report.AddGoal({stem_ + ": opening what is drawn takes, of opening", true, 0.5,
                    things_.Ratio("graphics", "open", "seconds")});
    report.AddGoal({stem_ + ": binary XCAF takes, times opening", false, 10.0,
                    things_.Ratio("binxcaf", "open", "seconds")});
    report.AddGoal({stem_ + ": STEP and tessellation take, times opening", false, 500.0,
                    things_.Ratio("step", "open", "seconds")});
    report.AddGoal({stem_ + ": peak memory of opening, of that of binary XCAF", true, 0.6,
                    things_.Ratio("open", "binxcaf", "peakBytes")});
    report.AddGoal({stem_ + ": opening takes, times GLB with merged faces", true, 2.0,
                    things_.Ratio("open", "glb-merged", "seconds")});
    report.AddGoal({stem_ + ": folder on disk, of the GLB with merged faces after gzip -6", true, 1.0,
                    Exact(folderBytes_ / zippedGlbBytes_)});
    report.AddGoal({stem_ + ": saving takes, times OpenCASCADE's fastest mesher (" + mesher_ + ")", true, 1.5,
                    things_.Ratio("save", mesher_, "seconds")});
  }

  void AddDrawingGoals(Report& report) const {
    if (hasF3d_) {
      report.AddGoal({stem_ + ": a picture takes, of f3d with the GLB with merged faces", true, 0.35,
                      things_.Ratio("picture", "f3d-merged", "seconds")});
      report.AddGoal({stem_ + ": f3d with the STEP file takes, times a picture", false, 100.0,
                      Exact(things_.Get("f3d", "seconds").value / things_.Get("picture", "seconds").value)});
    }
    report.AddGoal({stem_ + ": a picture of a million bodies takes, times one of the model", true, 10.0,
                    things_.Ratio("picture-copies", "picture", "seconds")});
    report.AddGoal({stem_ + ": MB for a picture of a million bodies", true, 1000.0,
                    Scale(things_.Get("picture-copies", "peakBytes"), 1.0 / kMega)});
    report.AddGoal(
        {stem_ + ": MB for a picture", true, 200.0, Scale(things_.Get("picture", "peakBytes"), 1.0 / kMega)});
    report.AddGoal({stem_ + ": us for a pick among a million bodies", true, 2.0,
                    Scale(things_.Get("copies", "pickSeconds"), 1.0 / kMicro)});
  }

  std::string source_;
  std::string stem_;
  std::string work_;
  int rounds_;
  std::size_t copiedBodies_;
  bool hasF3d_ = false;
  bool hasViewer_ = false;
  bool hasPython_ = false;
  Rounds things_;
  std::string mesher_;
  std::vector<std::pair<std::string, Figures>> variants_;
  double folderBytes_ = 0.0;
  double zippedGlbBytes_ = 0.0;
};

// Generated models.

std::vector<std::size_t> PowersOfTen(std::size_t first, std::size_t last) {
  std::vector<std::size_t> counts;
  for (std::size_t count = first; count <= last; count *= 10)
    counts.push_back(count);
  return counts;
}

/// The worst of several: the one whose value is highest.
Spread Worst(const std::vector<Spread>& spreads) {
  return *std::max_element(spreads.begin(), spreads.end(),
                           [](const Spread& a, const Spread& b) { return a.value < b.value; });
}

/// By how much costs rise at most from one size to a larger one. That they fall, as where large files occupy more cores or
/// what each file costs is shared by more items, is no fault.
Spread Rise(const std::vector<double>& costs) {
  double rise = 0.0;
  for (auto large = costs.begin(); large != costs.end(); ++large)
    rise = std::max(rise, *large / *std::min_element(costs.begin(), large + 1));
  return Exact(rise);
}

class GeneratedRun {
 public:
  explicit GeneratedRun(const RunOptions& options)
      : work_(options.work),
        rounds_(options.rounds),
        counts_(options.tiny ? PowersOfTen(100, 1000) : PowersOfTen(1000, options.maxItems)) {}

  void Measure(Report& report) {
    for (const std::size_t count : counts_) {
      for (const char* const kind : {"flat", "deep", "shared"})
        AddIndex(kind, count);
      things_.Add("scene " + std::to_string(count), {"task", "scene", "--count", std::to_string(count)});
    }
    things_.Run(rounds_);
    AddIndexTable(report);
    AddSceneTable(report);
    AddGoals(report);
    for (const char* const kind : {"flat", "deep", "shared"}) {
      for (const std::size_t count : counts_)
        std::filesystem::remove_all(work_ + Name(kind, count));
    }
  }

 private:
  static std::string Name(const std::string& kind, std::size_t count) {
    return kind + "-" + std::to_string(count);
  }

  void AddIndex(const std::string& kind, std::size_t count) {
    const std::string name = Name(kind, count);
    for (const char* const task : {"index-save", "index-write", "index-read", "index-dom"}) {
      Arguments arguments = TaskOf(task, work_ + name + "/");
      arguments.insert(arguments.end(), {"--kind", kind, "--count", std::to_string(count)});
      things_.Add(std::string(task) + " " + name, arguments);
    }
  }

  Spread PerItem(const std::string& task, const std::string& kind, std::size_t count) const {
    return Scale(things_.Get(task + " " + Name(kind, count), "seconds"), 1.0 / static_cast<double>(count));
  }

  void AddIndexTable(Report& report) const {
    Report::Table table{"Indexes of generated models, time per item",
                        {{"read", "us", kMicro, 3, true},
                         {"JSON library alone", "us", kMicro, 3, false},
                         {"read / library", "", 1.0, 2, true},
                         {"write", "us", kMicro, 3, true},
                         {"save with gzip", "us", kMicro, 3, false},
                         {"text", "bytes", 1.0, 0, false},
                         {"on disk", "bytes", 1.0, 1, false},
                         {"peak memory of reading", "bytes", 1.0, 0, false}},
                        {}};
    for (const char* const kind : {"flat", "deep", "shared"}) {
      for (const std::size_t count : counts_) {
        const std::string name = Name(kind, count);
        const double perItem = 1.0 / static_cast<double>(count);
        table.rows.push_back({name,
                              {PerItem("index-read", kind, count), PerItem("index-dom", kind, count),
                               things_.Ratio("index-read " + name, "index-dom " + name, "seconds"),
                               PerItem("index-write", kind, count), PerItem("index-save", kind, count),
                               Scale(things_.Get("index-read " + name, "textBytes"), perItem),
                               Scale(things_.Get("index-save " + name, "bytes"), perItem),
                               Scale(things_.Get("index-read " + name, "peakBytes"), perItem)}});
      }
    }
    report.AddTable(table);
  }

  void AddSceneTable(Report& report) const {
    Report::Table table{"Scenes from shared types, per node",
                        {{"time", "us", kMicro, 3, true}, {"memory", "bytes", 1.0, 0, false}},
                        {}};
    for (const std::size_t count : counts_) {
      const std::string name = "scene " + std::to_string(count);
      const double perNode = 1.0 / things_.Get(name, "nodes").value;
      table.rows.push_back(
          {std::to_string(count),
           {Scale(things_.Get(name, "seconds"), perNode), Scale(things_.Get(name, "liveBytes"), perNode)}});
    }
    report.AddTable(table);
  }

  void AddGoals(Report& report) const {
    const std::size_t most = counts_.back();
    std::vector<Spread> toLibrary, toRead, rises;
    for (const char* const kind : {"flat", "deep", "shared"}) {
      const std::string name = Name(kind, most);
      toLibrary.push_back(things_.Ratio("index-read " + name, "index-dom " + name, "seconds"));
      toRead.push_back(things_.Ratio("index-write " + name, "index-read " + name, "seconds"));
      for (const char* const task : {"index-read", "index-write", "index-save"}) {
        std::vector<double> costs;
        for (const std::size_t count : counts_) {
          if (count >= most / 100) costs.push_back(PerItem(task, kind, count).value);
        }
        rises.push_back(Rise(costs));
      }
    }
    const std::string items = "index of " + std::to_string(most) + " items: ";
    report.AddGoal({items + "reading takes, times the JSON library alone", true, 2.0, Worst(toLibrary)});
    report.AddGoal({items + "writing takes, times reading", true, 1.5, Worst(toRead)});
    report.AddGoal({"cost per item, of a larger model / of a smaller one, over the two last powers of ten",
                    true, 1.3, Worst(rises)});
    const std::string scene = "scene " + std::to_string(most);
    const double perNode = 1.0 / things_.Get(scene, "nodes").value;
    const std::string nodes = "scene of " + std::to_string(most) + " nodes: ";
    report.AddGoal({nodes + "us a node", true, 1.0, Scale(things_.Get(scene, "seconds"), perNode / kMicro)});
    report.AddGoal({nodes + "bytes a node", true, 400.0, Scale(things_.Get(scene, "liveBytes"), perNode)});
  }

  std::string work_;
  int rounds_;
  std::vector<std::size_t> counts_;
  Rounds things_;
};

// Growth.

class GrowthRun {
 public:
  GrowthRun(const GrowthSeries& series, const RunOptions& options)
      : series_(series), work_(options.work), rounds_(options.rounds) {
    const double first = static_cast<double>(series.first);
    // A test goes through two small sizes, a real run through five in equal ratios.
    const double last = options.tiny ? 2.0 * first : static_cast<double>(series.last);
    const int steps = options.tiny ? 1 : 4;
    for (int i = 0; i <= steps; ++i) {
      counts_.push_back(
          static_cast<std::size_t>(std::lround(first * std::pow(last / first, double(i) / steps))));
    }
  }

  /// Adds the table of the series to the report, and to the two others how each stage grows.
  void Measure(Report& report, Report::Table& times, Report::Table& instructions) {
    for (const std::size_t count : counts_) {
      const std::string folder = Folder(count);
      std::filesystem::create_directories(folder);
      for (const char* const task : {"growth-save", "growth-open"}) {
        Arguments arguments = TaskOf(task, folder);
        arguments.insert(arguments.end(), {"--kind", series_.kind, "--count", std::to_string(count)});
        things_.Add(Name(task, count), arguments);
      }
    }
    things_.Run(rounds_);
    Report::Table table{std::string("Growth of ") + series_.kind, {{"save", "ms", kMilli, 2, false}}, {}};
    for (const char* const stage : kStages)
      table.columns.push_back({stage, "ms", kMilli, 2, false});
    table.columns.push_back({"on disk", "MB", kMega, 2, false});
    table.columns.push_back({"memory kept", "MB", kMega, 1, false});
    table.columns.push_back({"memory in passing", "MB", kMega, 1, false});
    for (const std::size_t count : counts_) {
      Report::Row row{std::to_string(count), {things_.Get(Name("growth-save", count), "seconds")}};
      const std::string open = Name("growth-open", count);
      for (const char* const stage : kStages)
        row.values.push_back(things_.Get(open, stage));
      row.values.push_back(things_.Get(Name("growth-save", count), "bytes"));
      row.values.push_back(things_.Get(open, "liveBytes"));
      row.values.push_back(
          Exact(things_.Get(open, "peakBytes").value - things_.Get(open, "liveBytes").value));
      table.rows.push_back(row);
    }
    report.AddTable(table);

    AddExponents(times, "", kMilli);
    AddExponents(instructions, "Instructions", kMega);
    for (const std::size_t count : counts_)
      std::filesystem::remove_all(Folder(count));
  }

  static constexpr const char* kStages[] = {"seconds",   "inflate", "index",  "grep",
                                            "bodyCheck", "scene",   "release"};

 private:
  static std::string Name(const std::string& task, std::size_t count) {
    return task + " " + std::to_string(count);
  }
  std::string Folder(std::size_t count) const {
    return work_ + "growth-" + series_.kind + "-" + std::to_string(count) + "/";
  }

  void AddExponents(Report::Table& table, const std::string& suffix, double least) const {
    Report::Row row{series_.kind, {Exact(series_.power), Exponent("growth-save", "seconds" + suffix, least)}};
    for (const char* const stage : kStages)
      row.values.push_back(Exponent("growth-open", stage + suffix, least));
    table.rows.push_back(row);
  }

  /// The e in "cost grows as count to the power e", over the upper half of the series; missing for a stage that costs
  /// less than `least`, too little to tell. From the lowest costs: what else the machine does only adds.
  Spread Exponent(const std::string& task, const std::string& stage, double least) const {
    const std::size_t middle = counts_[counts_.size() / 2 - (counts_.size() == 2 ? 1 : 0)];
    const double before = things_.Get(Name(task, middle), stage).low;
    const double after = things_.Get(Name(task, counts_.back()), stage).low;
    if (after < least || before <= 0.0) return Exact(kMissing);
    const double growth = static_cast<double>(counts_.back()) / static_cast<double>(middle);
    return Exact(std::log(after / before) / std::log(growth));
  }

  GrowthSeries series_;
  std::string work_;
  int rounds_;
  std::vector<std::size_t> counts_;
  Rounds things_;
};

/// By how much the powers of a table exceed what is right, at most; missing when it has none.
double Excess(const Report::Table& exponents) {
  double excess = kMissing;
  for (const Report::Row& row : exponents.rows) {
    for (std::size_t i = 1; i < row.values.size(); ++i) {
      excess =
          std::fmax(excess, row.values[i].value - row.values[0].value);  // which leaves out what is missing
    }
  }
  return excess;
}

void MeasureGrowth(const RunOptions& options, Report& report) {
  Report::Table times{
      "Growth: time goes with the power", {{"right", "", 1.0, 0, false}, {"save", "", 1.0, 2, false}}, {}};
  for (const char* const stage : GrowthRun::kStages)
    times.columns.push_back({stage, "", 1.0, 2, false});
  Report::Table instructions = times;
  instructions.title = "Growth: the number of instructions goes with the power";
  for (const GrowthSeries& series : GetGrowthSeries())
    GrowthRun(series, options).Measure(report, times, instructions);
  report.AddTable(times);
  report.AddTable(instructions);
  for (const auto& [what, table, most] :
       {std::tuple("time", &times, 0.5), {"instructions", &instructions, 0.25}}) {
    const double excess = Excess(*table);
    if (!std::isnan(excess))
      report.AddGoal({std::string("growth of the ") + what + " of any stage above what is right, as a power",
                      true, most, Exact(excess)});
  }
}

}  // namespace

Report Run(const RunOptions& options) {
  Report report;
  for (const std::string& source : options.sources)
    FileRun(source, options).Measure(report);
  if (options.generated) {
    GeneratedRun(options).Measure(report);
    MeasureGrowth(options, report);
  }
  return report;
}

}  // namespace mirel::bench
