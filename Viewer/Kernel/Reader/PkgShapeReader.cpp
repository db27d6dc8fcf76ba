#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/PkgContainerReader.h>

#include <utility>

namespace mirel {

PkgShapeReader::PkgShapeReader(LiteModel& model, std::string source)
    : model_(model), source_(std::move(source)) {}

bool PkgShapeReader::Load(const char* data, unsigned int size) {
  return ReadPackage(data, size, source_, __FILE__, __LINE__,
                     [&](const ObjectId& id, const char* bytes, unsigned int itemSize) {
                       const std::shared_ptr<TopoShape> shape = TopoShape::Read(std::string(bytes, itemSize));
                       if (shape) model_.AddShape(id, shape);
                       return shape != nullptr;
                     });
}

}  // namespace mirel
