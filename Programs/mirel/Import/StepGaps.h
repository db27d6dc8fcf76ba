#pragma once

#include <string>
#include <vector>

class XSControl_Reader;

namespace mirel {

/// What entities of a STEP file refer to and the file does not have, or has as something else. OpenCASCADE's translators follow such
/// references all the same, and crash.
class StepGaps {
 public:
  /// What was left out for the gaps.
  struct Found {
    std::vector<std::string> products;  ///< of bodies, one for each
    std::vector<std::string> faces;     ///< of bodies that stay, by what they are called in the file
  };

  /// Takes out of what was read the faces that depend on something missing, and the bodies that are nothing but that, so that they
  /// are not translated; makes up for the rest. Only what OpenCASCADE would crash on is changed.
  static Found TakeOut(XSControl_Reader& reader);
};

}  // namespace mirel
