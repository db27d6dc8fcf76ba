#include <Programs/mirel/Import/AssemblyImporter.h>

#include <Programs/mirel/Import/BodyPart.h>
#include <Programs/mirel/Import/PlacementMatrix.h>
#include <Programs/mirel/Import/XcafLabel.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <TDF_AttributeSequence.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_GraphNode.hxx>

namespace mirel {

namespace {

constexpr int kBeingRead = -1;

// An occurrence in a colour of its own takes a copy of every assembly on the way to it, however large those are.
constexpr std::size_t kMaxOccurrenceItems = 1'000'000;

}  // namespace

AssemblyImporter::AssemblyImporter(const Handle(TDocStd_Document) & document, std::uint64_t seed,
                                   LiteModel& model)
    : shapes_(XCAFDoc_DocumentTool::ShapeTool(document->Main())),
      colors_(XCAFDoc_DocumentTool::ColorTool(document->Main())),
      ids_(seed),
      model_(model) {}

AssemblyImporter::~AssemblyImporter() = default;

void AssemblyImporter::Import() {
  TDF_LabelSequence roots;
  shapes_->GetFreeShapes(roots);
  for (const TDF_Label& root : roots) {
    AddRoot(root);
  }
  AddTypes();
}

std::optional<std::size_t> AssemblyImporter::ReadProduct(const TDF_Label& label) {
  if (places_.IsBound(label)) {
    const int place = places_.Find(label);
    return place == kBeingRead ? std::nullopt : std::optional<std::size_t>(static_cast<std::size_t>(place));
  }
  places_.Bind(label, kBeingRead);
  Product product;
  product.name = XcafLabel::GetName(label);
  product.color = XcafLabel::GetColor(colors_, label);
  product.shape = XcafLabel::GetBody(label);
  // A product without a body is an assembly of nothing: a shape item would have nothing to draw.
  product.isAssembly = XCAFDoc_ShapeTool::IsAssembly(label) || product.shape.IsNull();
  if (product.isAssembly) {
    ReadComponents(label, product);
  } else {
    product.showsParentColor = !product.color;
    ReadFaceColors(label, product);
  }
  const std::size_t place = products_.size();
  places_.ChangeFind(label) = static_cast<int>(place);
  record_.products.push_back({{}, product.name, product.color, product.faceAlphas});
  products_.push_back(std::move(product));
  return place;
}

std::optional<AssemblyImporter::Component> AssemblyImporter::ReadComponent(const TDF_Label& place) {
  TDF_Label referred;
  const std::optional<std::size_t> used =
      XCAFDoc_ShapeTool::GetReferredShape(place, referred) ? ReadProduct(referred) : std::nullopt;
  if (!used) {
    ++record_.brokenComponents;
    return std::nullopt;
  }
  Component component;
  component.name = XcafLabel::GetName(place);
  component.transform = PlacementMatrix::Of(XCAFDoc_ShapeTool::GetLocation(place));
  component.color = XcafLabel::GetColor(colors_, place);
  component.product = *used;
  ReadOccurrences(place, component);
  return component;
}

void AssemblyImporter::ReadOccurrences(const TDF_Label& place, Component& component) {
  TDF_AttributeSequence attributes;
  XCAFDoc_ShapeTool::GetAllComponentSHUO(place, attributes);
  for (const Handle(TDF_Attribute) & attribute : attributes) {
    auto node = Handle(XCAFDoc_GraphNode)::DownCast(attribute);
    const Color color = XcafLabel::GetColor(colors_, node->Label());
    if (node->NbFathers() > 0 || !color) {
      continue;  // not the outermost component of its chain, which has the colour
    }
    record_.occurrences.push_back({{}, std::string(), color, {}});
    Way way;
    std::size_t product = component.product;
    while (node->NbChildren() == 1) {
      node = node->GetChild(1);
      const TDF_Label next = node->Label().Father();
      const TDF_Label assembly = next.Father();
      if (!componentPlaces_.IsBound(next) || places_.Find(assembly) != static_cast<int>(product)) {
        way.clear();  // nothing is there
        break;
      }
      way.push_back(static_cast<std::size_t>(componentPlaces_.Find(next)));
      product = products_[product].components[way.back()].product;
    }
    if (!way.empty()) {
      component.occurrences.push_back({way, ToRgba(*color), record_.occurrences.size() - 1});
    }
  }
}

void AssemblyImporter::ReadComponents(const TDF_Label& label, Product& product) {
  TDF_LabelSequence components;
  XCAFDoc_ShapeTool::GetComponents(label, components);
  for (const TDF_Label& place : components) {
    std::optional<Component> component = ReadComponent(place);
    if (!component) {
      continue;
    }
    const Product& used = products_[component->product];
    product.showsParentColor |= !component->color && !used.color && used.showsParentColor;
    componentPlaces_.Bind(place, static_cast<int>(product.components.size()));
    product.components.push_back(std::move(*component));
  }
  product.firstComponent = record_.components.size();
  for (const Component& component : product.components) {
    record_.components.push_back({{}, component.name, component.color, {}});
  }
}

void AssemblyImporter::ReadFaceColors(const TDF_Label& label, Product& product) {
  const std::vector<BodyPart> parts = BodyPart::ListOf(label);
  if (parts.empty()) {
    return;
  }
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(product.shape, TopAbs_FACE, faces);
  for (const BodyPart& part : parts) {
    const Color color = XcafLabel::GetColor(colors_, part.label);
    for (const int index : color ? part.FindIn(faces) : std::vector<int>()) {
      const auto face = static_cast<std::uint32_t>(index);
      product.faceColors[face] = *color;
      product.faceAlphas.erase(face);
      if (color->a < 1.0F) {
        product.faceAlphas[face] = color->a;
      }
    }
  }
}

void AssemblyImporter::AddRoot(const TDF_Label& label) {
  TDF_Label referred;
  if (XCAFDoc_ShapeTool::GetReferredShape(label, referred)) {
    // A root that is only a placement of a product: XCAF makes such a label for a placed shape.
    const std::optional<Component> component = ReadComponent(label);
    if (!component) {
      return;
    }
    rootPlaces_.Bind(label, static_cast<int>(record_.components.size()));
    record_.components.push_back({{}, component->name, component->color, {}});
    model_.AddItem(
        BuildInstance(*component, record_.components.size() - 1, component->color, std::nullopt, {}));
    return;
  }
  if (const std::optional<std::size_t> product = ReadProduct(label)) {
    model_.AddItem(BuildItem(*product, products_[*product].color, {}));
  }
}

std::unique_ptr<LiteModelItem> AssemblyImporter::BuildItem(std::size_t place, const Color& shown,
                                                           const OccurrenceColors& inside) {
  std::unique_ptr<LiteModelItem> item;
  const ObjectId id = ids_.Next();
  Color color;
  if (products_[place].isAssembly) {
    auto group = std::make_unique<GroupItem>();
    const Product& product = products_[place];
    auto next = inside.begin();
    for (std::size_t i = 0; i < product.components.size(); ++i) {
      const Component& component = product.components[i];
      Color own = component.color;
      OccurrenceColors insideComponent;
      for (; next != inside.end() && next->first.front() == i; ++next) {
        const auto& [way, rgba] = *next;
        if (way.size() == 1) {
          own = glm::vec4(rgba[0], rgba[1], rgba[2], rgba[3]);
        } else {
          insideComponent.emplace(Way(way.begin() + 1, way.end()), rgba);
        }
      }
      group->AddItem(
          BuildInstance(component, product.firstComponent + i, own, shown, std::move(insideComponent)));
    }
    color = product.color;
    item = std::move(group);
  } else {
    const Product& product = products_[place];
    auto shape = std::make_unique<ShapeItem>();
    shape->SetShapeId(StoreBody(product.shape));
    shape->SetFaceColor(product.faceColors);
    shape->SetTransform(PlacementMatrix::Of(product.shape.Location()));
    color = shown;
    item = std::move(shape);
  }
  item->SetId(id);
  item->SetName(products_[place].name);
  if (color) {
    item->SetColor(*color);
  }
  RecordAlpha(id, color);
  record_.products[place].ids.push_back(id);
  return item;
}

std::unique_ptr<InstanceItem> AssemblyImporter::BuildInstance(const Component& component,
                                                              std::size_t recorded, const Color& own,
                                                              const Color& around, OccurrenceColors inside) {
  const Product& product = products_[component.product];
  Color shown = own ? own : product.color ? product.color : around;
  if (product.isAssembly && !product.showsParentColor) {
    shown = product.color;  // nothing in it shows the difference, so it is one type
  }
  std::vector<const Component::Occurrence*> coloredHere;
  for (const Component::Occurrence& occurrence : component.occurrences) {
    if (inside.emplace(occurrence.way, occurrence.color).second) {  // otherwise an outer assembly's counts
      coloredHere.push_back(&occurrence);
    }
  }
  const std::size_t type = BuildType(component.product, shown, inside);
  for (const Component::Occurrence* occurrence : coloredHere) {
    occurrencesOf_.emplace(FindOccurrence(type, occurrence->way), occurrence->recorded);
  }
  auto instance = std::make_unique<InstanceItem>();
  instance->SetId(ids_.Next());
  instance->SetName(component.name);
  instance->SetTransform(component.transform);
  if (own) {
    instance->SetColor(*own);
  }
  instance->SetTypeId(types_[type].item->GetId());
  types_[type].uses.push_back({instance.get(), recorded});
  return instance;
}

std::size_t AssemblyImporter::BuildType(std::size_t product, const Color& shown,
                                        const OccurrenceColors& inside) {
  const TypeKey key(product, shown ? std::optional<Rgba>(ToRgba(*shown)) : std::nullopt, inside);
  const auto found = typeOf_.find(key);
  if (found != typeOf_.end()) {
    return found->second;
  }
  if (!inside.empty()) {
    occurrenceItems_ += products_[product].components.size();
    if (occurrenceItems_ > kMaxOccurrenceItems) {
      return BuildType(product, shown, {});
    }
  }
  std::unique_ptr<LiteModelItem> item = BuildItem(product, shown, inside);
  if (record_.products[product].ids.size() > 1) {
    ++record_.colorVariants;
  }
  const std::size_t place = types_.size();
  typeOfId_.emplace(item->GetId(), place);
  types_.push_back({std::move(item), {}});
  typeOf_.emplace(key, place);
  return place;
}

const InstanceItem* AssemblyImporter::FindOccurrence(std::size_t type, const Way& way) const {
  const InstanceItem* instance = nullptr;
  for (const std::size_t place : way) {
    const auto& group = static_cast<const GroupItem&>(*types_[type].item);
    instance = static_cast<const InstanceItem*>(group.GetChildren()[place].get());
    type = typeOfId_.at(instance->GetTypeId());
  }
  return instance;
}

ObjectId AssemblyImporter::StoreBody(const TopoDS_Shape& shape) {
  const auto [place, isNew] =
      bodies_.try_emplace({shape.TShape().get(), static_cast<int>(shape.Orientation())}, ObjectId());
  if (isNew) {
    place->second = ids_.Next();
    model_.AddShape(place->second, std::make_shared<TopoShape>(shape.Located(TopLoc_Location())));
  }
  return place->second;
}

void AssemblyImporter::AddTypes() {
  for (Type& type : types_) {
    if (type.uses.size() != 1) {
      for (const Type::Use& use : type.uses) {
        Record(use, use.instance->GetId());
      }
      model_.AddType(std::move(type.item));
      continue;
    }
    const Type::Use& use = type.uses.front();
    InstanceItem& instance = *use.instance;
    if (instance.GetName().empty()) {
      instance.SetName(type.item->GetName());
    }
    const bool losesName = instance.GetName() != type.item->GetName();
    const bool losesColor = instance.GetColor().r >= 0.0F && type.item->GetColor().r >= 0.0F &&
                            instance.GetColor() != type.item->GetColor();
    if (!losesName && !losesColor) {
      Record(use, type.item->GetId());
      model_.AddType(std::move(type.item));
      continue;
    }
    Record(use, instance.GetId());
    auto wrapper = std::make_unique<GroupItem>();
    wrapper->SetId(instance.GetId());
    wrapper->AddItem(std::move(type.item));
    instance.SetTypeId(wrapper->GetId());
    model_.AddType(std::move(wrapper));
  }
}

const ImportRecord::Entry* AssemblyImporter::FindProduct(const TDF_Label& label) const {
  return places_.IsBound(label) ? &record_.products[static_cast<std::size_t>(places_.Find(label))] : nullptr;
}

const ImportRecord::Entry* AssemblyImporter::FindComponent(const TDF_Label& label) const {
  if (rootPlaces_.IsBound(label)) {
    return &record_.components[static_cast<std::size_t>(rootPlaces_.Find(label))];
  }
  if (!componentPlaces_.IsBound(label) || !places_.IsBound(label.Father())) {
    return nullptr;
  }
  const Product& product = products_[static_cast<std::size_t>(places_.Find(label.Father()))];
  return &record_.components[product.firstComponent + static_cast<std::size_t>(componentPlaces_.Find(label))];
}

void AssemblyImporter::RecordAlpha(const ObjectId& id, const Color& color) {
  if (color && color->a < 1.0F) {
    record_.alphas.emplace_back(id, color->a);
  }
}

void AssemblyImporter::Record(const Type::Use& use, const ObjectId& id) {
  ImportRecord::Entry& component = record_.components[use.component];
  component.ids.push_back(id);
  if (id == use.instance->GetId()) {
    RecordAlpha(id, component.color);
  }
  const auto [first, last] = occurrencesOf_.equal_range(use.instance);
  for (auto occurrence = first; occurrence != last; ++occurrence) {
    record_.occurrences[occurrence->second].ids.push_back(id);
  }
}

}  // namespace mirel
