#include <Programs/mirel/Open/ModelPath.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace mirel {

std::string ModelPath::FindIndex(const std::string& path) {
  std::error_code ignored;
  const fs::path given = fs::u8path(path);
  return fs::is_directory(given, ignored) ? (given / "index.gz").u8string() : path;
}

std::string ModelPath::Check(const std::string& path) {
  std::error_code failure;
  const fs::file_status status = fs::status(fs::u8path(path), failure);
  if (!fs::exists(status)) {
    return failure && status.type() != fs::file_type::not_found ? failure.message() : "no such folder";
  }
  if (!fs::is_directory(status)) {
    return fs::is_regular_file(status) ? "" : "not a regular file";
  }
  if (!fs::exists(fs::u8path(FindIndex(path)), failure)) {
    return "is not a model folder (it has no index.gz)";
  }
  return std::string();
}

}  // namespace mirel
