#include <Programs/mirel/Import/StepNumbers.h>

#include <Programs/mirel/Import/EntityFilter.h>

#include <Interface_EntityIterator.hxx>
#include <Interface_Graph.hxx>
#include <Interface_InterfaceModel.hxx>
#include <StepBasic_Product.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepBasic_ProductDefinitionFormation.hxx>
#include <StepGeom_BSplineCurveWithKnots.hxx>
#include <StepGeom_BSplineSurfaceWithKnots.hxx>
#include <StepGeom_CartesianPoint.hxx>
#include <StepGeom_Circle.hxx>
#include <StepGeom_ConicalSurface.hxx>
#include <StepGeom_CylindricalSurface.hxx>
#include <StepGeom_Direction.hxx>
#include <StepGeom_Ellipse.hxx>
#include <StepGeom_Hyperbola.hxx>
#include <StepGeom_Parabola.hxx>
#include <StepGeom_Placement.hxx>
#include <StepGeom_SphericalSurface.hxx>
#include <StepGeom_ToroidalSurface.hxx>
#include <StepGeom_Vector.hxx>
#include <StepRepr_CharacterizedDefinition.hxx>
#include <StepRepr_HArray1OfRepresentationItem.hxx>
#include <StepRepr_MappedItem.hxx>
#include <StepRepr_PropertyDefinition.hxx>
#include <StepRepr_Representation.hxx>
#include <StepRepr_RepresentationRelationship.hxx>
#include <StepRepr_RepresentedDefinition.hxx>
#include <StepShape_ShapeDefinitionRepresentation.hxx>
#include <StepVisual_StyledItem.hxx>
#include <TColStd_HArray1OfReal.hxx>
#include <TCollection_HAsciiString.hxx>
#include <XSControl_Reader.hxx>
#include <XSControl_WorkSession.hxx>

#include <cmath>
#include <set>

namespace mirel {

namespace {

using Entity = Handle(Standard_Transient);

using NumberFilter =
    EntityFilter<StepGeom_CartesianPoint, StepGeom_Direction, StepGeom_BSplineCurveWithKnots,
                 StepGeom_BSplineSurfaceWithKnots, StepGeom_Vector, StepGeom_Circle, StepGeom_Ellipse,
                 StepGeom_Hyperbola, StepGeom_Parabola, StepGeom_CylindricalSurface, StepGeom_ConicalSurface,
                 StepGeom_SphericalSurface, StepGeom_ToroidalSurface>;

constexpr double kLargest = 1e100;  // half of what stands for infinity in OpenCASCADE

bool IsBad(double value) {
  return !(std::abs(value) <= kLargest);
}

bool HasBad(const Handle(TColStd_HArray1OfReal) & values) {
  for (int i = values.IsNull() ? 1 : values->Lower(); !values.IsNull() && i <= values->Upper(); ++i) {
    if (IsBad(values->Value(i))) {
      return true;
    }
  }
  return false;
}

// Its array of coordinates cannot be asked for when they are fewer than three.
bool HasBadCoordinate(const StepGeom_CartesianPoint& point) {
  for (int i = 1; i <= point.NbCoordinates(); ++i) {
    if (IsBad(point.CoordinatesValue(i))) {
      return true;
    }
  }
  return false;
}

// Whether the entity is a T of which one of the numbers is bad.
template <typename T, typename... Get>
bool HasBad(const Entity& entity, Get... get) {
  const auto item = Handle(T)::DownCast(entity);
  return !item.IsNull() && (IsBad((item.get()->*get)()) || ...);
}

bool HasBadNumber(const Entity& entity) {
  if (const auto point = Handle(StepGeom_CartesianPoint)::DownCast(entity)) {
    return HasBadCoordinate(*point);
  }
  if (const auto direction = Handle(StepGeom_Direction)::DownCast(entity)) {
    return HasBad(direction->DirectionRatios());
  }
  if (const auto curve = Handle(StepGeom_BSplineCurveWithKnots)::DownCast(entity)) {
    return HasBad(curve->Knots());
  }
  if (const auto surface = Handle(StepGeom_BSplineSurfaceWithKnots)::DownCast(entity)) {
    return HasBad(surface->UKnots()) || HasBad(surface->VKnots());
  }
  return HasBad<StepGeom_Vector>(entity, &StepGeom_Vector::Magnitude) ||
         HasBad<StepGeom_Circle>(entity, &StepGeom_Circle::Radius) ||
         HasBad<StepGeom_Ellipse>(entity, &StepGeom_Ellipse::SemiAxis1, &StepGeom_Ellipse::SemiAxis2) ||
         HasBad<StepGeom_Hyperbola>(entity, &StepGeom_Hyperbola::SemiAxis,
                                    &StepGeom_Hyperbola::SemiImagAxis) ||
         HasBad<StepGeom_Parabola>(entity, &StepGeom_Parabola::FocalDist) ||
         HasBad<StepGeom_CylindricalSurface>(entity, &StepGeom_CylindricalSurface::Radius) ||
         HasBad<StepGeom_ConicalSurface>(entity, &StepGeom_ConicalSurface::Radius,
                                         &StepGeom_ConicalSurface::SemiAngle) ||
         HasBad<StepGeom_SphericalSurface>(entity, &StepGeom_SphericalSurface::Radius) ||
         HasBad<StepGeom_ToroidalSurface>(entity, &StepGeom_ToroidalSurface::MajorRadius,
                                          &StepGeom_ToroidalSurface::MinorRadius);
}

// Bodies with a bad number somewhere, and the representations that list them.
class BodySearch {
 public:
  explicit BodySearch(const Interface_Graph& graph) : graph_(graph) {}

  // Climbs from an entity to all items that use it.
  void Climb(const Entity& from) {
    std::vector<Entity> open{from};
    while (!open.empty()) {
      const Entity entity = open.back();
      open.pop_back();
      if (!seen_.insert(entity.get()).second) {
        continue;
      }
      for (Interface_EntityIterator users = graph_.Sharings(entity); users.More(); users.Next()) {
        const auto representation = Handle(StepRepr_Representation)::DownCast(users.Value());
        if (!representation.IsNull()) {
          TakeOut(entity, representation);
        } else if (users.Value()->IsKind(STANDARD_TYPE(StepRepr_RepresentationItem))) {
          open.push_back(users.Value());
        }
      }
    }
  }

  const std::vector<std::string>& GetNames() const { return names_; }

 private:
  void TakeOut(const Entity& body, const Handle(StepRepr_Representation) & representation) {
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
    const Handle(StepRepr_HArray1OfRepresentationItem) items =
        new StepRepr_HArray1OfRepresentationItem(1, static_cast<int>(rest.size()));
    for (std::size_t i = 0; i < rest.size(); ++i) {
      items->SetValue(static_cast<int>(i + 1), rest[i]);
    }
    representation->SetItems(items);
    names_.push_back(FindProduct(representation, true));
  }

  std::string FindProduct(const Handle(StepRepr_Representation) & representation, bool looksFarther) const {
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

  static std::string NameOf(const Handle(StepRepr_PropertyDefinition) & property) {
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

  const Interface_Graph& graph_;
  std::set<const Standard_Transient*> seen_;
  std::vector<std::string> names_;
};

}  // namespace

std::vector<std::string> StepNumbers::TakeOutBodies(XSControl_Reader& reader) {
  const Handle(Interface_InterfaceModel) entities = reader.Model();
  std::vector<Entity> bad;
  NumberFilter filter;
  for (int i = 1; i <= entities->NbEntities(); ++i) {
    if (filter.Takes(entities->Value(i)) && HasBadNumber(entities->Value(i))) {
      bad.push_back(entities->Value(i));
    }
  }
  if (bad.empty()) {
    return {};
  }
  const Interface_Graph graph(reader.WS()->Graph());
  BodySearch search(graph);
  for (const Entity& entity : bad) {
    search.Climb(entity);
  }
  return search.GetNames();
}

}  // namespace mirel
