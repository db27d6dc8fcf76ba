#pragma once

#include <TDF_Label.hxx>
#include <XCAFDoc_ColorTool.hxx>

#include <glm/vec3.hpp>

#include <optional>
#include <string>

namespace mirel {

/// What the program takes from one label of an XCAF document, in the model's own terms. No state.
class XcafLabel {
 public:
  /// The label's name as UTF-8; empty when it has none.
  static std::string GetName(const TDF_Label& label);

  /// The colour that the label gives to surfaces, if any, as the values that a STEP file states. XCAF keeps
  /// colours as linear RGB and takes the values in files for sRGB; viewers of model folders take the values
  /// as they are.
  static std::optional<glm::vec3> GetColor(const Handle(XCAFDoc_ColorTool) & tool, const TDF_Label& label);
};

}  // namespace mirel
