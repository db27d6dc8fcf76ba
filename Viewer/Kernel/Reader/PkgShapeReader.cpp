#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/PkgContainerReader.h>

#include <utility>

namespace mirel {

PkgShapeReader::PkgShapeReader(LiteModel& model, std::string source)
    : model_(model), source_(std::move(source)) {}

bool PkgShapeReader::Load(const char* data, unsigned int size) {
  const auto decode = [](const char* bytes, unsigned int itemSize) -> std::shared_ptr<void> {
    return TopoShape::Read(std::string(bytes, itemSize));
  };
  const auto add = [this](const ObjectId& id, const std::shared_ptr<void>& item) {
    model_.AddShape(id, std::static_pointer_cast<TopoShape>(item));
  };
  return ReadPackage(data, size, source_, __FILE__, __LINE__, decode, add);
}

}  // namespace mirel
