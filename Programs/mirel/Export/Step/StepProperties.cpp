#include <Programs/mirel/Export/Step/StepProperties.h>

#include <Programs/mirel/Export/Step/ExtrasIndex.h>

#include <StepBasic_DerivedUnit.hxx>
#include <StepBasic_DerivedUnitElement.hxx>
#include <StepBasic_HArray1OfDerivedUnitElement.hxx>
#include <StepBasic_MeasureValueMember.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepBasic_SiUnitAndLengthUnit.hxx>
#include <StepBasic_SiUnitAndMassUnit.hxx>
#include <StepBasic_Unit.hxx>
#include <StepData_StepModel.hxx>
#include <StepRepr_CharacterizedDefinition.hxx>
#include <StepRepr_DescriptiveRepresentationItem.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_MeasureRepresentationItem.hxx>
#include <StepRepr_PropertyDefinition.hxx>
#include <StepRepr_PropertyDefinitionRepresentation.hxx>
#include <StepRepr_RepresentedDefinition.hxx>
#include <StepVisual_HArray1OfInvisibleItem.hxx>
#include <StepVisual_HArray1OfLayeredItem.hxx>
#include <StepVisual_Invisibility.hxx>
#include <StepVisual_InvisibleItem.hxx>
#include <StepVisual_LayeredItem.hxx>
#include <StepVisual_PresentationLayerAssignment.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TopExp.hxx>
#include <XSControl_WorkSession.hxx>
#include <gp_Pnt.hxx>

#include <algorithm>
#include <iterator>

namespace mirel {

namespace {

Handle(TCollection_HAsciiString) ToText(const std::string& text) {
  return new TCollection_HAsciiString(text.c_str());
}

// Grams in a cubic centimetre.
StepBasic_Unit MakeDensityUnit() {
  const Handle(StepBasic_SiUnitAndMassUnit) gram = new StepBasic_SiUnitAndMassUnit;
  gram->Init(Standard_False, StepBasic_spCenti, StepBasic_sunGram);
  const Handle(StepBasic_SiUnitAndLengthUnit) centimetre = new StepBasic_SiUnitAndLengthUnit;
  centimetre->Init(Standard_True, StepBasic_spCenti, StepBasic_sunMetre);
  const Handle(StepBasic_DerivedUnitElement) mass = new StepBasic_DerivedUnitElement;
  mass->Init(gram, 1.0);
  const Handle(StepBasic_DerivedUnitElement) volume = new StepBasic_DerivedUnitElement;
  volume->Init(centimetre, -3.0);
  const Handle(StepBasic_HArray1OfDerivedUnitElement) elements =
      new StepBasic_HArray1OfDerivedUnitElement(1, 2);
  elements->SetValue(1, mass);
  elements->SetValue(2, volume);
  const Handle(StepBasic_DerivedUnit) density = new StepBasic_DerivedUnit;
  density->Init(elements);
  StepBasic_Unit unit;
  unit.SetValue(density);
  return unit;
}

std::uint64_t CountProperties(const Extras::Properties& properties) {
  return std::uint64_t{properties.area.has_value()} + (properties.volume ? 1 : 0) +
         (properties.centroid ? 1 : 0);
}

}  // namespace

void StepProperties::Add(const std::vector<Extras::Layer>& layers) {
  const std::vector<ExtrasIndex::Saying>& all = extras_.GetSayings();
  if (std::any_of(all.begin(), all.end(),
                  [](const auto& said) { return CountProperties(said.item->properties) > 0; })) {
    products_.GetSession()->ComputeGraph(
        Standard_True);  // what is validated is found by it, and it takes long
  }
  for (const ExtrasIndex::Saying& saying : all) {
    for (const ExtrasIndex::Subject& subject : saying.subjects) {
      const Extras::Item& said = *saying.item;
      if (subject.component) {
        lostLayers_ += said.layers.size();
        lostMaterials_ += said.material ? 1 : 0;
        lostProperties_ += CountProperties(said.properties);
      } else {
        AddProduct(subject.product, said);
        AddParts(subject.product, said);
      }
    }
  }
  AddLayers(layers);
  losses_.push_back(
      {"layers", "layer|layers of assemblies and instances, or without anything in them", lostLayers_, {}});
  losses_.push_back(
      {"materials", "material|materials of assemblies, instances and parts of shapes", lostMaterials_, {}});
  losses_.push_back(
      {"properties", "validation property|properties of instances and parts of shapes", lostProperties_, {}});
  losses_.push_back(
      {"partNames", "name|names of parts of shapes that have no entity of their own", lostNames_, {}});
  losses_.push_back({"occurrences",
                     "thing|things said of single occurrences inside assemblies",
                     extras_.CountOccurrences(),
                     {}});
}

void StepProperties::AddProduct(std::size_t product, const Extras::Item& said) {
  const Items items = products_.GetItems(product);
  if (items.empty()) {
    lostLayers_ += said.layers.size();
    lostMaterials_ += said.material ? 1 : 0;
  } else {
    for (const std::string& layer : said.layers) {
      std::copy(items.begin(), items.end(), std::back_inserter(layers_[layer]));
    }
    if (said.material) {
      AddMaterial(product, *said.material);
    }
  }
  STEPConstruct_ValidationProps tool(products_.GetSession());
  AddValidation(tool, products_.GetShapes()[product], said.properties);
}

void StepProperties::AddParts(std::size_t product, const Extras::Item& said) {
  std::map<std::string, TopTools_IndexedMapOfShape> all;
  for (const Extras::Part& part : said.parts) {
    const auto kind = std::find(std::begin(Extras::kKinds), std::end(Extras::kKinds), part.kind);
    TopTools_IndexedMapOfShape& shapes = all[part.kind];
    if (shapes.IsEmpty() && kind != std::end(Extras::kKinds)) {
      TopExp::MapShapes(products_.GetShapes()[product],
                        static_cast<TopAbs_ShapeEnum>(kind - std::begin(Extras::kKinds)), shapes);
    }
    const auto number = static_cast<int>(part.index) + 1;
    const Items items =
        number >= 1 && number <= shapes.Extent() ? products_.FindItems(shapes(number)) : Items();
    lostNames_ += items.empty() && !part.name.empty() ? 1 : 0;
    lostLayers_ += items.empty() ? part.layers.size() : 0;
    lostMaterials_ += part.material ? 1 : 0;
    lostProperties_ += CountProperties(part.properties);
    for (const Handle(StepRepr_RepresentationItem) & item : items) {
      if (!part.name.empty()) {
        item->SetName(ToText(part.name));
      }
      for (const std::string& layer : part.layers) {
        layers_[layer].push_back(item);
      }
    }
  }
}

void StepProperties::AddLayers(const std::vector<Extras::Layer>& layers) {
  for (const Extras::Layer& layer : layers) {
    lostLayers_ += layers_.count(layer.name) == 0 ? 1 : 0;
  }
  for (const auto& [name, items] : layers_) {
    const bool isHidden =
        std::any_of(layers.begin(), layers.end(), [&name = name](const Extras::Layer& layer) {
          return layer.name == name && layer.hidden;
        });
    const Handle(StepVisual_HArray1OfLayeredItem) list =
        new StepVisual_HArray1OfLayeredItem(1, static_cast<int>(items.size()));
    for (std::size_t i = 0; i < items.size(); ++i) {
      StepVisual_LayeredItem item;
      item.SetValue(items[i]);
      list->SetValue(static_cast<int>(i) + 1, item);
    }
    const Handle(StepVisual_PresentationLayerAssignment) layer = new StepVisual_PresentationLayerAssignment;
    layer->Init(ToText(name), ToText(isHidden ? "invisible" : "visible"), list);
    products_.GetModel()->AddWithRefs(layer);
    if (isHidden) {
      StepVisual_InvisibleItem item;
      item.SetValue(layer);
      const Handle(StepVisual_HArray1OfInvisibleItem) hidden = new StepVisual_HArray1OfInvisibleItem(1, 1);
      hidden->SetValue(1, item);
      const Handle(StepVisual_Invisibility) invisibility = new StepVisual_Invisibility;
      invisibility->Init(hidden);
      products_.GetModel()->AddWithRefs(invisibility);
    }
  }
}

void StepProperties::AddMaterial(std::size_t product, const Extras::Material& material) {
  const Handle(StepRepr_DescriptiveRepresentationItem) name = new StepRepr_DescriptiveRepresentationItem;
  name->Init(ToText(material.name), ToText(material.description));
  AddProperty(product, "material name", name);
  if (material.density) {
    const Handle(StepBasic_MeasureValueMember) value = new StepBasic_MeasureValueMember;
    value->SetName(material.densityType.c_str());
    value->SetReal(*material.density);
    const Handle(StepRepr_MeasureRepresentationItem) density = new StepRepr_MeasureRepresentationItem;
    density->Init(ToText(material.densityName), value, MakeDensityUnit());
    AddProperty(product, "density", density);
  }
}

void StepProperties::AddProperty(std::size_t product, const char* name,
                                 const Handle(StepRepr_RepresentationItem) & value) {
  StepRepr_CharacterizedDefinition owner;
  owner.SetValue(products_.GetDefinition(product));
  const Handle(StepRepr_PropertyDefinition) property = new StepRepr_PropertyDefinition;
  property->Init(ToText("material property"), Standard_True, ToText(name), owner);
  const Handle(StepRepr_HArray1OfRepresentationItem) items = new StepRepr_HArray1OfRepresentationItem(1, 1);
  items->SetValue(1, value);
  const Handle(StepRepr_Representation) representation = new StepRepr_Representation;
  representation->Init(ToText(name), items, products_.GetRepresentation(product)->ContextOfItems());
  StepRepr_RepresentedDefinition definition;
  definition.SetValue(property);
  const Handle(StepRepr_PropertyDefinitionRepresentation) link =
      new StepRepr_PropertyDefinitionRepresentation;
  link->Init(definition, representation);
  products_.GetModel()->AddWithRefs(link);
}

void StepProperties::AddValidation(STEPConstruct_ValidationProps& tool, const TopoDS_Shape& shape,
                                   const Extras::Properties& properties) {
  if (properties.area && !tool.AddArea(shape, *properties.area)) {
    ++lostProperties_;
  }
  if (properties.volume && !tool.AddVolume(shape, *properties.volume)) {
    ++lostProperties_;
  }
  if (properties.centroid) {
    const glm::dvec3& at = *properties.centroid;
    lostProperties_ += tool.AddCentroid(shape, gp_Pnt(at.x, at.y, at.z)) ? 0 : 1;
  }
}

}  // namespace mirel
