#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace mirel {

/// Reads and writes whole files as they are, at narrow paths (UTF-8).
struct FileBytes {
  using Take = std::function<void(const char* bytes, std::size_t size)>;

  /// Hands out the content of a regular file, or of one that a link leads to, block by block. Never waits for what is none,
  /// such as a pipe. False with the reason when it is none, cannot be read to its end or is larger than `limit`.
  static bool Read(const std::string& path, std::uint64_t limit, const Take& take, std::string& reason);

  /// Writes a new file and flushes it to the disk. False with the reason when that fails, or something has the name
  /// already, be it a link; there may be a part of the file otherwise.
  static bool Write(const std::string& path, const std::string& content, std::string& reason);

  /// Writes a file aside and puts it in place in one step, in the place of one that is there. False with the reason when that
  /// fails; then nothing has changed.
  static bool Replace(const std::string& path, const std::string& content, std::string& reason);
};

}  // namespace mirel
