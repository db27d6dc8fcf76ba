#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <cstdint>
#include <vector>

namespace mirel {

/// Which body and which face is seen in the middle of each pixel of a picture.
struct FaceMap {
  /// `placement` where nothing is seen.
  static constexpr std::uint32_t kNothing = 0xFFFFFFFFu;
  /// Added to the number of a section plane, in place of a face: the cut through the material.
  static constexpr std::uint32_t kCut = 0x80000000u;

  struct Entry {
    std::uint32_t placement = kNothing;  ///< the scene's number
    std::uint32_t face = 0;              ///< position in `GRepMesh::faces`, or from `kCut` on
  };

  int width = 0;
  int height = 0;
  std::vector<Entry> entries;  ///< width * height, rows from top to bottom

  const Entry& Get(int x, int y) const { return entries[static_cast<std::size_t>(y) * width + x]; }
};

}  // namespace mirel
