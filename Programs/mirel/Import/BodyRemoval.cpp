#include <Programs/mirel/Import/BodyRemoval.h>

#include <Interface_EntityIterator.hxx>
#include <StepBasic_Product.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepBasic_ProductDefinitionFormation.hxx>
#include <StepGeom_Placement.hxx>
#include <StepRepr_CharacterizedDefinition.hxx>
#include <StepRepr_DefinitionalRepresentation.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_MappedItem.hxx>
#include <StepRepr_PropertyDefinition.hxx>
#include <StepRepr_RepresentationItem.hxx>
#include <StepRepr_RepresentationRelationship.hxx>
#include <StepRepr_RepresentedDefinition.hxx>
#include <StepShape_ConnectedFaceSet.hxx>
#include <StepShape_Face.hxx>
#include <StepShape_HArray1OfFace.hxx>
#include <StepShape_ShapeDefinitionRepresentation.hxx>
#include <StepVisual_StyledItem.hxx>
#include <TCollection_HAsciiString.hxx>

namespace mirel {

namespace {

using Entity = Handle(Standard_Transient);

std::string NameOf(const Handle(StepRepr_PropertyDefinition) & property) {
  if (property.IsNull() || property->Definition().ProductDefinition().IsNull()) {
    return {};
  }
  const Handle(StepBasic_ProductDefinitionFormation) formation =
      property->Definition().ProductDefinition()->Formation();
  if (formation.IsNull() || formation->OfProduct().IsNull() || formation->OfProduct()->Name().IsNull()) {
    return {};
  }
  return formation->OfProduct()->Name()->ToCString();
}

}  // namespace

void BodyRemoval::TakeOutUsers(const Entity& entity) {
  std::vector<Entity> open{entity};
  while (!open.empty()) {
    const Entity used = open.back();
    open.pop_back();
    if (!seen_.insert(used.get()).second) {
      continue;
    }
    for (Interface_EntityIterator users = graph_.Sharings(used); users.More(); users.Next()) {
      const auto shell = Handle(StepShape_ConnectedFaceSet)::DownCast(users.Value());
      const auto face = Handle(StepShape_Face)::DownCast(used);
      const auto representation = Handle(StepRepr_Representation)::DownCast(users.Value());
      if (takesFaces_ && !shell.IsNull() && !face.IsNull()) {
        if (!TakeOutFace(face, shell)) {
          open.push_back(shell);
        }
      } else if (takesFaces_ && users.Value()->IsKind(STANDARD_TYPE(StepRepr_DefinitionalRepresentation))) {
        open.push_back(users.Value());  // a curve on a surface, which a face has
      } else if (!representation.IsNull()) {
        TakeOutItem(used, representation);
      } else if (users.Value()->IsKind(STANDARD_TYPE(StepRepr_RepresentationItem)) ||
                 (takesFaces_ && used->IsKind(STANDARD_TYPE(StepRepr_DefinitionalRepresentation)))) {
        open.push_back(users.Value());
      }
    }
  }
}

bool BodyRemoval::TakeOutFace(const Handle(StepShape_Face) & face,
                              const Handle(StepShape_ConnectedFaceSet) & shell) {
  std::vector<Handle(StepShape_Face)> rest;
  for (int i = 1; i <= shell->NbCfsFaces(); ++i) {
    if (shell->CfsFacesValue(i) != face) {
      rest.push_back(shell->CfsFacesValue(i));
    }
  }
  if (rest.empty()) {
    return false;
  }
  const Handle(StepShape_HArray1OfFace) faces = new StepShape_HArray1OfFace(1, static_cast<int>(rest.size()));
  for (std::size_t i = 0; i < rest.size(); ++i) {
    faces->SetValue(static_cast<int>(i + 1), rest[i]);
  }
  shell->SetCfsFaces(faces);
  faces_.push_back(face);
  return true;
}

void BodyRemoval::TakeOutItem(const Entity& body, const Handle(StepRepr_Representation) & representation) {
  if (body->IsKind(STANDARD_TYPE(StepGeom_Placement)) || body->IsKind(STANDARD_TYPE(StepRepr_MappedItem)) ||
      body->IsKind(STANDARD_TYPE(StepVisual_StyledItem))) {
    return;
  }
  std::vector<Handle(StepRepr_RepresentationItem)> rest;
  for (int i = 1; i <= representation->NbItems(); ++i) {
    if (representation->ItemsValue(i) != body) {
      rest.push_back(representation->ItemsValue(i));
    }
  }
  Handle(StepRepr_HArray1OfRepresentationItem) items;
  if (!rest.empty()) {
    items = new StepRepr_HArray1OfRepresentationItem(1, static_cast<int>(rest.size()));
  }
  for (std::size_t i = 0; i < rest.size(); ++i) {
    items->SetValue(static_cast<int>(i + 1), rest[i]);
  }
  representation->SetItems(items);
  products_.push_back(FindProduct(representation, true));
}

std::string BodyRemoval::FindProduct(const Handle(StepRepr_Representation) & representation,
                                     bool looksFarther) const {
  for (Interface_EntityIterator users = graph_.Sharings(representation); users.More(); users.Next()) {
    const auto definition = Handle(StepShape_ShapeDefinitionRepresentation)::DownCast(users.Value());
    const auto relation = Handle(StepRepr_RepresentationRelationship)::DownCast(users.Value());
    std::string name;
    if (!definition.IsNull()) {
      name = NameOf(definition->Definition().PropertyDefinition());
    } else if (!relation.IsNull() && looksFarther) {
      // The product's own representation holds a placement only.
      name = FindProduct(relation->Rep1() == representation ? relation->Rep2() : relation->Rep1(), false);
    }
    if (!name.empty()) {
      return name;
    }
  }
  return {};
}

}  // namespace mirel
