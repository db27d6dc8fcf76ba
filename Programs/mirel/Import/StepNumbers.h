#pragma once

#include <string>
#include <vector>

class XSControl_Reader;

namespace mirel {

/// Numbers of a STEP file that are none (NaN) or without bounds. OpenCASCADE takes them and computes with them: it runs for
/// ever, crashes, or makes bodies that cannot be written.
class StepNumbers {
 public:
  /// Takes out of what was read the bodies that depend on such a number, so that they are not translated; all else stays.
  /// Returns the names of the products that they belong to, one for each body.
  static std::vector<std::string> TakeOutBodies(XSControl_Reader& reader);
};

}  // namespace mirel
