#pragma once

#include <Programs/mirel/ExitCode.h>
#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Save/LossReport.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mirel {

class Console;
class ExactShapes;
class LiteModel;
class ProgressBar;
struct ExactStructure;

/// Writes the exact bodies of a model folder with their structure: STEP, or BRep text of OpenCASCADE.
class ExactExport {
 public:
  struct Options {
    std::vector<std::string> only;  ///< ids or names of what is to be written; empty for everything
    bool isAp214 = false;           ///< STEP: AP214 instead of AP242
    bool isBRep = false;
  };

  ExactExport(Console& console, const Options& options) : console_(console), options_(options) {}

  /// `folder` is a model folder or its index file, `input` what the user calls it. Tells of errors, and of what is not in
  /// the file.
  ExitCode Run(const std::string& input, const std::string& folder, const std::string& output);

  /// Whether anything of the folder is not in the file.
  bool HasLosses() const;

 private:
  bool FindOnly(const LiteModel& model, const std::string& input, std::set<unsigned long long>& ids) const;
  // Makes the file and puts it in place; an empty error when that is done.
  std::string Write(ProgressBar& progress, const ExactStructure& structure, const ExactShapes& shapes,
                    const std::optional<Extras>& extras, const std::string& output);
  void AddLosses(const ExactStructure& structure, const ExactShapes& shapes);
  void TellLosses() const;
  void Tell(const std::string& what, const LossReport::Loss& loss) const;

  Console& console_;
  const Options options_;
  std::vector<LossReport::Loss> losses_;
  LossReport::Loss inexact_;
};

}  // namespace mirel
