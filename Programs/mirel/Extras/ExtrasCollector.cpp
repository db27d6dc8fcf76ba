#include <Programs/mirel/Extras/ExtrasCollector.h>

#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Import/BodyPart.h>
#include <Programs/mirel/Import/XcafLabel.h>
#include <Programs/mirel/Text/Utf8.h>

#include <TColStd_HSequenceOfExtendedString.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDF_AttributeSequence.hxx>
#include <TDF_ChildIterator.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_TreeNode.hxx>
#include <TopExp.hxx>
#include <XCAFDoc.hxx>
#include <XCAFDoc_Area.hxx>
#include <XCAFDoc_Centroid.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_Material.hxx>
#include <XCAFDoc_Volume.hxx>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace mirel {

namespace {

// A number that JSON has, and a reader takes.
bool IsPlain(double value) {
  return std::abs(value) <= std::numeric_limits<float>::max();
}

std::string TextOf(const Handle(TCollection_HAsciiString) & text) {
  return text.IsNull() ? std::string() : Utf8::MakeValid(text->ToCString());
}

std::string TextOf(const TCollection_ExtendedString& text) {
  return Utf8::FromUtf16(std::u16string_view(text.ToExtString(), static_cast<std::size_t>(text.Length())));
}

bool IsEmpty(const Extras::Common& common) {
  return common.layers.empty() && !common.material && !common.properties.volume && !common.properties.area &&
         !common.properties.centroid;
}

Extras::Item ItemOf(const Extras::Ids& ids) {
  Extras::Item item;
  item.ids = ids;
  return item;
}

}  // namespace

ExtrasCollector::ExtrasCollector(const Handle(TDocStd_Document) & document, const AssemblyImporter& importer)
    : importer_(importer),
      shapes_(XCAFDoc_DocumentTool::ShapeTool(document->Main())),
      colors_(XCAFDoc_DocumentTool::ColorTool(document->Main())),
      layers_(XCAFDoc_DocumentTool::LayerTool(document->Main())) {}

void ExtrasCollector::Collect() {
  for (TDF_ChildIterator labels(shapes_->BaseLabel(), Standard_True); labels.More(); labels.Next()) {
    const TDF_Label label = labels.Value();
    if (const ImportRecord::Entry* const product = importer_.FindProduct(label)) {
      CollectProduct(label, *product);
    } else if (const ImportRecord::Entry* const component = importer_.FindComponent(label)) {
      Extras::Item item = ItemOf(component->ids);
      Describe(label, item);
      Add(std::move(item));
      TDF_AttributeSequence occurrences;
      XCAFDoc_ShapeTool::GetAllComponentSHUO(label, occurrences);
      for (const Handle(TDF_Attribute) & occurrence : occurrences) {
        CollectOccurrence(Handle(XCAFDoc_GraphNode)::DownCast(occurrence));
      }
    }
  }
  for (const auto& [id, alpha] : importer_.GetRecord().alphas) {
    Extras::Item item = ItemOf({id});
    item.alpha = alpha;
    Add(std::move(item));
  }
  CollectLayers();
}

void ExtrasCollector::CollectProduct(const TDF_Label& label, const ImportRecord::Entry& product) {
  Extras::Item item = ItemOf(product.ids);
  Describe(label, item);
  item.faceAlphas = product.faceAlphas;
  if (!XCAFDoc_ShapeTool::IsAssembly(label)) {
    CollectParts(label, item);
  }
  Add(std::move(item));
}

void ExtrasCollector::CollectParts(const TDF_Label& label, Extras::Item& item) {
  const TopoDS_Shape body = XcafLabel::GetBody(label);
  const std::vector<BodyPart> parts = body.IsNull() ? std::vector<BodyPart>() : BodyPart::ListOf(label);
  if (parts.empty()) {
    return;
  }
  std::map<TopAbs_ShapeEnum, TopTools_IndexedMapOfShape> all;
  for (const BodyPart& part : parts) {
    const TopAbs_ShapeEnum kind = part.shape.ShapeType();
    for (const TopAbs_ShapeEnum needed : {kind, TopAbs_FACE, TopAbs_EDGE}) {
      if (all[needed].IsEmpty()) {
        TopExp::MapShapes(body, needed, all[needed]);
      }
    }
    const int index = all[kind].FindIndex(part.shape);
    if (index > 0) {
      handled_.Add(part.label);
      CollectPart(part, index - 1, all[TopAbs_FACE], all[TopAbs_EDGE], item);
    }
  }
}

void ExtrasCollector::CollectPart(const BodyPart& part, int index, const TopTools_IndexedMapOfShape& faces,
                                  const TopTools_IndexedMapOfShape& edges, Extras::Item& item) {
  const TopAbs_ShapeEnum kind = part.shape.ShapeType();
  if (kind <= TopAbs_FACE) {
    CountTransparency(part.label);
  }
  const std::optional<glm::vec3> color = XcafLabel::GetCurveColor(colors_, part.label);
  const std::vector<int> colored = color ? part.FindIn(edges) : std::vector<int>();
  for (const int edge : colored) {
    item.edgeColors[static_cast<std::uint32_t>(edge)] = *color;
  }
  counts_["curveColors"] += colored.empty() ? 0 : 1;
  if (!colors_->IsVisible(part.label) && kind <= TopAbs_EDGE) {
    ++counts_["hiddenItems"];
    for (const int hidden : part.FindIn(kind <= TopAbs_FACE ? faces : edges)) {
      (kind <= TopAbs_FACE ? item.hiddenFaces : item.hiddenEdges).insert(static_cast<std::uint32_t>(hidden));
    }
  }
  Extras::Part said;
  said.kind = Extras::kKinds[kind];
  said.index = static_cast<std::uint32_t>(index);
  said.name = XcafLabel::GetName(part.label);
  counts_["partNames"] += said.name.empty() ? 0 : 1;
  DescribeCommon(part.label, said);
  if (!said.name.empty() || !IsEmpty(said)) {
    item.parts.push_back(std::move(said));
  }
}

// The way from a component down to the one of which something is said.
void ExtrasCollector::CollectOccurrence(const Handle(XCAFDoc_GraphNode) & top) {
  if (top.IsNull() || top->NbFathers() > 0) {
    return;
  }
  Extras::Item item;
  Handle(XCAFDoc_GraphNode) node = top;
  for (;;) {
    const ImportRecord::Entry* const component = importer_.FindComponent(node->Label().Father());
    if (component == nullptr || component->ids.empty()) {
      return;
    }
    item.ids = component->ids;
    if (node->NbChildren() != 1) {
      break;
    }
    item.within.push_back(component->ids);
    node = node->GetChild(1);
  }
  Describe(top->Label(), item);
  Add(std::move(item));
}

void ExtrasCollector::CollectLayers() {
  TDF_LabelSequence labels;
  layers_->GetLayerLabels(labels);
  for (const TDF_Label& label : labels) {
    TCollection_ExtendedString name;
    layers_->GetLayer(label, name);
    const bool isHidden = !layers_->IsVisible(label);
    extras_.layers.push_back({TextOf(name), isHidden});
    TDF_LabelSequence members;
    layers_->GetShapesOfLayer(label, members);
    counts_["layers"] += std::all_of(members.begin(), members.end(),
                                     [this](const TDF_Label& member) { return handled_.Contains(member); });
  }
}

void ExtrasCollector::Describe(const TDF_Label& label, Extras::Item& item) {
  handled_.Add(label);
  CountTransparency(label);
  item.hidden = !colors_->IsVisible(label);
  counts_["hiddenItems"] += item.hidden ? 1 : 0;
  item.curveColor = XcafLabel::GetCurveColor(colors_, label);
  counts_["curveColors"] += item.curveColor ? 1 : 0;
  DescribeCommon(label, item);
}

void ExtrasCollector::DescribeCommon(const TDF_Label& label, Extras::Common& common) {
  Handle(TColStd_HSequenceOfExtendedString) layers;
  if (layers_->GetLayers(label, layers)) {
    for (const TCollection_ExtendedString& layer : *layers) {
      common.layers.push_back(TextOf(layer));
    }
  }
  Handle(TDataStd_TreeNode) node;
  Handle(XCAFDoc_Material) material;
  if (label.FindAttribute(XCAFDoc::MaterialRefGUID(), node) && node->HasFather() &&
      node->Father()->Label().FindAttribute(XCAFDoc_Material::GetID(), material)) {
    Extras::Material& kept = common.material.emplace();
    kept.name = TextOf(material->GetName());
    kept.description = TextOf(material->GetDescription());
    if (IsPlain(material->GetDensity())) {
      kept.density = material->GetDensity();
    }
    kept.densityName = TextOf(material->GetDensName());
    kept.densityType = TextOf(material->GetDensValType());
    counts_["materials"] += materials_.Add(material->Label());
  }
  Handle(XCAFDoc_Volume) volume;
  if (label.FindAttribute(XCAFDoc_Volume::GetID(), volume) && IsPlain(volume->Get())) {
    common.properties.volume = volume->Get();
    ++counts_["properties"];
  }
  Handle(XCAFDoc_Area) area;
  if (label.FindAttribute(XCAFDoc_Area::GetID(), area) && IsPlain(area->Get())) {
    common.properties.area = area->Get();
    ++counts_["properties"];
  }
  Handle(XCAFDoc_Centroid) centroid;
  if (label.FindAttribute(XCAFDoc_Centroid::GetID(), centroid)) {
    const gp_Pnt point = centroid->Get();
    if (IsPlain(point.X()) && IsPlain(point.Y()) && IsPlain(point.Z())) {
      common.properties.centroid = glm::dvec3(point.X(), point.Y(), point.Z());
      ++counts_["properties"];
    }
  }
}

void ExtrasCollector::CountTransparency(const TDF_Label& label) {
  counts_["transparency"] += XcafLabel::IsTransparent(colors_, label) ? 1 : 0;
}

void ExtrasCollector::Add(Extras::Item item) {
  const bool says = item.hidden || item.alpha || item.curveColor || !item.faceAlphas.empty() ||
                    !item.edgeColors.empty() || !item.hiddenFaces.empty() || !item.hiddenEdges.empty() ||
                    !item.parts.empty() || !IsEmpty(item);
  if (says && !item.ids.empty()) {
    extras_.items.push_back(std::move(item));
  }
}

}  // namespace mirel
