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

/// Reads a regular file whole into `bytes` and `size`. False with the reason in words when it is not a regular file
/// (a folder, a device, a pipe) or cannot be read; the outputs are then as they were.
bool ReadWholeFile(const std::string& path, MallocBytes& bytes, std::size_t& size, std::string& reason);

/// Puts a file in place of whatever file has the name now: writes the bytes to a hidden file beside it, flushes it to
/// the disk and renames it. A reader, and a crash at any moment, finds the old file or the new one. False with the
/// reason when that failed; the hidden file is then gone and the old file is as it was.
bool ReplaceFile(const std::string& path, const char* data, std::size_t size, std::string& reason);

}  // namespace mirel
