#pragma once

#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Import/ImportRecord.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Save/BodyCheck.h>
#include <Programs/mirel/Save/LossReport.h>
#include <Programs/mirel/Save/SaveWatcher.h>
#include <Programs/mirel/Verb.h>

#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <memory>
#include <string>
#include <vector>

namespace mirel {

class LiteModel;
class ProgressBar;
class SourceFile;

/// `mirel save INPUT FOLDER`: converts a file into a model folder.
class SaveVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

  /// Does the same without options and without the report.
  static ExitCode Convert(Console& console, const std::string& input, const std::string& folder);

 private:
  ExitCode Save(Console& console);
  ExitCode ReadAssembly(Console& console, ProgressBar& progress, const SourceFile& file, LiteModel& model);
  ExitCode ReadBody(Console& console, ProgressBar& progress, const SourceFile& file, LiteModel& model);
  ExitCode Write(Console& console, ProgressBar& progress, LiteModel& model);
  // Puts what the model has no place for into a file of the folder, and reads it back.
  bool SaveExtras(Console& console, const std::string& folder);
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

  std::string input_;
  std::string folder_;
  bool force_ = false;
  bool strict_ = false;
  bool verify_ = false;
  double patience_ = 0.0;
  bool json_ = false;

  ImportRecord record_;
  Extras extras_;
  LossReport report_;
};

}  // namespace mirel
