#pragma once

#include <string>

namespace mirel {

class FindingList;

/// Compares the files of a model folder with its seal, if it has one.
struct SealCheck {
  /// `folder` ends with a separator. Each file is read in blocks.
  static void Run(const std::string& folder, FindingList& findings);
};

}  // namespace mirel
