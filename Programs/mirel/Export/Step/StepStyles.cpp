#include <Programs/mirel/Export/Step/StepStyles.h>

#include <Programs/mirel/Export/Step/ExtrasIndex.h>

#include <StepData_StepModel.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_ProductDefinitionShape.hxx>
#include <StepVisual_ColourRgb.hxx>
#include <StepVisual_HArray1OfInvisibleItem.hxx>
#include <StepVisual_HArray1OfPresentationStyleSelect.hxx>
#include <StepVisual_Invisibility.hxx>
#include <StepVisual_InvisibleItem.hxx>
#include <StepVisual_MechanicalDesignGeometricPresentationRepresentation.hxx>
#include <StepVisual_NullStyleMember.hxx>
#include <StepVisual_PresentationStyleByContext.hxx>
#include <StepVisual_PresentationStyleSelect.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TopExp.hxx>
#include <XSControl_WorkSession.hxx>

#include <algorithm>
#include <set>
#include <utility>

namespace mirel {

namespace {

Handle(StepVisual_ColourRgb) ToColour(const ExactStructure::Color& color) {
  if (!color) {
    return nullptr;
  }
  // Not by a name: OpenCASCADE would take one also for what is but close to it.
  const Handle(StepVisual_ColourRgb) colour = new StepVisual_ColourRgb;
  colour->Init(new TCollection_HAsciiString(""), color->r, color->g, color->b);
  return colour;
}

Handle(StepVisual_PresentationStyleAssignment) MakeNullStyle(bool isForPlace) {
  const Handle(StepVisual_NullStyleMember) none = new StepVisual_NullStyleMember;
  none->SetValue(StepVisual_Null);
  StepVisual_PresentationStyleSelect select;
  select.SetValue(none);
  const Handle(StepVisual_HArray1OfPresentationStyleSelect) list =
      new StepVisual_HArray1OfPresentationStyleSelect(1, 1);
  list->SetValue(1, select);
  const Handle(StepVisual_PresentationStyleAssignment) style =
      isForPlace ? new StepVisual_PresentationStyleByContext : new StepVisual_PresentationStyleAssignment;
  style->Init(list);
  return style;
}

ExactStructure::Color Opaque(const std::optional<glm::vec3>& color) {
  return color ? ExactStructure::Color(glm::vec4(*color, 1.0F)) : std::nullopt;
}

}  // namespace

StepStyles::StepStyles(StepProducts& products, const ExtrasIndex& extras)
    : products_(products), structure_(products.GetStructure()), tool_(products.GetSession()) {
  CollectLooks(extras);
}

void StepStyles::CollectLooks(const ExtrasIndex& extras) {
  for (const ExtrasIndex::Saying& saying : extras.GetSayings()) {
    for (const ExtrasIndex::Subject& subject : saying.subjects) {
      Look& look = subject.component ? placeLooks_[{subject.product, *subject.component}]
                                     : productLooks_[subject.product];
      const Extras::Item& item = *saying.item;
      look.isHidden |= item.hidden;
      look.curveColor = item.curveColor ? item.curveColor : look.curveColor;
      look.edgeColors.insert(item.edgeColors.begin(), item.edgeColors.end());
      for (const std::uint32_t face : item.hiddenFaces) {
        look.hiddenFaces[face] = true;
      }
      for (const std::uint32_t edge : item.hiddenEdges) {
        look.hiddenEdges[edge] = true;
      }
    }
  }
}

void StepStyles::Add() {
  styledItems_.resize(structure_.products.size());
  std::uint64_t assemblyColors = 0, hiddenAssemblies = 0;
  for (std::size_t i = 0; i < structure_.products.size(); ++i) {
    const ExactStructure::Product& product = structure_.products[i];
    if (!product.isAssembly) {
      StyleProduct(i);
      continue;
    }
    assemblyColors += product.color ? 1 : 0;
    const auto look = productLooks_.find(i);
    hiddenAssemblies += look != productLooks_.end() && look->second.isHidden ? 1 : 0;
    StylePlaces(i);
  }
  for (std::size_t i = 0; i < structure_.products.size(); ++i) {
    AddPresentation(i);
  }
  Hide(hidden_);
  losses_.push_back(
      {"assemblyColors", "colour|colours of assemblies, which nothing shows", assemblyColors, {}});
  losses_.push_back({"hiddenAssemblies", "hidden assembly|assemblies", hiddenAssemblies, {}});
}

void StepStyles::StyleProduct(std::size_t product) {
  const auto found = productLooks_.find(product);
  const Look look = found == productLooks_.end() ? Look() : found->second;
  const ExactStructure::Product& part = structure_.products[product];
  const Color color = CanBeColored(product) ? part.color : std::nullopt;
  std::vector<StyledItem>& styled = styledItems_[product];
  if (color || look.curveColor || look.isHidden) {
    for (const Handle(StepRepr_RepresentationItem) & item : products_.GetItems(product)) {
      styled.push_back(tool_.AddStyle(item, FindStyle(color, Opaque(look.curveColor), false), nullptr));
    }
    if (look.isHidden) {
      hidden_.insert(hidden_.end(), styled.begin(), styled.end());
    }
  }
  std::map<std::uint32_t, std::pair<Color, Color>> faces, edges;
  for (const auto& [face, own] : part.faceColors) {
    faces[face].first = own;
  }
  for (const auto& [edge, own] : look.edgeColors) {
    edges[edge].second = Opaque(own);
  }
  StyleParts(product, TopAbs_FACE, faces, look.hiddenFaces);
  StyleParts(product, TopAbs_EDGE, edges, look.hiddenEdges);
}

void StepStyles::StyleParts(std::size_t product, TopAbs_ShapeEnum kind,
                            const std::map<std::uint32_t, std::pair<Color, Color>>& colors,
                            const std::map<std::uint32_t, bool>& hidden) {
  if (colors.empty() && hidden.empty()) {
    return;
  }
  std::map<std::uint32_t, std::pair<Color, Color>> all = colors;
  for (const auto& entry : hidden) {
    all.emplace(entry.first, std::make_pair(std::nullopt, std::nullopt));
  }
  TopTools_IndexedMapOfShape shapes;
  TopExp::MapShapes(products_.GetShapes()[product], kind, shapes);
  std::vector<StyledItem>& styled = styledItems_[product];
  const StyledItem whole =
      products_.GetItems(product).size() == 1 && !styled.empty() ? styled.front() : nullptr;
  for (const auto& [index, color] : all) {
    const auto number = static_cast<int>(index) + 1;
    for (const Handle(StepRepr_RepresentationItem) & item : number >= 1 && number <= shapes.Extent()
                                                                ? products_.FindItems(shapes(number))
                                                                : StepProducts::Items()) {
      styled.push_back(tool_.AddStyle(item, FindStyle(color.first, color.second, false), whole));
      if (hidden.count(index) > 0) {
        hidden_.push_back(styled.back());
      }
    }
  }
}

void StepStyles::StylePlaces(std::size_t product) {
  const ExactStructure::Product& assembly = structure_.products[product];
  for (std::size_t i = 0; i < assembly.components.size(); ++i) {
    const ExactStructure::Component& component = assembly.components[i];
    const auto found = placeLooks_.find({product, i});
    const Look look = found == placeLooks_.end() ? Look() : found->second;
    const ExactStructure::Product& used = structure_.products[component.product];
    const Color color = component.color                                      ? component.color
                        : used.isAssembly || CanBeColored(component.product) ? std::nullopt
                                                                             : used.color;
    const Handle(StepShape_ContextDependentShapeRepresentation)& place = products_.GetPlace(product, i);
    if (place.IsNull() || !(color || look.curveColor || look.isHidden)) {
      continue;
    }
    for (const std::size_t part : ListParts(component.product)) {
      tool_.ClearStyles();
      const StyledItem whole =
          styledItems_[part].empty() || !CanBeColored(part) ? nullptr : styledItems_[part].front();
      std::vector<StyledItem> styled;
      for (const Handle(StepRepr_RepresentationItem) & item : products_.GetItems(part)) {
        styled.push_back(tool_.AddStyle(item, FindStyle(color, Opaque(look.curveColor), true), whole));
      }
      if (styled.empty()) {
        continue;
      }
      tool_.CreateNAUOSRD(products_.GetRepresentation(part)->ContextOfItems(), place, nullptr);
      styledItems_[part].insert(styledItems_[part].end(), styled.begin(), styled.end());
      if (look.isHidden) {
        hidden_.insert(hidden_.end(), styled.begin(), styled.end());
      }
    }
  }
}

void StepStyles::AddPresentation(std::size_t product) {
  const std::vector<StyledItem>& styled = styledItems_[product];
  if (styled.empty()) {
    return;
  }
  const Handle(StepRepr_HArray1OfRepresentationItem) items =
      new StepRepr_HArray1OfRepresentationItem(1, static_cast<int>(styled.size()));
  for (std::size_t i = 0; i < styled.size(); ++i) {
    items->SetValue(static_cast<int>(i) + 1, styled[i]);
  }
  const Handle(StepVisual_MechanicalDesignGeometricPresentationRepresentation) presentation =
      new StepVisual_MechanicalDesignGeometricPresentationRepresentation;
  presentation->Init(new TCollection_HAsciiString(""), items,
                     products_.GetRepresentation(product)->ContextOfItems());
  products_.GetModel()->AddWithRefs(presentation);
}

void StepStyles::Hide(const std::vector<StyledItem>& items) {
  if (items.empty()) {
    return;
  }
  const Handle(StepVisual_HArray1OfInvisibleItem) list =
      new StepVisual_HArray1OfInvisibleItem(1, static_cast<int>(items.size()));
  for (std::size_t i = 0; i < items.size(); ++i) {
    StepVisual_InvisibleItem item;
    item.SetValue(items[i]);
    list->SetValue(static_cast<int>(i) + 1, item);
  }
  const Handle(StepVisual_Invisibility) invisibility = new StepVisual_Invisibility;
  invisibility->Init(list);
  products_.GetModel()->AddWithRefs(invisibility);
}

StepStyles::Style StepStyles::FindStyle(const Color& surface, const Color& curve, bool isForPlace) {
  const auto make = [&] {
    return surface || curve
               ? tool_.MakeColorPSA(nullptr, ToColour(surface), ToColour(curve), ToColour(surface),
                                    surface ? 1.0 - static_cast<double>(surface->a) : 0.0, isForPlace)
               : MakeNullStyle(isForPlace);
  };
  if (isForPlace) {
    return make();  // it names the place
  }
  const glm::vec4 none(-1.0F);
  const glm::vec4 a = surface.value_or(none), b = curve.value_or(none);
  Style& style = styles_[{a.r, a.g, a.b, a.a, b.r, b.g, b.b, b.a}];
  if (style.IsNull()) {
    style = make();
  }
  return style;
}

bool StepStyles::CanBeColored(std::size_t product) const {
  const std::vector<std::size_t>& roots = structure_.roots;
  return products_.GetItems(product).size() == 1 ||
         std::find(roots.begin(), roots.end(), product) != roots.end();
}

std::vector<std::size_t> StepStyles::ListParts(std::size_t product) const {
  std::vector<std::size_t> open = {product}, parts;
  std::set<std::size_t> seen = {product};
  while (!open.empty()) {
    const std::size_t next = open.back();
    open.pop_back();
    if (!structure_.products[next].isAssembly) {
      parts.push_back(next);
    }
    for (const ExactStructure::Component& component : structure_.products[next].components) {
      if (seen.insert(component.product).second) {
        open.push_back(component.product);
      }
    }
  }
  return parts;
}

}  // namespace mirel
