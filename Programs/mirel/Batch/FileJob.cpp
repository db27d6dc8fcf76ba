#include <Programs/mirel/Batch/FileJob.h>

#include <Programs/mirel/Check/FolderCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Import/SourceFile.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <filesystem>
#include <sstream>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

using Outcome = FileResult::Outcome;

FileResult FileJob::Ended(Outcome outcome) const {
  FileResult result;
  result.outcome = outcome;
  return result;
}

bool FileJob::ReadSum(Console& console) {
  std::string reason = input_.error.empty() ? SourceFile::WhyNoFile(input_.file) : input_.error;
  wanted_.program = "mirel " MIREL_VERSION;
  wanted_.patience = options_.patience;
  wanted_.verified = options_.verify;
  wanted_.files = {{input_.name, reason.empty() ? SourceRecord::Sum(input_.file, reason) : ""}};
  if (!reason.empty()) {
    console.Error(input_.file, reason);
  }
  return reason.empty();
}

FileResult FileJob::Convert(Console& console) {
  if (!ReadSum(console)) {
    return Ended(Outcome::kUnreadable);
  }
  SourceRecord found;
  std::error_code ignored;
  const bool isThere =
      fs::exists(fs::u8path(input_.folder) / FolderFiles::kIndex, ignored) && found.Read(input_.folder + "/");
  if (isThere && !options_.force) {
    if (found.IsCurrent(wanted_, input_.file)) {
      return Ended(Outcome::kPresent);
    }
    if (found.files.front().name != input_.name) {
      console.Error(input_.folder, "was made of \"" + found.files.front().name + "\"; --force replaces it");
      return Ended(Outcome::kUnwritten);
    }
  }
  options_.force |= isThere;  // what was made of an older file, or in another way, is out of date
  options_.record = wanted_;
  Conversion conversion(options_);
  const ExitCode code = conversion.Run(console, input_.file, input_.folder);
  FileResult result = Ended(code == ExitCode::kDone          ? Outcome::kSaved
                            : code == ExitCode::kInputUnread ? Outcome::kUnreadable
                                                             : Outcome::kUnwritten);
  if (code == ExitCode::kDone) {
    result.hasLosses = conversion.GetReport().HasLosses();
    for (const LossReport::Loss& loss : conversion.GetReport().losses) {
      if (loss.count > 0) {
        result.losses.emplace_back(loss.key, loss.count);
      }
    }
  }
  return result;
}

FileResult FileJob::Check(Console& console) {
  if (!ReadSum(console)) {
    return Ended(Outcome::kUnreadable);
  }
  SourceRecord found;
  std::error_code ignored;
  if (!fs::exists(fs::u8path(input_.folder), ignored)) {
    console.Error(input_.folder, "is not there");
    return Ended(Outcome::kMissing);
  }
  FolderCheck check(input_.folder + "/" + FolderFiles::kIndex);
  check.Run(FolderCheck::Level::kAgreement);
  if (check.GetFindings().GetErrorCount() > 0) {
    console.Error(input_.folder, "is damaged:");
    std::istringstream lines(check.GetFindings().ToText());
    for (std::string line; std::getline(lines, line);) {
      console.ErrorDetail(line);
    }
    return Ended(Outcome::kDamaged);
  }
  if (!found.Read(input_.folder + "/") || !found.IsCurrent(wanted_, input_.file)) {
    console.Error(input_.folder, "was made of another content of the file, or in another way");
    return Ended(Outcome::kOutdated);
  }
  return Ended(Outcome::kSound);
}

}  // namespace mirel
