#include <Viewer/Kernel/Host/Core/PathUtil.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <exception>
#include <filesystem>
#include <system_error>

namespace mirel {

bool PathUtil::CreateFolders(const std::string& path) {
  try {
    // "a/b/" would make create_directories report that nothing was created; the status says what counts.
    const std::filesystem::path folder = std::filesystem::u8path(path);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::error_code statusError;
    if (std::filesystem::is_directory(folder, statusError)) return true;
    if (!error) error = statusError ? statusError : std::make_error_code(std::errc::not_a_directory);
    MIREL_HOST_FAILURE("Cannot create folder %s: %s", path.c_str(), error.message().c_str());
  } catch (const std::exception& e) {  // text that is no path in the system's encoding
    MIREL_HOST_FAILURE("Cannot create folder %s: %s", path.c_str(), e.what());
  }
  return false;
}

std::string PathUtil::GetFolderPath(const std::string& path) {
#if defined(_WIN32)
  const char* const separators = "/\\";
#else
  const char* const separators = "/";
#endif
  const std::size_t last = path.find_last_of(separators);
  return last == std::string::npos ? std::string() : path.substr(0, last + 1);
}

}  // namespace mirel
