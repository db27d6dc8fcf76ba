#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Gzip/RawBuffer.h>

#include <cstddef>
#include <memory>
#include <string>

namespace mirel {

/// Reads gzip files, and gzip data that lies in memory. Thread safe: no state.
class MIREL_HOST_API GzBuffer {
 public:
  /// Inflates the gzip file at a narrow path (UTF-8) into memory, in one go. Several gzip members one behind the other
  /// are one content.
  ///
  /// Gives an empty pointer, and the path and the reason as a notice (level 1), when the path names no regular file,
  /// the file cannot be read, any byte of it belongs to no gzip member, a checksum or length does not fit, or the
  /// content is larger than a package or an index may be (`kMaxInflatedBytes`), out of all proportion to the file
  /// (`kMaxContentRatio`), or more than the `MemoryBudget` has room for. The size that a file declares is
  /// believed only as far as its compressed bytes could hold it.
  static std::shared_ptr<RawBuffer> FromFile(const std::string& path);

  /// The same for `size` bytes in memory: a gzip file that came by another way, out of an archive or from a
  /// server. `name` stands for them in the notice. An extra operation of this host; the module does not call it.
  static std::shared_ptr<RawBuffer> FromMemory(const char* data, std::size_t size, const std::string& name);
};

}  // namespace mirel
