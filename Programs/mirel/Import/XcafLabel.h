#pragma once

#include <TDF_Label.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_ColorTool.hxx>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <optional>
#include <string>

namespace mirel {

/// What the program takes from one label of an XCAF document, in the model's own terms. No state.
class XcafLabel {
 public:
  /// The label's name as UTF-8; empty when it has none.
  static std::string GetName(const TDF_Label& label);

  /// The body of a part; a null shape when it has none, or an empty compound, which stands for a body that could not be
  /// read.
  static TopoDS_Shape GetBody(const TDF_Label& label);

  /// Whether the body of a part is in a file of its own, beside the one that was read.
  static bool IsInOtherFile(const TDF_Label& label);

  /// The colour that the label gives to surfaces, if any, as the values that a STEP file states. XCAF keeps
  /// colours as linear RGB and takes the values in files for sRGB; viewers of model folders take the values
  /// as they are. The fourth component is the opacity, 1 for all that is not transparent.
  static std::optional<glm::vec4> GetColor(const Handle(XCAFDoc_ColorTool) & tool, const TDF_Label& label);

  /// Whether the label gives a colour to surfaces that is not opaque.
  static bool IsTransparent(const Handle(XCAFDoc_ColorTool) & tool, const TDF_Label& label);

  /// The colour that the label gives to edges: one for curves, or any that an edge itself has.
  static std::optional<glm::vec3> GetCurveColor(const Handle(XCAFDoc_ColorTool) & tool,
                                                const TDF_Label& label);
};

}  // namespace mirel
