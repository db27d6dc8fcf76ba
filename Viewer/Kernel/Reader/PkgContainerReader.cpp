#include <Viewer/Kernel/Reader/PkgContainerReader.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Reader/PackageTable.h>

#include <algorithm>
#include <cstddef>

namespace mirel {

bool ReadPackage(
    const char* data, unsigned int size, const std::string& source, const char* file, int line,
    const std::function<bool(const ObjectId& id, const char* bytes, unsigned int size)>& decode) {
  const PackageTable table(data, size);
  const std::size_t count = table.GetCount();
  if (count == 0) return false;

  const char* bytes = table.GetData();
  const char* const end = data + size;
  for (std::size_t i = 0; i < count; ++i) {
    const auto [id, offset, itemSize] = table.GetEntry(i);
    const std::size_t present = std::min<std::size_t>(itemSize, static_cast<std::size_t>(end - bytes));
    const bool whole = present == itemSize;
    if (!whole || !decode(id, bytes, itemSize)) {
      Logger& logger = Logger::Instance();
      logger.Message(1, "%s: item %llu of %llu, id %s, %u bytes%s", source.c_str(),
                     static_cast<unsigned long long>(i + 1), static_cast<unsigned long long>(count),
                     id.toString().c_str(), itemSize, whole ? "" : ", is cut short");
      logger.Message(3, "Shape is null!");
      logger.Message(1, "\t#%d, %s", line, Logger::GetFileName(file));
    }
    bytes += present;
  }
  return true;
}

}  // namespace mirel
