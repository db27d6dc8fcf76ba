#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

namespace mirel {

/// Bytes that `std::malloc` gave: unlike a vector's, they are not cleared before they are filled.
struct FreeDeleter {
  void operator()(char* bytes) const { std::free(bytes); }
};
using MallocBytes = std::unique_ptr<char, FreeDeleter>;

/// Reads a gzip file, or one that a link leads to, whole and as it is into `bytes` and `size`. Never waits for what is no
/// regular file (a folder, a device, a pipe) and reads nothing of it. False with the reason in words when it is none, does
/// not begin as gzip files do, is larger than `kMaxPackedBytes` or cannot be read; the outputs are then as they were.
/// Takes as much memory as the file says it is long, once its beginning is right.
bool ReadGzipFile(const std::string& path, MallocBytes& bytes, std::size_t& size, std::string& reason);

/// Puts a file in place of whatever file has the name now: writes the bytes to a hidden file beside it, flushes it to
/// the disk and renames it. A reader, and a crash at any moment, finds the old file or the new one. False with the
/// reason when that failed; the hidden file is then gone and the old file is as it was.
bool ReplaceFile(const std::string& path, const char* data, std::size_t size, std::string& reason);

}  // namespace mirel
