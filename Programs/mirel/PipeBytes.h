#pragma once

#if !defined(_WIN32)

#include <cerrno>
#include <cstddef>
#include <unistd.h>

namespace mirel {

/// Bytes through pipes between this process and its children, whole, whatever signals come in between.
struct PipeBytes {
  /// False when nobody listens any more.
  static bool Write(int pipe, const char* data, std::size_t size) {
    while (size > 0) {
      const ssize_t written = write(pipe, data, size);
      if (written < 0 && errno == EINTR) {
        continue;
      }
      if (written <= 0) {
        return false;
      }
      data += written;
      size -= static_cast<std::size_t>(written);
    }
    return true;
  }

  /// False when fewer bytes come.
  static bool Read(int pipe, char* data, std::size_t size) {
    while (size > 0) {
      const ssize_t got = read(pipe, data, size);
      if (got < 0 && errno == EINTR) {
        continue;
      }
      if (got <= 0) {
        return false;
      }
      data += got;
      size -= static_cast<std::size_t>(got);
    }
    return true;
  }
};

}  // namespace mirel

#endif
