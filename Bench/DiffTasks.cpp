#include <Bench/GeneratedModel.h>
#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Programs/mirel/Diff/BodyStore.h>
#include <Programs/mirel/Diff/ChangeReport.h>
#include <Programs/mirel/Diff/Changes.h>
#include <Programs/mirel/Diff/PartMatching.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <memory>
#include <stdexcept>

namespace mirel::bench {

namespace {

constexpr std::size_t kBodies = 100;

// The older version and the newer one, in folders of their own.
//   few   one part in a hundred is moved, one renamed, one gone, and one has another body
//   all   every part is moved, all are called alike and are of one body
void MakeVersion(const std::string& folder, const TaskInput& input, bool isNewer) {
  const bool isAll = input.kind == "all";
  LiteModel model;
  for (std::size_t i = 0; i < kBodies; ++i) {
    model.AddShape(GeneratedModel::BodyId(i), std::make_shared<TopoShape>(GeneratedModel::MakeBody(i + 1)));
  }
  LiteModel source;
  GeneratedModel::AddFlat(source, input.count, isAll ? 1 : kBodies);
  for (std::size_t i = 0; i < input.count; ++i) {
    const auto& from = dynamic_cast<const ShapeItem&>(*source.GetItems()[i]);
    const std::size_t kind = isNewer ? i / kBodies * 7 % kBodies + i % kBodies : 0;
    if (isNewer && !isAll && kind % kBodies == 1) continue;
    auto item = std::make_unique<ShapeItem>();
    item->SetId(ObjectId::NewId());
    item->SetName(isAll ? "part" : from.GetName());
    item->SetColor(from.GetColor());
    item->SetShapeId(from.GetShapeId());
    glm::dmat4 transform = from.GetTransform();
    if (isNewer && (isAll || kind % kBodies == 2)) transform[3].x += 3.0;
    if (isNewer && !isAll && kind % kBodies == 3) item->SetName("another name");
    if (isNewer && !isAll && kind % kBodies == 4) item->SetShapeId(GeneratedModel::BodyId((i + 1) % kBodies));
    item->SetTransform(transform);
    model.AddItem(std::move(item));
  }
  LiteModelWriter(model).Save(folder);
}

struct Version {
  explicit Version(const std::string& folder) : store(folder) {
    const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(folder + "index.gz", nullptr);
    if (!root || !store.Load()) throw std::runtime_error("cannot open " + folder);
    model = std::make_unique<ComparedModel>(root, store);
  }
  BodyStore store;
  std::unique_ptr<ComparedModel> model;
};

Figures Diff(const TaskInput& input) {
  const std::string older = input.work + "older/", newer = input.work + "newer/";
  MakeVersion(older, input, false);
  MakeVersion(newer, input, true);
  Figures figures;
  Meter meter;
  const Version a(older), b(newer);
  meter.Lap().AddTo(figures, "open");
  BodyClasses classes(*a.model, *b.model);
  const PartMatching parts(*a.model, *b.model, classes);
  meter.Lap().AddTo(figures, "match");
  const NodeMatching nodes(*a.model, *b.model, parts);
  const Changes changes(*a.model, *b.model, classes, nodes);
  meter.Lap().AddTo(figures, "changes");
  const std::size_t bytes = ChangeReport::MakeJson(older, newer, changes).size();
  meter.Lap().AddTo(figures, "report");
  meter.Stop(figures);
  figures.Set("count", static_cast<double>(changes.GetAll().size()));
  figures.Set("equal", static_cast<double>(changes.CountEqualParts()));
  figures.Set("bytes", static_cast<double>(bytes));
  return figures;
}

}  // namespace

std::vector<Task> DiffTasks() {
  return {{"diff", "compare two versions (--kind few or all) of a generated model with --count parts", Diff}};
}

}  // namespace mirel::bench
