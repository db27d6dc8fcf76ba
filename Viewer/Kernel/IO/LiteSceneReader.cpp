#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Viewer/Kernel/App/SceneBuilder.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Core/StringUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <set>

namespace mirel {

namespace {

/// Loads the packages 1.gz, 2.gz, ... of one kind, one at a time.
template <class PackageReader>
void LoadPackages(LiteModel& model, const std::string& folder, unsigned int count) {
  unsigned int missing = 0;
  for (unsigned int n = 1; n <= count && n != 0; ++n) {
    const std::string name = folder + std::to_string(n) + ".gz";
    const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(name);
    if (!buffer) {
      MIREL_FAILURE("Buffer is null!");
      if (++missing < kMaxMissingPackages || n == count) continue;
      MIREL_FAILURE("%u packages of %s are missing: numbers %u to %u are not looked for", missing,
                    folder.c_str(), n + 1, count);
      return;
    }
    if (!PackageReader(model, name).Load(buffer->GetData(), static_cast<unsigned int>(buffer->GetSize()))) {
      MIREL_FAILURE("%s: not a package, or its table is cut short", name.c_str());
    }
  }
}

}  // namespace

LiteSceneReader::LiteSceneReader() = default;

LiteSceneReader::~LiteSceneReader() = default;

std::shared_ptr<SceneNode> LiteSceneReader::Load(const Path& path, MaterialInstance* material) {
  return Load(path.GetText(), material);
}

std::shared_ptr<SceneNode> LiteSceneReader::Load(const std::wstring& path, MaterialInstance* material) {
  return Load(StringUtil::WStr2AStr(path), material);
}

std::shared_ptr<SceneNode> LiteSceneReader::Load(const std::string& path, MaterialInstance*) {
  std::shared_ptr<RawBuffer> index = GzBuffer::FromFile(path);
  if (!index) {
    MIREL_FAILURE("Buffer is null!");
    return nullptr;
  }
  LiteModel model;
  LiteModelReader reader(model);
  if (!reader.Load(std::string(index->GetData()))) return nullptr;
  index.reset();

  Logger::Instance().Message(2, "Loading GRep...");
  const std::string folder = PathUtil::GetFolderPath(path);
  LoadPackages<PkgGRepReader>(model, folder + "grep/", reader.GetPkgGRep());
  Logger::Instance().Message(2, "Loading Shape...");
  LoadPackages<PkgShapeReader>(model, folder + "model/", reader.GetPkgShape());
  return BuildScene(model);
}

void LiteSceneReader::ListFormats(std::map<std::string, std::string>& formats) {
  formats["Lite"] = "*.gz";
}

bool LiteSceneReader::Support(std::string extension) const {
  static const std::set<std::string> supported{".gz"};
  return supported.count(extension) > 0;
}

}  // namespace mirel
