#include <Programs/mirel/Import/XcafLabel.h>

#include <Programs/mirel/Text/Utf8.h>

#include <Quantity_ColorRGBA.hxx>
#include <TDF_ChildIterator.hxx>
#include <TDataStd_Name.hxx>
#include <TopoDS_Iterator.hxx>
#include <XCAFDoc_ColorType.hxx>
#include <XCAFDoc_ShapeTool.hxx>

namespace mirel {

namespace {

glm::vec3 ToRgb(const Quantity_Color& color) {
  Standard_Real red = 0.0;
  Standard_Real green = 0.0;
  Standard_Real blue = 0.0;
  color.Values(red, green, blue, Quantity_TOC_sRGB);
  return glm::vec3(red, green, blue);
}

}  // namespace

std::string XcafLabel::GetName(const TDF_Label& label) {
  Handle(TDataStd_Name) name;
  if (!label.FindAttribute(TDataStd_Name::GetID(), name)) {
    return std::string();
  }
  const TCollection_ExtendedString& text = name->Get();
  return Utf8::FromUtf16(std::u16string_view(text.ToExtString(), static_cast<std::size_t>(text.Length())));
}

TopoDS_Shape XcafLabel::GetBody(const TDF_Label& label) {
  const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
  const bool isEmpty =
      shape.IsNull() || (shape.ShapeType() == TopAbs_COMPOUND && !TopoDS_Iterator(shape).More());
  return isEmpty ? TopoDS_Shape() : shape;
}

bool XcafLabel::IsInOtherFile(const TDF_Label& label) {
  bool isExternal = false;
  for (TDF_ChildIterator child(label); child.More() && !isExternal; child.Next()) {
    isExternal = XCAFDoc_ShapeTool::IsExternRef(child.Value());
  }
  return isExternal;
}

std::optional<glm::vec4> XcafLabel::GetColor(const Handle(XCAFDoc_ColorTool) & tool, const TDF_Label& label) {
  for (const XCAFDoc_ColorType type : {XCAFDoc_ColorSurf, XCAFDoc_ColorGen}) {
    Quantity_ColorRGBA color;
    if (tool->GetColor(label, type, color)) {
      return glm::vec4(ToRgb(color.GetRGB()), color.Alpha());
    }
  }
  return std::nullopt;
}

bool XcafLabel::IsTransparent(const Handle(XCAFDoc_ColorTool) & tool, const TDF_Label& label) {
  const std::optional<glm::vec4> color = GetColor(tool, label);
  return color && color->a < 1.0F;
}

std::optional<glm::vec3> XcafLabel::GetCurveColor(const Handle(XCAFDoc_ColorTool) & tool,
                                                  const TDF_Label& label) {
  Quantity_Color color;
  if (tool->GetColor(label, XCAFDoc_ColorCurv, color)) {
    return ToRgb(color);
  }
  const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
  if (shape.IsNull() || shape.ShapeType() <= TopAbs_FACE) {
    return std::nullopt;
  }
  const std::optional<glm::vec4> any = GetColor(tool, label);
  return any ? std::optional<glm::vec3>(*any) : std::nullopt;
}

}  // namespace mirel
