#pragma once

#include <Programs/mirel/Import/ImportRecord.h>
#include <Programs/mirel/Save/LossReport.h>
#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

class LiteModel;
class LiteModelWriter;
class ProgressBar;
class SourceFile;

/// `mirel save INPUT FOLDER`: converts a file into a model folder.
class SaveVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  ExitCode ReadAssembly(Console& console, ProgressBar& progress, const SourceFile& file, LiteModel& model);
  ExitCode ReadBody(Console& console, ProgressBar& progress, const SourceFile& file, LiteModel& model);
  ExitCode Write(Console& console, ProgressBar& progress, LiteModel& model);
  bool Seal(Console& console, const std::string& folder);
  bool Verify(Console& console, ProgressBar& progress, const LiteModel& model, const LiteModelWriter& writer,
              const LiteModel& readBack, const std::string& folder) const;
  void AddLoss(const char* key, const char* text, std::uint64_t count) {
    report_.losses.push_back({key, text, count, {}});
  }

  std::string input_;
  std::string folder_;
  bool force_ = false;
  bool strict_ = false;
  bool verify_ = false;
  double patience_ = 0.0;
  bool json_ = false;

  ImportRecord record_;
  LossReport report_;
};

}  // namespace mirel
