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

struct Seconds {
  double inflate = 0.0;
  double decode = 0.0;
};

/// Inflates a file and hands it to a reader; the time of each is added.
template <class Read>
void ReadFile(const std::string& path, Meter& meter, Seconds& seconds, double& bytes, Read&& read) {
  std::shared_ptr<RawBuffer> content = GzBuffer::FromFile(path);
  seconds.inflate += meter.Lap();
  if (!content) throw std::runtime_error("cannot inflate " + path);
  bytes += static_cast<double>(content->GetSize());
  if (!read(*content)) throw std::runtime_error("cannot read " + path);
  content.reset();
  seconds.decode += meter.Lap();
}

template <class Reader>
Seconds ReadPackages(LiteModel& model, const std::string& folder, unsigned int count, Meter& meter,
                     double& bytes) {
  Seconds seconds;
  for (unsigned int n = 1; n <= count; ++n) {
    ReadFile(folder + std::to_string(n) + ".gz", meter, seconds, bytes, [&](const RawBuffer& content) {
      return Reader(model).Load(content.GetData(), static_cast<unsigned int>(content.GetSize()));
    });
  }
  return seconds;
}

}  // namespace

void OpenByStages(const std::string& index, Figures& figures) {
  const std::string folder = PathUtil::GetFolderPath(index);
  const auto root = std::make_shared<GroupSceneNode>();
  auto model = std::make_unique<LiteModel>();
  LiteModelReader reader(*model);
  double bytes = 0.0;

  Meter meter;
  Seconds text;
  ReadFile(index, meter, text, bytes,
           [&](const RawBuffer& content) { return reader.Load(content.GetData()); });
  const Seconds greps =
      ReadPackages<PkgGRepReader>(*model, folder + "grep/", reader.GetPkgGRep(), meter, bytes);
  const Seconds shapes =
      ReadPackages<PkgShapeReader>(*model, folder + "model/", reader.GetPkgShape(), meter, bytes);
  model->ApplyShape();
  LiteVisualVisitor visitor(*model, nullptr, root);
  model->Apply(&visitor);
  const double scene = meter.Lap();
  model.reset();
  const double release = meter.Lap();
  meter.Stop(figures);

  figures.Set("inflate", text.inflate + greps.inflate + shapes.inflate);
  figures.Set("index", text.decode);
  figures.Set("grep", greps.decode);
  figures.Set("bodyCheck", shapes.decode);
  figures.Set("scene", scene);
  figures.Set("release", release);
  figures.Set("inflatedBytes", bytes);
  CountScene(*root, figures);
}

}  // namespace mirel::bench
