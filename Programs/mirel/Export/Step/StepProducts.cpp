#include <Programs/mirel/Export/Step/StepProducts.h>

#include <STEPCAFControl_ActorWrite.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <StepBasic_Product.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepBasic_ProductDefinitionFormation.hxx>
#include <StepData_StepModel.hxx>
#include <StepGeom_Placement.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_ProductDefinitionShape.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TopoDS_Iterator.hxx>
#include <TransferBRep.hxx>
#include <TransferBRep_ShapeMapper.hxx>
#include <Transfer_TransientListBinder.hxx>
#include <XSControl_Controller.hxx>
#include <XSControl_TransferWriter.hxx>
#include <XSControl_WorkSession.hxx>

#include <deque>
#include <map>
#include <utility>

namespace mirel {

namespace {

using Definition = Handle(StepBasic_ProductDefinition);

STEPControl_Writer MakeWriter() {
  STEPCAFControl_Controller::Init();
  const Handle(XSControl_WorkSession) session = new XSControl_WorkSession;
  session->SelectNorm("STEP");
  return STEPControl_Writer(session);
}

Handle(TCollection_HAsciiString) ToText(const std::string& text) {
  return new TCollection_HAsciiString(text.c_str());
}

}  // namespace

StepProducts::StepProducts(const ExactStructure& structure, const Shapes& shapes)
    : structure_(structure), shapes_(shapes), writer_(MakeWriter()) {}

Handle(StepData_StepModel) StepProducts::GetModel() {
  return writer_.Model();
}

bool StepProducts::Transfer(const Message_ProgressRange& range) {
  const auto actor = Handle(STEPCAFControl_ActorWrite)::DownCast(GetSession()->NormAdaptor()->ActorWrite());
  actor->SetStdMode(Standard_False);
  for (std::size_t i = 0; i < shapes_.size(); ++i) {
    if (structure_.products[i].isAssembly) {
      actor->RegisterAssembly(shapes_[i]);
    }
  }
  bool isDone = false;
  Message_ProgressScope scope(range, nullptr, static_cast<double>(structure_.roots.size()));
  for (const std::size_t root : structure_.roots) {
    isDone |=
        writer_.Transfer(shapes_[root], STEPControl_AsIs, Standard_False, scope.Next()) == IFSelect_RetDone;
  }
  actor->SetStdMode(Standard_True);
  finder_ = GetSession()->TransferWriter()->FinderProcess();
  FindDefinitions();
  FindPlaces();
  SetNames();
  return isDone;
}

void StepProducts::FindDefinitions() {
  for (const TopoDS_Shape& shape : shapes_) {
    Handle(StepShape_ShapeDefinitionRepresentation) definition;
    finder_->FindTypedTransient(TransferBRep::ShapeMapper(finder_, shape),
                                STANDARD_TYPE(StepShape_ShapeDefinitionRepresentation), definition);
    definitions_.push_back(definition);
  }
}

Definition StepProducts::GetDefinition(std::size_t product) const {
  if (definitions_[product].IsNull()) {
    return nullptr;
  }
  const Handle(StepRepr_PropertyDefinition) property =
      definitions_[product]->Definition().PropertyDefinition();
  return property.IsNull() ? nullptr : property->Definition().ProductDefinition();
}

Handle(StepShape_ShapeRepresentation) StepProducts::GetRepresentation(std::size_t product) const {
  return definitions_[product].IsNull()
             ? nullptr
             : Handle(StepShape_ShapeRepresentation)::DownCast(definitions_[product]->UsedRepresentation());
}

void StepProducts::FindPlaces() {
  // Places by the assembly that they are in and the product that stands there.
  std::map<std::pair<const void*, const void*>,
           std::deque<Handle(StepShape_ContextDependentShapeRepresentation)>>
      made;
  const Handle(StepData_StepModel) model = writer_.Model();
  for (int i = 1; i <= model->NbEntities(); ++i) {
    const auto place = Handle(StepShape_ContextDependentShapeRepresentation)::DownCast(model->Value(i));
    const Handle(StepBasic_ProductDefinitionRelationship) use =
        place.IsNull() ? nullptr
                       : place->RepresentedProductRelation()->Definition().ProductDefinitionRelationship();
    if (!use.IsNull()) {
      made[{use->RelatingProductDefinition().get(), use->RelatedProductDefinition().get()}].push_back(place);
    }
  }
  for (std::size_t i = 0; i < shapes_.size(); ++i) {
    auto& places = places_.emplace_back(structure_.products[i].components.size());
    for (std::size_t k = 0; k < places.size(); ++k) {
      auto& all =
          made[{GetDefinition(i).get(), GetDefinition(structure_.products[i].components[k].product).get()}];
      if (!all.empty()) {
        places[k] = all.front();
        all.pop_front();
      }
    }
  }
}

void StepProducts::SetNames() {
  for (std::size_t i = 0; i < shapes_.size(); ++i) {
    const ExactStructure::Product& product = structure_.products[i];
    if (const Definition definition = GetDefinition(i); !definition.IsNull()) {
      const Handle(StepBasic_Product) named = definition->Formation()->OfProduct();
      named->SetId(ToText(product.name));
      named->SetName(ToText(product.name));
    }
    for (std::size_t k = 0; k < product.components.size(); ++k) {
      if (!places_[i][k].IsNull()) {
        const Handle(StepBasic_ProductDefinitionRelationship) use =
            places_[i][k]->RepresentedProductRelation()->Definition().ProductDefinitionRelationship();
        use->SetName(ToText(product.components[k].name));
        if (product.components[k].name.empty()) {
          use->SetId(ToText(""));  // readers take it for the name of what has none
        }
      }
    }
  }
}

StepProducts::Items StepProducts::GetItems(std::size_t product) const {
  Items items;
  const Handle(StepShape_ShapeRepresentation) representation = GetRepresentation(product);
  const Handle(StepRepr_HArray1OfRepresentationItem) all =
      representation.IsNull() ? nullptr : representation->Items();
  for (int i = all.IsNull() ? 1 : all->Lower(); !all.IsNull() && i <= all->Upper(); ++i) {
    if (!all->Value(i).IsNull() && !all->Value(i)->IsKind(STANDARD_TYPE(StepGeom_Placement))) {
      items.push_back(all->Value(i));
    }
  }
  return items;
}

StepProducts::Items StepProducts::FindItems(const TopoDS_Shape& shape) const {
  const Handle(TransferBRep_ShapeMapper) mapper = TransferBRep::ShapeMapper(finder_, shape);
  Handle(StepRepr_RepresentationItem) item;
  if (finder_->FindTypedTransient(mapper, STANDARD_TYPE(StepRepr_RepresentationItem), item)) {
    return {item};
  }
  // It may have been divided.
  Items items;
  const auto list = Handle(Transfer_TransientListBinder)::DownCast(finder_->Find(mapper));
  for (int i = 1; !list.IsNull() && i <= list->NbTransients(); ++i) {
    item = Handle(StepRepr_RepresentationItem)::DownCast(list->Transient(i));
    if (!item.IsNull()) {
      items.push_back(item);
    }
  }
  return items;
}

}  // namespace mirel
