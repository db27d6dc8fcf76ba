#pragma once

#include <cstddef>
#include <string>

namespace mirel {

/// What a scanner makes of the text of a STEP file.
struct StepScan {
  bool isGood = false;
  /// The number of records in the header, then each record and each of its parameters on a line. Empty if it is not good.
  std::string records;
};

/// OpenCASCADE's own scanner, with flex and bison. It may crash on damaged text.
StepScan ScanByOpenCascade(const std::string& text);

/// Ours, which is not good when it leaves the text to the other.
StepScan ScanByUs(const std::string& text, std::size_t sectionBytes);

}  // namespace mirel
