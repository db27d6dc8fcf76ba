#include <Programs/mirel/Import/AssemblyImporter.h>

#include <Programs/mirel/Import/XcafLabel.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_DocumentTool.hxx>

#include <list>

namespace mirel {

namespace {

constexpr int kBeingRead = -1;

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
  product.shape = XCAFDoc_ShapeTool::GetShape(label);
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
  record_.products.push_back({{}, product.name, product.color});
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
  component.transform = XcafLabel::GetMatrix(XCAFDoc_ShapeTool::GetLocation(place));
  component.color = XcafLabel::GetColor(colors_, place);
  component.product = *used;
  return component;
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
    product.components.push_back(std::move(*component));
  }
  product.firstComponent = record_.components.size();
  for (const Component& component : product.components) {
    record_.components.push_back({{}, component.name, component.color});
  }
}

void AssemblyImporter::ReadFaceColors(const TDF_Label& label, Product& product) {
  struct Part {
    TopoDS_Shape shape;
    glm::vec3 color{0.0F};
    TopTools_IndexedMapOfShape faces;
  };
  TDF_LabelSequence labels;
  XCAFDoc_ShapeTool::GetSubShapes(label, labels);
  std::list<Part> parts;  // sorting moves no map
  for (const TDF_Label& part : labels) {
    const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
    const Color color = XcafLabel::GetColor(colors_, part);
    if (color && !shape.IsNull() && shape.ShapeType() <= TopAbs_FACE) {
      Part& added = parts.emplace_back();
      added.shape = shape;
      added.color = *color;
      TopExp::MapShapes(shape, TopAbs_FACE, added.faces);
    }
  }
  if (parts.empty()) {
    return;
  }
  // From the outside in, so that what is closer to a face has the last word: a compound may hold another,
  // which then has fewer faces.
  parts.sort([](const Part& a, const Part& b) {
    return a.shape.ShapeType() != b.shape.ShapeType() ? a.shape.ShapeType() < b.shape.ShapeType()
                                                      : a.faces.Extent() > b.faces.Extent();
  });
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(product.shape, TopAbs_FACE, faces);
  for (const Part& part : parts) {
    for (int i = 1; i <= part.faces.Extent(); ++i) {
      const int index = faces.FindIndex(part.faces(i));
      if (index > 0) {
        product.faceColors[static_cast<std::uint32_t>(index - 1)] = part.color;
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
    record_.components.push_back({{}, component->name, component->color});
    model_.AddItem(BuildInstance(*component, record_.components.size() - 1, std::nullopt));
    return;
  }
  if (const std::optional<std::size_t> product = ReadProduct(label)) {
    model_.AddItem(BuildItem(*product, products_[*product].color));
  }
}

std::unique_ptr<LiteModelItem> AssemblyImporter::BuildItem(std::size_t place, const Color& shown) {
  std::unique_ptr<LiteModelItem> item;
  const ObjectId id = ids_.Next();
  Color color;
  if (products_[place].isAssembly) {
    auto group = std::make_unique<GroupItem>();
    const Product& product = products_[place];
    for (std::size_t i = 0; i < product.components.size(); ++i) {
      group->AddItem(BuildInstance(product.components[i], product.firstComponent + i, shown));
    }
    color = product.color;
    item = std::move(group);
  } else {
    const Product& product = products_[place];
    auto shape = std::make_unique<ShapeItem>();
    shape->SetShapeId(StoreBody(product.shape));
    shape->SetFaceColor(product.faceColors);
    shape->SetTransform(XcafLabel::GetMatrix(product.shape.Location()));
    color = shown;
    item = std::move(shape);
  }
  item->SetId(id);
  item->SetName(products_[place].name);
  if (color) {
    item->SetColor(*color);
  }
  record_.products[place].ids.push_back(id);
  return item;
}

std::unique_ptr<LiteModelItem> AssemblyImporter::BuildInstance(const Component& component,
                                                               std::size_t recorded, const Color& around) {
  const Product& product = products_[component.product];
  Color shown = component.color ? component.color : product.color ? product.color : around;
  if (product.isAssembly && !product.showsParentColor) {
    shown = product.color;  // nothing in it shows the difference, so it is one type
  }
  const std::size_t type = BuildType(component.product, shown);
  auto instance = std::make_unique<InstanceItem>();
  instance->SetId(ids_.Next());
  instance->SetName(component.name);
  instance->SetTransform(component.transform);
  if (component.color) {
    instance->SetColor(*component.color);
  }
  instance->SetTypeId(types_[type].item->GetId());
  types_[type].uses.push_back({instance.get(), recorded});
  return instance;
}

std::size_t AssemblyImporter::BuildType(std::size_t product, const Color& shown) {
  const TypeKey key =
      shown ? TypeKey(product, true, shown->r, shown->g, shown->b) : TypeKey(product, false, 0, 0, 0);
  const auto found = typeOf_.find(key);
  if (found != typeOf_.end()) {
    return found->second;
  }
  std::unique_ptr<LiteModelItem> item = BuildItem(product, shown);
  if (record_.products[product].ids.size() > 1) {
    ++record_.colorVariants;
  }
  const std::size_t place = types_.size();
  types_.push_back({std::move(item), {}});
  typeOf_.emplace(key, place);
  return place;
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
        record_.components[use.component].ids.push_back(use.instance->GetId());
      }
      model_.AddType(std::move(type.item));
      continue;
    }
    InstanceItem& instance = *type.uses.front().instance;
    std::vector<ObjectId>& recorded = record_.components[type.uses.front().component].ids;
    if (instance.GetName().empty()) {
      instance.SetName(type.item->GetName());
    }
    const bool losesName = instance.GetName() != type.item->GetName();
    const bool losesColor = instance.GetColor().r >= 0.0F && type.item->GetColor().r >= 0.0F &&
                            instance.GetColor() != type.item->GetColor();
    if (!losesName && !losesColor) {
      recorded.push_back(type.item->GetId());
      model_.AddType(std::move(type.item));
      continue;
    }
    recorded.push_back(instance.GetId());
    auto wrapper = std::make_unique<GroupItem>();
    wrapper->SetId(instance.GetId());
    wrapper->AddItem(std::move(type.item));
    instance.SetTypeId(wrapper->GetId());
    model_.AddType(std::move(wrapper));
  }
}

}  // namespace mirel
