#include <Viewer/Kernel/Reader/PkgGRepReader.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/MemoryStream.h>
#include <Viewer/Kernel/Reader/PkgContainerReader.h>

#include <utility>

namespace mirel {

PkgGRepReader::PkgGRepReader(LiteModel& model, std::string source)
    : model_(model), source_(std::move(source)) {}

bool PkgGRepReader::Load(const char* data, unsigned int size) {
  return ReadPackage(data, size, source_, __FILE__, __LINE__,
                     [&](const ObjectId& id, const char* bytes, unsigned int itemSize) {
                       MemoryStream stream(bytes, itemSize);
                       const std::shared_ptr<GRepShape> grep = GRepShape::FromStream(stream);
                       if (grep) model_.AddShape(id, grep);
                       return grep != nullptr;
                     });
}

}  // namespace mirel
