#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <cstdint>
#include <string>
#include <vector>

namespace mirel {

/// An image: sRGB, 8 bits for each of red, green, blue and alpha, which does not premultiply.
struct MIREL_DRAW_API Picture {
  /// The largest width and height, and the most pixels in all.
  static constexpr int kMaxSide = 32768;
  static constexpr std::int64_t kMaxPixels = 100000000;

  int width = 0;
  int height = 0;
  std::vector<std::uint8_t>
      pixels;  ///< 4 * width * height: rows from top to bottom, pixels from left to right

  /// Black and fully transparent. Sizes below 1 or above the limits make an empty picture.
  Picture(int width, int height);
  Picture() = default;

  std::uint8_t* GetPixel(int x, int y) { return &pixels[4 * (static_cast<std::size_t>(y) * width + x)]; }
  const std::uint8_t* GetPixel(int x, int y) const {
    return &pixels[4 * (static_cast<std::size_t>(y) * width + x)];
  }

  /// Writes a PNG file at a narrow path (UTF-8), marked as sRGB, without an alpha channel when all is opaque; the same
  /// bytes for the same picture. The file is put in place when it is complete. False with a reason when that fails: then
  /// what was there before is still there.
  bool Save(const std::string& path, std::string& reason) const;

  /// Reads a PNG file of any kind. False with a reason when it cannot be read; the picture is empty then.
  bool Load(const std::string& path, std::string& reason);
};

}  // namespace mirel
