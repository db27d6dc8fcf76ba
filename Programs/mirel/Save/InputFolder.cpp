#include <Programs/mirel/Save/InputFolder.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Save/Conversion.h>
#include <Programs/mirel/View/TarPieces.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

// Whether `path` is a file that `mirel save` reads, rather than a model folder or its index.
bool IsSource(const std::string& path) {
  const fs::path file = fs::u8path(path);
  std::error_code failure;
  return fs::is_regular_file(file, failure) && file.filename() != FolderFiles::kIndex;
}

}  // namespace

std::string InputFolder::GetName(const std::string& input) {
  std::error_code failure;
  fs::path place = fs::absolute(fs::u8path(input), failure).lexically_normal();
  if (!place.has_filename() || place.filename() == FolderFiles::kIndex) {
    place = place.parent_path();  // a folder with a slash behind it, or its index
  }
  return IsSource(input) ? place.stem().u8string() : place.filename().u8string();
}

ExitCode InputFolder::Prepare(Console& console, const std::string& input) {
  path_ = input;
  if (!IsSource(input)) {
    return ExitCode::kDone;
  }
  path_ = made_.emplace().GetPath();
  const ExitCode result =
      TarPieces::IsArchiveName(input) ? Unpack(console, input) : Conversion({}).Run(console, input, path_);
  made_->Watch();
  return result;
}

ExitCode InputFolder::Unpack(Console& console, const std::string& archive) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(archive.c_str(), "rb"), &std::fclose);
  if (!file) {
    console.Error(archive, std::generic_category().message(errno));
    return ExitCode::kInputUnread;
  }
  TarPieces pieces;
  if (!pieces.Load(file.get())) {
    console.Error(archive, pieces.GetError());
    return ExitCode::kInputUnread;
  }
  if (!pieces.Unpack(path_ + "/")) {
    console.Error(archive, pieces.GetError());
    return ExitCode::kOutputUnwritten;
  }
  return ExitCode::kDone;
}

}  // namespace mirel
