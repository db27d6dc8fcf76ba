// The only file that knows Pango: it finds a font for each script, shapes the letters and puts them in order.
#include <Programs/mirel/Picture/TextPainter.h>

#include <Programs/mirel/Text/Utf8.h>

#include <pango/pangoft2.h>

#include <memory>
#include <string_view>

namespace mirel {

namespace {

// More than fits on any sheet, of a name that never ends.
constexpr std::size_t kMaxCharacters = 300;

struct Release {
  void operator()(void* object) const { g_object_unref(object); }
  void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};

std::string MakeLine(std::string_view text) {
  std::string line;
  std::size_t at = 0;
  for (std::size_t count = 0; at < text.size() && count < kMaxCharacters; ++count) {
    const Utf8::Character character = Utf8::Decode(text, at);
    const char32_t code = character.valid ? character.code : U'\uFFFD';
    Utf8::Append(line, Utf8::IsControl(code) ? U' ' : code);
    at += character.length;
  }
  return line;
}

std::unique_ptr<PangoLayout, Release> LayOut(PangoContext* context, const std::string& line,
                                             const TextPainter::Style& style) {
  const std::unique_ptr<PangoFontDescription, Release> font(pango_font_description_from_string("Sans"));
  pango_font_description_set_absolute_size(font.get(), style.size * PANGO_SCALE);
  pango_font_description_set_weight(font.get(), style.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  std::unique_ptr<PangoLayout, Release> layout(pango_layout_new(context));
  pango_layout_set_font_description(layout.get(), font.get());
  pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
  if (style.maxWidth > 0) {
    pango_layout_set_width(layout.get(), style.maxWidth * PANGO_SCALE);
    pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
  }
  pango_layout_set_text(layout.get(), line.data(), static_cast<int>(line.size()));
  return layout;
}

}  // namespace

struct TextPainter::Fonts {
  std::unique_ptr<PangoFontMap, Release> all{pango_ft2_font_map_new()};
  std::unique_ptr<PangoContext, Release> context{pango_font_map_create_context(all.get())};
};

TextPainter::TextPainter() : fonts_(std::make_unique<Fonts>()) {}

TextPainter::~TextPainter() = default;

TextImage TextPainter::Draw(const std::string& text, const Style& style) {
  const auto layout = LayOut(fonts_->context.get(), MakeLine(text), style);
  if (pango_layout_get_unknown_glyphs_count(layout.get()) > 0) {
    withoutFont_.push_back(text);
  }
  PangoRectangle extent;
  pango_layout_get_pixel_extents(layout.get(), nullptr, &extent);
  TextImage image;
  image.width = extent.width;
  image.height = extent.height;
  image.cover.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
  FT_Bitmap bitmap = {};
  bitmap.rows = static_cast<unsigned>(image.height);
  bitmap.width = static_cast<unsigned>(image.width);
  bitmap.pitch = image.width;
  bitmap.buffer = image.cover.data();
  bitmap.num_grays = 256;
  bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
  if (!image.cover.empty()) {
    pango_ft2_render_layout(&bitmap, layout.get(), -extent.x, -extent.y);
  }
  return image;
}

}  // namespace mirel
