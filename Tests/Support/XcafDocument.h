#pragma once

#include <Quantity_ColorRGBA.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Trsf.hxx>

#include <glm/vec3.hpp>

namespace mirel {

/// An XCAF document that a test fills.
class XcafDocument {
 public:
  XcafDocument() : document_(new TDocStd_Document("BinXCAF")) {
    XCAFApp_Application::GetApplication()->InitDocument(document_);
    XCAFDoc_ShapeTool::SetAutoNaming(false);
    shapes_ = XCAFDoc_DocumentTool::ShapeTool(document_->Main());
    colors_ = XCAFDoc_DocumentTool::ColorTool(document_->Main());
  }

  TDF_Label Part(const char* name, const TopoDS_Shape& shape) {
    return Name(shapes_->AddShape(shape, false), name);
  }
  TDF_Label Assembly(const char* name) { return Name(shapes_->NewShape(), name); }
  TDF_Label Place(const TDF_Label& assembly, const TDF_Label& product, const char* name, double x = 0) {
    gp_Trsf move;
    move.SetTranslation(gp_Vec(x, 0, 0));
    return Name(shapes_->AddComponent(assembly, product, TopLoc_Location(move)), name);
  }
  void Color(const TDF_Label& label, const glm::vec3& color, float alpha = 1.0F) {
    const Quantity_Color rgb(color.r, color.g, color.b, Quantity_TOC_sRGB);
    colors_->SetColor(label, Quantity_ColorRGBA(rgb, alpha), XCAFDoc_ColorSurf);
  }
  void ColorPart(const TDF_Label& part, const TopoDS_Shape& sub, const glm::vec3& color, float alpha = 1.0F) {
    Color(shapes_->AddSubShape(part, sub), color, alpha);
  }

 protected:
  static TDF_Label Name(const TDF_Label& label, const char* name) {
    if (name != nullptr) {
      TDataStd_Name::Set(label, TCollection_ExtendedString(name, true));
    }
    return label;
  }

  Handle(TDocStd_Document) document_;
  Handle(XCAFDoc_ShapeTool) shapes_;
  Handle(XCAFDoc_ColorTool) colors_;
};

}  // namespace mirel
