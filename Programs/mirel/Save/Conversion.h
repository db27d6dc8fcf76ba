#pragma once

#include <Programs/mirel/ExitCode.h>
#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Import/ImportRecord.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Save/BodyCheck.h>
#include <Programs/mirel/Save/LossReport.h>
#include <Programs/mirel/Save/SaveWatcher.h>
#include <Programs/mirel/Save/SourceRecord.h>

#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

class Console;
class LiteModel;
class ProgressBar;
class SourceFile;

/// Converts one file into a model folder: reads it, writes the folder aside, reads that back, compares and puts it in place.
class Conversion {
 public:
  struct Options {
    bool force = false;     ///< replace the folder if it is a model folder already
    bool verify = false;    ///< check and compare all of the folder before it is put in place
    double patience = 0.0;  ///< seconds without progress after which a body is not drawn; 0 for the usual
    /// Written into the folder if it is given, with the files that the source refers to.
    std::optional<SourceRecord> record;
  };

  explicit Conversion(const Options& options) : options_(options) {}

  /// Does it, and tells of errors. `kDone` when the folder is in place; what is lost all the same is in the report.
  ExitCode Run(Console& console, const std::string& input, const std::string& folder);

  /// What came of the last run.
  const LossReport& GetReport() const { return report_; }

 private:
  ExitCode ReadAssembly(Console& console, ProgressBar& progress, const SourceFile& file, LiteModel& model);
  ExitCode ReadBody(Console& console, ProgressBar& progress, const SourceFile& file, LiteModel& model);
  ExitCode Write(Console& console, ProgressBar& progress, LiteModel& model);
  // Puts what the model has no place for into a file of the folder, and reads it back.
  bool SaveExtras(Console& console, const std::string& folder);
  bool SaveRecord(Console& console, const std::string& folder);
  bool Seal(Console& console, const std::string& folder);

  // A folder that was written and read back.
  struct SavedOnce {
    std::unique_ptr<LiteModelWriter> writer;  // kept for --verify only
    std::unique_ptr<ModelFolder> readBack;
    bool hasAllFiles = false;
    bool isWhole = false;  // nothing failed but bodies that were given up
    unsigned givenUp = 0;
    SaveWatcher::Times times;
  };
  SavedOnce WriteOnce(Console& console, ProgressBar& progress, LiteModel& model, const std::string& folder);

  bool Verify(Console& console, ProgressBar& progress, const LiteModel& model, const LiteModelWriter& writer,
              const LiteModel& readBack, const std::string& folder) const;
  void AddLoss(const char* key, const char* text, std::uint64_t count) {
    report_.losses.push_back({key, text, count, {}});
  }
  void AddFaults(const char* key, const char* text, const std::vector<BodyCheck::Fault>& faults) {
    AddLoss(key, text, faults.size());
    for (const BodyCheck::Fault& fault : faults) {
      report_.losses.back().details.push_back(fault.text);
    }
  }

  const Options options_;
  std::string input_;
  std::string folder_;
  ImportRecord record_;
  std::vector<std::string> otherFiles_;
  Extras extras_;
  LossReport report_;
};

}  // namespace mirel
