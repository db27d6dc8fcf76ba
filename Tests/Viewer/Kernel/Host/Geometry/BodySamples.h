#pragma once

#include <TopoDS_Shape.hxx>
#include <gp_Trsf.hxx>

#include <string>
#include <vector>

namespace mirel::test {

struct BodySample {
  std::string name;
  TopoDS_Shape shape;
};

/// Small bodies that between them use every kind of curve, surface, shape and representation that BRep text
/// knows.
std::vector<BodySample> MakeBodySamples();

/// A shell of the body's faces, which stand elsewhere: there the surface of each has been placed inside the face. A mirror
/// turns the shell inside out.
TopoDS_Shape PlaceSurfaces(const TopoDS_Shape& body, const gp_Trsf& place);

/// The BRep text of a shape, as packages hold it.
std::string WriteBRepText(const TopoDS_Shape& shape);

}  // namespace mirel::test
