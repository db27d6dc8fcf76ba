#include <Viewer/Kernel/IO/LiteFolderReader.h>

#include <Viewer/Kernel/Host/GeometryView/BodyArrival.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/FolderLoad.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Scene/SceneBuilder.h>

#include <filesystem>
#include <system_error>

namespace mirel {

namespace {

class FolderStages : public StagedReader::Stages {
 public:
  FolderStages(const std::string& index, StagedReader::Bodies bodies, StagedReader::Watcher& watcher)
      : load_(index), keepsBodies_(bodies == StagedReader::Bodies::kKeep), watcher_(watcher) {}

  ~FolderStages() override { arrival_->End(); }

  void ShareNodes() override { nodes_ = InstanceNodes::kShared; }

  std::shared_ptr<SceneNode> LoadGraphics() override {
    if (!load_.LoadIndex()) return nullptr;
    watcher_.Expect(load_.CountIndexBytes() + load_.CountPackageBytes());
    if (!Advance(load_.CountIndexBytes())) return nullptr;
    load_.LoadGReps([this](std::uint64_t bytes) { return Advance(bytes); });
    if (isCalledOff_) return nullptr;
    const std::shared_ptr<SceneNode> root = BuildScene(load_.GetModel(), nodes_);
    if (keepsBodies_) ExpectShapes();
    return root;
  }

  void LoadBodies() override {
    LiteModel& model = load_.GetModel();
    model.Clear();  // the graphics stay, which is all that bodies need
    load_.LoadShapes([&](std::uint64_t bytes) {
      if (keepsBodies_) model.ApplyShape();
      model.Clear();
      arrival_->Announce();
      return Advance(bytes);
    });
    arrival_->End();
  }

 private:
  void ExpectShapes() {
    for (const auto& [id, grep] : load_.GetModel().GetGRepShapes())
      grep->ExpectShape(arrival_);
  }

  bool Advance(std::uint64_t bytes) {
    isCalledOff_ = !watcher_.Advance(bytes);
    return !isCalledOff_;
  }

  FolderLoad load_;
  const bool keepsBodies_;
  InstanceNodes nodes_ = InstanceNodes::kOwn;
  StagedReader::Watcher& watcher_;
  const std::shared_ptr<BodyArrival> arrival_ = std::make_shared<BodyArrival>();
  bool isCalledOff_ = false;
};

}  // namespace

std::string LiteFolderReader::FindFile(const std::string& folder) const {
  if (folder.empty()) return std::string();  // no path, and not the current folder
  std::error_code ignored;
  const std::filesystem::path index = std::filesystem::u8path(folder) / FolderFiles::kIndex;
  return std::filesystem::is_regular_file(index, ignored) ? index.u8string() : std::string();
}

std::shared_ptr<SceneNode> LiteFolderReader::Load(const std::string& path, MaterialInstance* material) {
  const std::string inside = FindFile(path);
  return LiteSceneReader::Load(inside.empty() ? path : inside, material);
}

std::unique_ptr<StagedReader::Stages> LiteFolderReader::Begin(const std::string& path, Bodies bodies,
                                                              Watcher& watcher) {
  const std::string inside = FindFile(path);
  return std::make_unique<FolderStages>(inside.empty() ? path : inside, bodies, watcher);
}

}  // namespace mirel
