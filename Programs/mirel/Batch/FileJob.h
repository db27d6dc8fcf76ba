#pragma once

#include <Programs/mirel/Batch/FileResult.h>
#include <Programs/mirel/Batch/InputList.h>
#include <Programs/mirel/Save/Conversion.h>
#include <Programs/mirel/Save/SourceRecord.h>

#include <optional>

namespace mirel {

class Console;

/// The work on one of many files, in a process of its own: looks whether its folder is there and right, converts it if it is
/// not, or checks the folder.
class FileJob {
 public:
  FileJob(const Conversion::Options& options, const InputList::Input& input)
      : options_(options), input_(input) {}

  /// Converts the file, unless its folder was made of the same content on the same terms, and `force` is not set.
  FileResult Convert(Console& console);

  /// Tells whether the folder is there, made of what the file is now, and sound.
  FileResult Check(Console& console);

 private:
  // False when the file cannot be read, which is told.
  bool ReadSum(Console& console);
  FileResult Ended(FileResult::Outcome outcome) const;

  Conversion::Options options_;
  const InputList::Input& input_;
  SourceRecord wanted_;
};

}  // namespace mirel
