#include <Viewer/Kernel/Reader/PkgContainerReader.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <algorithm>
#include <cstdint>

namespace mirel {

namespace {

constexpr unsigned int kCountSize = 4;
constexpr unsigned int kEntrySize = 16;

std::uint64_t LittleEndian(const char* bytes, int count) {
  std::uint64_t value = 0;
  for (int i = count; i-- > 0;)
    value = (value << 8) | static_cast<unsigned char>(bytes[i]);
  return value;
}

}  // namespace

bool ReadPackage(
    const char* data, unsigned int size, const std::string& source, const char* file, int line,
    const std::function<bool(const ObjectId& id, const char* bytes, unsigned int size)>& decode) {
  if (size < kCountSize) return false;
  const std::uint64_t count = LittleEndian(data, 4);
  if (count == 0 || count > (size - kCountSize) / kEntrySize) return false;

  const char* entry = data + kCountSize;
  const char* bytes = entry + kEntrySize * count;
  const char* const end = data + size;
  for (std::uint64_t i = 0; i < count; ++i, entry += kEntrySize) {
    ObjectId id;
    id.SetInteger(LittleEndian(entry, 8));
    // The offset at entry + 8 is not needed: items follow each other.
    const unsigned int itemSize = static_cast<unsigned int>(LittleEndian(entry + 12, 4));
    const unsigned int present = static_cast<unsigned int>(std::min<std::uint64_t>(itemSize, end - bytes));
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
