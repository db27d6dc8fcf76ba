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
  const auto decode = [](const char* bytes, unsigned int itemSize) -> std::shared_ptr<void> {
    MemoryStream stream(bytes, itemSize);
    return GRepShape::FromStream(stream);
  };
  const auto add = [this](const ObjectId& id, const std::shared_ptr<void>& item) {
    model_.AddShape(id, std::static_pointer_cast<GRepShape>(item));
  };
  return ReadPackage(data, size, source_, __FILE__, __LINE__, decode, add);
}

}  // namespace mirel
