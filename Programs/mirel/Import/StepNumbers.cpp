#include <Programs/mirel/Import/StepNumbers.h>

#include <Programs/mirel/Import/BodyRemoval.h>
#include <Programs/mirel/Import/EntityFilter.h>

#include <Interface_Graph.hxx>
#include <Interface_InterfaceModel.hxx>
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
#include <StepGeom_SphericalSurface.hxx>
#include <StepGeom_ToroidalSurface.hxx>
#include <StepGeom_Vector.hxx>
#include <TColStd_HArray1OfReal.hxx>
#include <XSControl_Reader.hxx>
#include <XSControl_WorkSession.hxx>

#include <cmath>

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
  BodyRemoval removal(graph);
  for (const Entity& entity : bad) {
    removal.TakeOutUsers(entity);
  }
  return removal.GetProducts();
}

}  // namespace mirel
