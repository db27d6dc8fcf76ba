#include <Programs/mirel/Import/XcafLabel.h>

#include <Programs/mirel/Text/Utf8.h>

#include <Quantity_ColorRGBA.hxx>
#include <TDF_ChildIterator.hxx>
#include <TDataStd_Name.hxx>
#include <TopoDS_Iterator.hxx>
#include <XCAFDoc_ColorType.hxx>
#include <XCAFDoc_ShapeTool.hxx>

namespace mirel {

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

std::optional<glm::vec3> XcafLabel::GetColor(const Handle(XCAFDoc_ColorTool) & tool, const TDF_Label& label) {
  for (const XCAFDoc_ColorType type : {XCAFDoc_ColorSurf, XCAFDoc_ColorGen}) {
    Quantity_ColorRGBA color;
    if (tool->GetColor(label, type, color)) {
      Standard_Real red = 0.0;
      Standard_Real green = 0.0;
      Standard_Real blue = 0.0;
      color.GetRGB().Values(red, green, blue, Quantity_TOC_sRGB);
      return glm::vec3(red, green, blue);
    }
  }
  return std::nullopt;
}

}  // namespace mirel
