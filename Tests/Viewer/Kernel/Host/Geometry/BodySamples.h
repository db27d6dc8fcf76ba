#pragma once

#include <TopoDS_Shape.hxx>

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

/// The BRep text of a shape, as packages hold it.
std::string WriteBRepText(const TopoDS_Shape& shape);

}  // namespace mirel::test
