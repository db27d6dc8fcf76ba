#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Core/StringUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>
#include <Viewer/Kernel/Scene/SceneBuilder.h>

#include <set>
#include <utility>

namespace mirel {

namespace {

/// Loads the packages of one kind, in the order of their numbers, one at a time.
template <class PackageReader>
void LoadPackages(LiteModel& model, const std::string& folder, unsigned int count) {
  const PackageSearch search(PackageSearch::List(folder), count);
  for (const std::uint32_t number : search.numbers) {
    const std::string name = folder + FolderFiles::GetPackageName(number);
    const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(name);
    if (!buffer) {
      MIREL_FAILURE("Buffer is null!");
      continue;
    }
    if (!PackageReader(model, name).Load(buffer->GetData(), static_cast<unsigned int>(buffer->GetSize()))) {
      MIREL_FAILURE("%s: not a package, or its table is cut short", name.c_str());
    }
  }
  if (search.leftOut > 0) {
    MIREL_FAILURE("%u more packages of %s are missing: the index counts %u", search.leftOut, folder.c_str(),
                  count);
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
  std::string text(index->GetData());
  index.reset();
  if (!reader.Load(std::move(text))) return nullptr;

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
