#pragma once

#include <TDF_Label.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Shape.hxx>

#include <vector>

namespace mirel {

/// A part of a product's body of which an XCAF document says something: a solid, a face, an edge.
struct BodyPart {
  TDF_Label label;
  TopoDS_Shape shape;

  /// The parts of a product, from the outside in, so that of what they say of one face or edge the last counts.
  static std::vector<BodyPart> ListOf(const TDF_Label& product);

  /// Where the faces or edges of the part are in the map of those of the whole body, from 0. One that is in no map is
  /// left out.
  std::vector<int> FindIn(const TopTools_IndexedMapOfShape& all) const;
};

}  // namespace mirel
