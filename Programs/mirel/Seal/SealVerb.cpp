#include <Programs/mirel/Seal/SealVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Save/FolderLock.h>
#include <Programs/mirel/Seal/FolderSeal.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

#include <CLI/CLI.hpp>

#include <filesystem>

namespace fs = std::filesystem;

namespace mirel {

CLI::App* SealVerb::Declare(CLI::App& program) {
  CLI::App* const verb = program.add_subcommand(
      "seal", "Write the checksums of a model folder anew, which check compares its files with");
  verb->add_option("FOLDER", folder_, "Model folder, or its index file")->required();
  return verb;
}

ExitCode SealVerb::Run(Console& console) {
  const std::string refusal = ModelPath::Check(folder_);
  if (!refusal.empty()) {
    console.Error(folder_, refusal);
    return ExitCode::kInputUnread;
  }
  const std::string folder = PathUtil::GetFolderPath(ModelPath::FindIndex(folder_));
  // Another seal would write the same files, and a save may replace the folder meanwhile.
  std::error_code failure;
  const fs::path place = fs::canonical(fs::u8path(folder.empty() ? "." : folder), failure);
  FolderLock lock;
  if (lock.Take(place) == FolderLock::Result::kBusy) {
    console.Error(folder_, "another process works on it");
    return ExitCode::kOutputUnwritten;
  }
  FolderSeal::Sums sums;
  std::string reason;
  if (!FolderSeal::Make(folder, sums, reason)) {
    console.Error(folder_, reason);
    return ExitCode::kInputUnread;
  }
  if (sums.count(FolderFiles::kIndex) == 0) {
    console.Error(folder_, std::string("it has no ") + FolderFiles::kIndex);
    return ExitCode::kInputUnread;
  }
  if (!lock.IsStillOf(place)) {
    console.Error(folder_, "was replaced meanwhile; nothing is sealed");
    return ExitCode::kOutputUnwritten;
  }
  if (!FolderSeal::Write(folder, sums, reason)) {
    console.Error(folder_, std::string(FolderFiles::kSeal) + " cannot be written: " + reason);
    return ExitCode::kOutputUnwritten;
  }
  console.Note(folder_ + ": " + std::to_string(sums.size()) + (sums.size() == 1 ? " file" : " files") +
               " sealed");
  return ExitCode::kDone;
}

}  // namespace mirel
