#pragma once

#include <string>
#include <string_view>

namespace mirel {

/// Packs what web pages fetch first: lzip, which takes about a quarter less than gzip.
struct LzipFile {
  /// A file of one member; the same content gives the same bytes. Empty when the content shrinks so much that readers would
  /// take the file for a trap.
  static std::string Pack(std::string_view content);
};

}  // namespace mirel
