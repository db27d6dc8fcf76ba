#include <Bench/GeneratedModel.h>
#include <Bench/Growth.h>
#include <Bench/Meter.h>
#include <Bench/StagedOpen.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>
#include <Viewer/Kernel/Writer/PkgGRepWriter.h>
#include <Viewer/Kernel/Writer/PkgShapeWriter.h>

#include <algorithm>
#include <stdexcept>

namespace mirel::bench {

namespace {

constexpr std::size_t kItemsOfDepthSeries = 100000;
constexpr std::size_t kItemsOfTypesSeries = 200000;
constexpr std::size_t kFacesOfPackage = 4000;  // their text is more than a package may hold
constexpr std::size_t kFacesOfSmallBody = 20;

void AddBodies(LiteModel& model, std::size_t count, std::size_t faces) {
  // Each from scratch: a body that is stored twice may still share what it is computed from.
  for (std::size_t i = 0; i < count; ++i) {
    model.AddShape(GeneratedModel::BodyId(i), std::make_shared<TopoShape>(GeneratedModel::MakeBody(faces)));
  }
}

/// A colour for every face of the first item.
void ColorFaces(LiteModel& model, std::size_t faces) {
  auto& item = dynamic_cast<ShapeItem&>(*model.GetItems().front());
  for (std::size_t i = 0; i < faces; ++i) {
    item.SetFaceColor(static_cast<int>(i), glm::vec3(static_cast<float>(i % 100) / 100.0F, 0.5F, 0.5F));
  }
}

void Generate(LiteModel& model, const std::string& kind, std::size_t count) {
  if (kind == "items") {
    AddBodies(model, 1, 1);
    GeneratedModel::AddFlat(model, count, 1);
  } else if (kind == "depth") {
    AddBodies(model, 1, 1);
    GeneratedModel::AddDeep(model, kItemsOfDepthSeries, static_cast<int>(count));
  } else if (kind == "types") {
    AddBodies(model, 1, 1);
    GeneratedModel::AddShared(model, kItemsOfTypesSeries, count);
  } else if (kind == "instances") {
    AddBodies(model, 1, 1);
    GeneratedModel::AddShared(model, count, 1);
  } else if (kind == "shapes") {
    AddBodies(model, count, kFacesOfSmallBody);
    GeneratedModel::AddFlat(model, count, count);
  } else if (kind == "faces") {
    AddBodies(model, 1, count);
    GeneratedModel::AddFlat(model, 1, 1);
    ColorFaces(model, count);
  } else if (kind == "packages") {
    AddBodies(model, count, kFacesOfPackage);
    GeneratedModel::AddFlat(model, count, count);
  } else {
    throw std::runtime_error("no growth series: " + kind);
  }
}

/// One package of each kind with --count bodies, whatever its size.
Figures SavePackages(const TaskInput& input) {
  LiteModel model;
  AddBodies(model, 1, kFacesOfSmallBody);
  const std::shared_ptr<TopoShape> body = model.GetShape().begin()->second;
  const std::shared_ptr<GRepShape> grep = GRepShape::Create(body, nullptr, nullptr, 0.0, true);
  grep->Compute();
  Figures figures;
  const Meter meter;
  PkgShapeWriter shapes(1);
  PkgGRepWriter greps(2);
  for (std::size_t i = 0; i < input.count; ++i) {
    shapes.AddItem(GeneratedModel::BodyId(i), body);
    greps.AddItem(GeneratedModel::BodyId(i), grep);
  }
  shapes.Write(input.work);
  greps.Write(input.work);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(input.work)));
  return figures;
}

Figures OpenPackages(const TaskInput& input) {
  Figures figures;
  LiteModel model;
  Meter meter;
  const std::shared_ptr<RawBuffer> shapes = GzBuffer::FromFile(input.work + "1.gz");
  const std::shared_ptr<RawBuffer> greps = GzBuffer::FromFile(input.work + "2.gz");
  if (!shapes || !greps) throw std::runtime_error("cannot inflate the packages in " + input.work);
  meter.Lap().AddTo(figures, "inflate");
  PkgGRepReader(model).Load(greps->GetData(), static_cast<unsigned int>(greps->GetSize()));
  meter.Lap().AddTo(figures, "grep");
  PkgShapeReader(model).Load(shapes->GetData(), static_cast<unsigned int>(shapes->GetSize()));
  meter.Lap().AddTo(figures, "bodyCheck");
  meter.Stop(figures);
  if (model.GetShape().size() != input.count || model.GetGRepShapes().size() != input.count) {
    throw std::runtime_error("a package did not give back what it was given");
  }
  figures.Set("inflatedBytes", static_cast<double>(shapes->GetSize() + greps->GetSize()));
  return figures;
}

Figures GrowthSave(const TaskInput& input) {
  if (input.kind == "packageSize") return SavePackages(input);
  LiteModel model;
  Generate(model, input.kind, input.count);
  Figures figures;
  const Meter meter;
  LiteModelWriter(model).Save(ModelFolder(input.work));
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(ModelFolder(input.work))));
  return figures;
}

Figures GrowthOpen(const TaskInput& input) {
  if (input.kind == "packageSize") return OpenPackages(input);
  Figures figures;
  OpenByStages(IndexFile(input.work), figures);
  return figures;
}

}  // namespace

std::vector<Task> GrowthTasks() {
  return {{"growth-save", "save a model of a growth series (--kind) with --count of what grows", GrowthSave},
          {"growth-open", "open the same stage by stage", GrowthOpen}};
}

const std::vector<GrowthSeries>& GetGrowthSeries() {
  static const std::vector<GrowthSeries> series{
      {"items", 1, 3000, 300000},     {"depth", 0, 5, kMaxNesting},   {"types", 0, 200, 100000},
      {"instances", 1, 3000, 300000}, {"shapes", 1, 100, 10000},      {"faces", 1, 300, 30000},
      {"packages", 1, 1, 16},         {"packageSize", 1, 300, 30000},
  };
  return series;
}

}  // namespace mirel::bench
