#include <Programs/mirel/Import/SourceCensus.h>

#include <Programs/mirel/Import/XcafLabel.h>

#include <TDF_AttributeSequence.hxx>
#include <TDF_ChildIterator.hxx>
#include <TDF_LabelMap.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_Area.hxx>
#include <XCAFDoc_Centroid.hxx>
#include <XCAFDoc_ClippingPlaneTool.hxx>
#include <XCAFDoc_DimTolTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_GraphNode.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_MaterialTool.hxx>
#include <XCAFDoc_NotesTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XCAFDoc_ViewTool.hxx>
#include <XCAFDoc_Volume.hxx>

#include <limits>
#include <map>
#include <set>
#include <utility>

namespace mirel {

namespace {

class Counter {
 public:
  explicit Counter(const Handle(TDocStd_Document) & document)
      : main_(document->Main()),
        shapes_(XCAFDoc_DocumentTool::ShapeTool(main_)),
        colors_(XCAFDoc_DocumentTool::ColorTool(main_)) {}

  ModelCounts CountStructure() {
    TDF_LabelSequence roots;
    shapes_->GetFreeShapes(roots);
    for (const TDF_Label& root : roots) {
      TDF_Label referred;
      if (XCAFDoc_ShapeTool::GetReferredShape(root, referred)) {
        CountInstance(root);
        counts_.placedShapes = Add(counts_.placedShapes, CountProduct(referred));
      } else {
        counts_.placedShapes = Add(counts_.placedShapes, CountProduct(root));
      }
    }
    for (const auto& body : coloredFaces_) {
      counts_.coloredFaces += body.second.size();
    }
    counts_.shapes = coloredFaces_.size();
    return counts_;
  }

  std::vector<SourceCensus::Loss> CountLosses() {
    std::uint64_t transparent = 0;
    std::uint64_t hidden = 0;
    std::uint64_t curveColors = 0;
    std::uint64_t properties = 0;
    std::uint64_t partNames = 0;
    for (TDF_ChildIterator labels(shapes_->BaseLabel(), Standard_True); labels.More(); labels.Next()) {
      const TDF_Label label = labels.Value();
      transparent += XcafLabel::IsTransparent(colors_, label);
      hidden += !colors_->IsVisible(label);
      curveColors += XcafLabel::GetCurveColor(colors_, label).has_value();
      properties += label.IsAttribute(XCAFDoc_Volume::GetID());
      properties += label.IsAttribute(XCAFDoc_Area::GetID());
      properties += label.IsAttribute(XCAFDoc_Centroid::GetID());
      partNames += XCAFDoc_ShapeTool::IsSubShape(label) && !XcafLabel::GetName(label).empty();
    }
    const Handle(XCAFDoc_DimTolTool) pmi = XCAFDoc_DocumentTool::DimTolTool(main_);
    const auto count = [](auto&& fill) {
      TDF_LabelSequence labels;
      fill(labels);
      return static_cast<std::uint64_t>(labels.Length());
    };
    return {
        {"missingParts", "part|parts in other files that could not be read", missingParts_},
        {"transparency", "transparent colour|colours", transparent},
        {"hiddenItems", "item|items marked as hidden", hidden},
        {"curveColors", "colour|colours of edges and curves", curveColors},
        {"layers", "layer|layers",
         count([&](TDF_LabelSequence& l) { XCAFDoc_DocumentTool::LayerTool(main_)->GetLayerLabels(l); })},
        {"materials", "material|materials", count([&](TDF_LabelSequence& l) {
           XCAFDoc_DocumentTool::MaterialTool(main_)->GetMaterialLabels(l);
         })},
        {"dimensions", "dimension|dimensions",
         count([&](TDF_LabelSequence& l) { pmi->GetDimensionLabels(l); })},
        {"tolerances", "geometric tolerance|tolerances",
         count([&](TDF_LabelSequence& l) { pmi->GetGeomToleranceLabels(l); })},
        {"datums", "datum|datums", count([&](TDF_LabelSequence& l) { pmi->GetDatumLabels(l); })},
        {"notes", "note|notes",
         static_cast<std::uint64_t>(XCAFDoc_DocumentTool::NotesTool(main_)->NbNotes())},
        {"savedViews", "saved view|views",
         count([&](TDF_LabelSequence& l) { XCAFDoc_DocumentTool::ViewTool(main_)->GetViewLabels(l); })},
        {"clippingPlanes", "clipping plane|planes", count([&](TDF_LabelSequence& l) {
           XCAFDoc_DocumentTool::ClippingPlaneTool(main_)->GetClippingPlanes(l);
         })},
        {"properties", "property|properties (volume, area, centroid)", properties},
        {"partNames", "name|names of faces, edges and other parts of a body", partNames},
    };
  }

 private:
  using Body = std::pair<const void*, int>;

  static std::uint64_t Add(std::uint64_t a, std::uint64_t b) {
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    return a > most - b ? most : a + b;
  }

  void CountLabel(const TDF_Label& label) {
    counts_.names += !XcafLabel::GetName(label).empty();
    counts_.coloredItems += XcafLabel::GetColor(colors_, label).has_value();
  }

  void CountInstance(const TDF_Label& label) {
    ++counts_.instances;
    CountLabel(label);
    TDF_AttributeSequence occurrences;
    XCAFDoc_ShapeTool::GetAllComponentSHUO(label, occurrences);
    for (const Handle(TDF_Attribute) & occurrence : occurrences) {
      counts_.coloredItems += XcafLabel::GetColor(colors_, occurrence->Label()).has_value();
    }
  }

  // How many parts are seen where the product is placed once. Each product is looked at once.
  std::uint64_t CountProduct(const TDF_Label& label) {
    const auto known = seen_.find(label);
    if (known != seen_.end()) {
      return known->second;
    }
    seen_[label] = 0;
    ++counts_.products;
    CountLabel(label);
    std::uint64_t parts = 0;
    if (XCAFDoc_ShapeTool::IsAssembly(label)) {
      TDF_LabelSequence components;
      XCAFDoc_ShapeTool::GetComponents(label, components);
      for (const TDF_Label& component : components) {
        CountInstance(component);
        TDF_Label referred;
        if (XCAFDoc_ShapeTool::GetReferredShape(component, referred)) {
          parts = Add(parts, CountProduct(referred));
        }
      }
    } else {
      parts = CountBody(label);
    }
    seen_[label] = parts;
    return parts;
  }

  std::uint64_t CountBody(const TDF_Label& label) {
    const TopoDS_Shape shape = XcafLabel::GetBody(label);
    if (shape.IsNull()) {
      const bool isMissing = XcafLabel::IsInOtherFile(label);
      missingParts_ += isMissing ? 1 : 0;
      return isMissing ? 1 : 0;
    }
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(shape, TopAbs_FACE, faces);
    const auto [body, isNew] = coloredFaces_.try_emplace(Body(shape.TShape().get(), shape.Orientation()));
    counts_.faces += isNew ? static_cast<std::uint64_t>(faces.Extent()) : 0;
    TDF_LabelSequence parts;
    XCAFDoc_ShapeTool::GetSubShapes(label, parts);
    for (const TDF_Label& part : parts) {
      if (!XcafLabel::GetColor(colors_, part)) {
        continue;
      }
      TopTools_IndexedMapOfShape covered;
      TopExp::MapShapes(XCAFDoc_ShapeTool::GetShape(part), TopAbs_FACE, covered);
      for (int i = 1; i <= covered.Extent(); ++i) {
        if (faces.Contains(covered(i))) {
          body->second.insert(faces.FindIndex(covered(i)));
        }
      }
    }
    return 1;
  }

  struct LabelOrder {
    bool operator()(const TDF_Label& a, const TDF_Label& b) const {
      if (a.Depth() != b.Depth()) {
        return a.Depth() < b.Depth();
      }
      if (a.Tag() != b.Tag()) {
        return a.Tag() < b.Tag();
      }
      return !a.IsRoot() && (*this)(a.Father(), b.Father());
    }
  };

  TDF_Label main_;
  Handle(XCAFDoc_ShapeTool) shapes_;
  Handle(XCAFDoc_ColorTool) colors_;
  ModelCounts counts_;
  std::map<TDF_Label, std::uint64_t, LabelOrder> seen_;
  std::map<Body, std::set<int>> coloredFaces_;
  std::uint64_t missingParts_ = 0;
};

}  // namespace

SourceCensus::SourceCensus(const Handle(TDocStd_Document) & document) {
  Counter counter(document);
  counts_ = counter.CountStructure();
  losses_ = counter.CountLosses();
}

}  // namespace mirel
