#include <Programs/mirel/Import/StepGaps.h>

#include <Programs/mirel/Import/BodyRemoval.h>

#include <Interface_InterfaceModel.hxx>
#include <StepBasic_DerivedUnit.hxx>
#include <StepBasic_DerivedUnitElement.hxx>
#include <StepBasic_HArray1OfDerivedUnitElement.hxx>
#include <StepGeom_BSplineCurve.hxx>
#include <StepGeom_BSplineSurface.hxx>
#include <StepGeom_CartesianPoint.hxx>
#include <StepGeom_HArray1OfCartesianPoint.hxx>
#include <StepGeom_HArray2OfCartesianPoint.hxx>
#include <StepGeom_Line.hxx>
#include <StepGeom_Placement.hxx>
#include <StepGeom_Vector.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_PropertyDefinition.hxx>
#include <StepRepr_PropertyDefinitionRepresentation.hxx>
#include <StepRepr_Representation.hxx>
#include <StepRepr_RepresentationItem.hxx>
#include <StepRepr_RepresentedDefinition.hxx>
#include <StepShape_FaceBound.hxx>
#include <StepShape_FaceSurface.hxx>
#include <StepShape_HArray1OfFaceBound.hxx>
#include <StepShape_Loop.hxx>
#include <StepShape_ShapeDefinitionRepresentation.hxx>
#include <StepShape_VertexPoint.hxx>
#include <StepVisual_FillAreaStyle.hxx>
#include <StepVisual_FillAreaStyleColour.hxx>
#include <StepVisual_FillStyleSelect.hxx>
#include <StepVisual_HArray1OfFillStyleSelect.hxx>
#include <StepVisual_SurfaceSideStyle.hxx>
#include <StepVisual_SurfaceStyleUsage.hxx>
#include <TCollection_HAsciiString.hxx>
#include <XSControl_Reader.hxx>
#include <XSControl_WorkSession.hxx>

namespace mirel {

namespace {

using Entity = Handle(Standard_Transient);

// Whether there is no array, or nothing in one of its places.
template <typename Array>
bool HasNull(const Handle(Array) & array) {
  if (array.IsNull()) {
    return true;
  }
  for (const auto& element : *array) {
    if (element.IsNull()) {
      return true;
    }
  }
  return false;
}

// Whether the geometry or the part of a face lacks something that OpenCASCADE does not ask for.
bool HasGap(const Entity& entity) {
  if (const auto placement = Handle(StepGeom_Placement)::DownCast(entity)) {
    return placement->Location().IsNull();
  }
  if (const auto face = Handle(StepShape_FaceSurface)::DownCast(entity)) {
    return !face->Bounds().IsNull() && HasNull(face->Bounds());
  }
  if (const auto bound = Handle(StepShape_FaceBound)::DownCast(entity)) {
    return bound->Bound().IsNull();
  }
  if (const auto vertex = Handle(StepShape_VertexPoint)::DownCast(entity)) {
    return vertex->VertexGeometry().IsNull();
  }
  if (const auto line = Handle(StepGeom_Line)::DownCast(entity)) {
    return line->Pnt().IsNull() || line->Dir().IsNull();
  }
  if (const auto vector = Handle(StepGeom_Vector)::DownCast(entity)) {
    return vector->Orientation().IsNull();
  }
  if (const auto curve = Handle(StepGeom_BSplineCurve)::DownCast(entity)) {
    return HasNull(curve->ControlPointsList());
  }
  if (const auto surface = Handle(StepGeom_BSplineSurface)::DownCast(entity)) {
    const Handle(StepGeom_HArray2OfCartesianPoint) points = surface->ControlPointsList();
    for (int row = points.IsNull() ? 1 : points->LowerRow(); !points.IsNull() && row <= points->UpperRow();
         ++row) {
      for (int column = points->LowerCol(); column <= points->UpperCol(); ++column) {
        if (points->Value(row, column).IsNull()) {
          return true;
        }
      }
    }
    return points.IsNull();
  }
  return false;
}

Handle(StepRepr_RepresentationItem) MakeUnnamedItem() {
  const Handle(StepRepr_RepresentationItem) item = new StepRepr_RepresentationItem;
  item->Init(new TCollection_HAsciiString);
  return item;
}

// Gives an entity that only says something of others, or where they are, something empty instead.
void Fill(const Entity& entity) {
  if (const auto placement = Handle(StepGeom_Placement)::DownCast(entity)) {
    if (placement->Location().IsNull()) {
      const Handle(StepGeom_CartesianPoint) origin = new StepGeom_CartesianPoint;
      origin->Init3D(new TCollection_HAsciiString, 0.0, 0.0, 0.0);
      placement->SetLocation(origin);
    }
  } else if (const auto usage = Handle(StepVisual_SurfaceStyleUsage)::DownCast(entity)) {
    if (usage->Style().IsNull()) {
      usage->SetStyle(new StepVisual_SurfaceSideStyle);
    }
  } else if (const auto style = Handle(StepVisual_FillAreaStyle)::DownCast(entity)) {
    for (int i = 1; !style->FillStyles().IsNull() && i <= style->NbFillStyles(); ++i) {
      if (style->FillStylesValue(i).IsNull()) {
        style->FillStyles()->ChangeValue(i).SetValue(new StepVisual_FillAreaStyleColour);
      }
    }
  } else if (const auto unit = Handle(StepBasic_DerivedUnit)::DownCast(entity)) {
    for (int i = 1; !unit->Elements().IsNull() && i <= unit->NbElements(); ++i) {
      if (unit->ElementsValue(i).IsNull()) {
        unit->Elements()->SetValue(i, new StepBasic_DerivedUnitElement);
      }
    }
  } else if (entity->DynamicType() == STANDARD_TYPE(StepRepr_Representation)) {  // of properties
    const auto representation = Handle(StepRepr_Representation)::DownCast(entity);
    for (int i = 1; i <= representation->NbItems(); ++i) {
      if (representation->ItemsValue(i).IsNull()) {
        representation->Items()->SetValue(i, MakeUnnamedItem());
      }
    }
  } else if (const auto definition = Handle(StepShape_ShapeDefinitionRepresentation)::DownCast(entity)) {
    if (definition->Definition().IsNull()) {
      StepRepr_RepresentedDefinition nothing;
      nothing.SetValue(new StepRepr_PropertyDefinition);
      definition->SetDefinition(nothing);
    }
  } else if (const auto property = Handle(StepRepr_PropertyDefinitionRepresentation)::DownCast(entity)) {
    if (property->UsedRepresentation().IsNull()) {
      const Handle(StepRepr_Representation) nothing = new StepRepr_Representation;
      nothing->SetName(new TCollection_HAsciiString);
      property->SetUsedRepresentation(nothing);
    }
  }
}

}  // namespace

StepGaps::Found StepGaps::TakeOut(XSControl_Reader& reader) {
  const Handle(Interface_InterfaceModel) entities = reader.Model();
  std::vector<Entity> faulty;
  for (int i = 1; i <= entities->NbEntities(); ++i) {
    if (entities->IsErrorEntity(i)) {
      faulty.push_back(entities->Value(i));
    }
  }
  if (faulty.empty()) {
    return {};
  }
  const Interface_Graph graph(reader.WS()->Graph());
  BodyRemoval removal(graph, true);
  for (const Entity& entity : faulty) {
    if (HasGap(entity)) {
      removal.TakeOutUsers(entity);
    }
  }
  for (const Entity& entity : faulty) {
    Fill(entity);
  }
  Found found;
  found.products = removal.GetProducts();
  for (const Entity& face : removal.GetFaces()) {
    found.faces.push_back(entities->StringLabel(face)->ToCString());
  }
  return found;
}

}  // namespace mirel
