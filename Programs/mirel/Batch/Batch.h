#pragma once

#include <Programs/mirel/Batch/Crew.h>
#include <Programs/mirel/Batch/FileResult.h>
#include <Programs/mirel/Batch/InputList.h>
#include <Programs/mirel/ExitCode.h>
#include <Programs/mirel/Save/Conversion.h>

#include <cstdint>
#include <string>
#include <vector>

namespace mirel {

class Console;

/// Converts many files into model folders below one folder, several at once, each in a process of its own.
///
/// It goes on where it was ended: a folder that was made of the same content on the same terms is passed over, as the record
/// in it tells (`SourceRecord`).
class Batch {
 public:
  struct Options {
    std::vector<std::string> files;
    std::string list;        ///< a file that names more; "-" for standard input, empty for none
    bool recursive = false;  ///< take what is in folders
    std::string into;
    unsigned int jobs = 0;         ///< at once; 0 for as many as there are cores
    std::uint64_t memory = 0;      ///< bytes for all that run; 0 for most of what is free
    std::uint64_t memoryEach = 0;  ///< bytes for each; 0 for no other limit
    double seconds = 3600.0;       ///< for each
    std::string log;               ///< empty for none
    bool check = false;            ///< convert nothing, check what is there
    bool strict = false;
    bool json = false;
    Conversion::Options conversion;
  };

  explicit Batch(const Options& options) : options_(options) {}

  /// To be called in a process without threads. `kDone` when all files came through, `kInputUnread` when some did,
  /// `kOutputUnwritten` when none did. After a signal that interrupts it does not return.
  ExitCode Run(Console& console);

 private:
  Crew::Limits MakeLimits() const;
  std::string RunJob(const Console& console, const InputList::Input& input) const;
  FileResult MakeResult(const InputList::Input& input, const Crew::Result& ended) const;
  ExitCode GetExitCode(std::size_t count, std::size_t good, std::size_t lossy) const;

  const Options options_;
};

}  // namespace mirel
