#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mirel {

/// How much of each pixel a text covers.
struct TextImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> cover;  ///< width * height, rows from top to bottom, 0 to 255
};

/// Draws lines of text in any script, with the fonts of the system. One thread at a time.
class TextPainter {
 public:
  TextPainter();
  ~TextPainter();

  TextPainter(const TextPainter&) = delete;
  TextPainter& operator=(const TextPainter&) = delete;

  struct Style {
    int size = 16;  ///< of the letters, in pixels; the line is a little higher
    bool bold = false;
    int maxWidth = 0;  ///< pixels; what is longer ends with an ellipsis. 0: as long as it is
  };
  /// One line; controls in it, and bytes that are no UTF-8, are replaced. Boxes stand for characters that no font has.
  TextImage Draw(const std::string& text, const Style& style);

  /// Texts of which no font had all characters.
  const std::vector<std::string>& GetTextsWithoutFont() const { return withoutFont_; }

 private:
  struct Fonts;

  std::unique_ptr<Fonts> fonts_;
  std::vector<std::string> withoutFont_;
};

}  // namespace mirel
