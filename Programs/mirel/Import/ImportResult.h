#pragma once

#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Import/ImportRecord.h>
#include <Programs/mirel/Save/LossReport.h>
#include <Programs/mirel/Save/ModelCounts.h>

#include <string>
#include <vector>

namespace mirel {

/// What came of reading an assembly, besides the model.
struct ImportResult {
  std::string error;                  ///< why it could not be read; empty when it was
  std::vector<std::string> messages;  ///< what OpenCASCADE complained about, also when it was read

  ImportRecord record;
  ModelCounts source;  ///< what the file holds
  std::vector<LossReport::Loss>
      losses;  ///< of every kind that a folder has no place for, also those that are none
  std::vector<LossReport::Loss> kept;  ///< likewise, what of them `extras` keep
  Extras extras;

  std::vector<std::string> otherFiles;  ///< that the file refers to, by their names beside it, found or not

  std::vector<LossReport::Loss> remarks;  ///< what is wrong with the file, but loses nothing

  double readSeconds = 0.0;
  double transferSeconds = 0.0;  ///< from what was read to the model
};

}  // namespace mirel
