#include <Bench/StagedOpen.h>

#include <Bench/Meter.h>
#include <Bench/SceneCount.h>

#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <memory>
#include <stdexcept>

namespace mirel::bench {

namespace {

struct Costs {
  Cost inflate;
  Cost decode;
};

/// Inflates a file and hands it to a reader; the cost of each is added.
template <class Read>
void ReadFile(const std::string& path, Meter& meter, Costs& costs, double& bytes, Read&& read) {
  std::shared_ptr<RawBuffer> content = GzBuffer::FromFile(path);
  costs.inflate += meter.Lap();
  if (!content) throw std::runtime_error("cannot inflate " + path);
  bytes += static_cast<double>(content->GetSize());
  if (!read(*content)) throw std::runtime_error("cannot read " + path);
  content.reset();
  costs.decode += meter.Lap();
}

template <class Reader>
Costs ReadPackages(LiteModel& model, const std::string& folder, unsigned int count, Meter& meter,
                   double& bytes) {
  Costs costs;
  for (unsigned int n = 1; n <= count; ++n) {
    ReadFile(folder + std::to_string(n) + ".gz", meter, costs, bytes, [&](const RawBuffer& content) {
      return Reader(model).Load(content.GetData(), static_cast<unsigned int>(content.GetSize()));
    });
  }
  return costs;
}

}  // namespace

void OpenByStages(const std::string& index, Figures& figures) {
  const std::string folder = PathUtil::GetFolderPath(index);
  const auto root = std::make_shared<GroupSceneNode>();
  auto model = std::make_unique<LiteModel>();
  LiteModelReader reader(*model);
  double bytes = 0.0;

  Meter meter;
  Costs text;
  ReadFile(index, meter, text, bytes,
           [&](const RawBuffer& content) { return reader.Load(content.GetData()); });
  const Costs greps =
      ReadPackages<PkgGRepReader>(*model, folder + "grep/", reader.GetPkgGRep(), meter, bytes);
  const Costs shapes =
      ReadPackages<PkgShapeReader>(*model, folder + "model/", reader.GetPkgShape(), meter, bytes);
  model->ApplyShape();
  LiteVisualVisitor visitor(*model, nullptr, root);
  model->Apply(&visitor);
  const Cost scene = meter.Lap();
  model.reset();
  const Cost release = meter.Lap();
  meter.Stop(figures);

  Cost inflate = text.inflate;
  inflate += greps.inflate;
  inflate += shapes.inflate;
  inflate.AddTo(figures, "inflate");
  text.decode.AddTo(figures, "index");
  greps.decode.AddTo(figures, "grep");
  shapes.decode.AddTo(figures, "bodyCheck");
  scene.AddTo(figures, "scene");
  release.AddTo(figures, "release");
  figures.Set("inflatedBytes", bytes);
  CountScene(*root, figures);
}

}  // namespace mirel::bench
