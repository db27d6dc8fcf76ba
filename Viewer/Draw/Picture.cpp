#include <Viewer/Draw/Picture.h>

#include <Viewer/Draw/CompressedRows.h>

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <random>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::FILE* Open(const fs::path& path, const char* mode) {
#if defined(_WIN32)
  const std::wstring wide(mode, mode + std::strlen(mode));
  return _wfopen(path.c_str(), wide.c_str());
#else
  return std::fopen(path.c_str(), mode);
#endif
}

void KeepReason(png_structp png, png_const_charp text) {
  *static_cast<std::string*>(png_get_error_ptr(png)) = text;
  png_longjmp(png, 1);
}

void DropWarning(png_structp, png_const_charp) {}

bool IsOpaque(const Picture& picture) {
  for (std::size_t i = 3; i < picture.pixels.size(); i += 4) {
    if (picture.pixels[i] != 255) return false;
  }
  return true;
}

// No object with a destructor may live in here: errors leave by longjmp.
bool WriteRows(png_structp png, png_infop info, std::FILE* file, const Picture& picture, bool opaque,
               const CompressedRows& rows) {
  static const png_byte kData[] = {'I', 'D', 'A', 'T'}, kEnd[] = {'I', 'E', 'N', 'D'};
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height),
               8, opaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_sRGB_gAMA_and_cHRM(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
  png_write_info(png, info);
  for (std::size_t i = 0; i < rows.GetStrips().size(); ++i)
    png_write_chunk(png, kData, rows.GetStrips()[i].data(), rows.GetStrips()[i].size());
  png_write_chunk(png, kEnd, nullptr, 0);
  return true;
}

bool WriteFile(std::FILE* file, const Picture& picture, std::string& reason) {
  const bool opaque = IsOpaque(picture);
  const CompressedRows rows(picture, !opaque);
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &reason, KeepReason, DropWarning);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  errno = 0;
  const bool written =
      info != nullptr && WriteRows(png, info, file, picture, opaque, rows) && std::fflush(file) == 0;
  if (!written && errno != 0) reason = std::generic_category().message(errno);
  if (!written && reason.empty()) reason = "out of memory";
  png_destroy_write_struct(&png, &info);
  return written;
}

// As above.
bool ReadHeader(png_structp png, png_infop info, std::FILE* file) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_user_limits(png, Picture::kMaxSide, Picture::kMaxSide);
  png_init_io(png, file);
  png_read_info(png, info);
  png_set_expand(png);
  png_set_strip_16(png);
  png_set_gray_to_rgb(png);
  png_set_filler(png, 255, PNG_FILLER_AFTER);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  return true;
}

bool ReadRows(png_structp png, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_read_image(png, rows);
  return true;
}

}  // namespace

Picture::Picture(int pictureWidth, int pictureHeight) {
  if (pictureWidth < 1 || pictureHeight < 1 || pictureWidth > kMaxSide || pictureHeight > kMaxSide ||
      std::int64_t{pictureWidth} * pictureHeight > kMaxPixels)
    return;
  width = pictureWidth;
  height = pictureHeight;
  pixels.resize(std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
}

bool Picture::Save(const std::string& path, std::string& reason) const {
  reason.clear();
  if (pixels.empty()) {
    reason = "a picture without pixels";
    return false;
  }
  const fs::path target = fs::u8path(path);
  fs::path aside = target;
  aside.replace_filename("." + target.filename().u8string() + "." + std::to_string(std::random_device()()) +
                         ".part");
  std::unique_ptr<std::FILE, CloseFile> file(Open(aside, "wbx"));
  if (!file) {
    reason = std::generic_category().message(errno);
    return false;
  }
  bool written = false;
  try {
    written = WriteFile(file.get(), *this, reason);
  } catch (const std::bad_alloc&) {
    reason = "out of memory";
  }
  if (std::fclose(file.release()) != 0 && written) {
    reason = std::generic_category().message(errno);
    written = false;
  }
  std::error_code failure;
  if (written) {
    fs::rename(aside, target, failure);
    if (!failure) return true;
    reason = failure.message();
  }
  fs::remove(aside, failure);
  return false;
}

bool Picture::Load(const std::string& path, std::string& reason) {
  *this = Picture();
  reason.clear();
  const std::unique_ptr<std::FILE, CloseFile> file(Open(fs::u8path(path), "rb"));
  if (!file) {
    reason = std::generic_category().message(errno);
    return false;
  }
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reason, KeepReason, DropWarning);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  bool read = info != nullptr && ReadHeader(png, info, file.get());
  if (read) {
    *this = Picture(static_cast<int>(png_get_image_width(png, info)),
                    static_cast<int>(png_get_image_height(png, info)));
    std::vector<png_bytep> rows;
    for (int y = 0; y < height; ++y)
      rows.push_back(GetPixel(0, y));
    read = !rows.empty() && ReadRows(png, rows.data());
  }
  png_destroy_read_struct(&png, &info, nullptr);
  if (read) return true;
  if (reason.empty()) reason = "too large";
  *this = Picture();
  return false;
}

}  // namespace mirel
