#include <Programs/mirel/Web/DrawingPackages.h>

#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Web/LzipFile.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Writer/PkgContainerWriter.h>

#include <cstddef>
#include <locale>
#include <memory>
#include <sstream>

namespace mirel {

namespace {

std::string MakePackage(const ModelFolder& folder, const ModelFolder::File& package) {
  PkgContainerWriter container(1);
  for (const ObjectId& id : package.bodies) {
    const std::shared_ptr<GRepShape> grep = folder.GetModel().FindGRepShape(id);
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    if (!grep || !grep->ToDrawingStream(stream)) {
      return std::string();
    }
    container.AddItem(id, stream.str());
  }
  return container.GetItemCount() > 0 ? LzipFile::Pack(container.MakeContent()) : std::string();
}

}  // namespace

std::vector<std::string> DrawingPackages::Make(const ModelFolder& folder) {
  const std::vector<const ModelFolder::File*> packages = folder.GetPackages(FolderFiles::kGReps);
  std::vector<std::string> drawings(packages.size());
  std::size_t bytes = 0;
  for (const ModelFolder::File* const package : packages) {
    bytes += package->bytes;
  }
  ShareOut(packages.size(), bytes, [&](std::size_t i) { drawings[i] = MakePackage(folder, *packages[i]); });
  return drawings;
}

}  // namespace mirel
