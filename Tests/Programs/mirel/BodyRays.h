#pragma once

#include <Bnd_Box.hxx>
#include <IntCurvesFace_ShapeIntersector.hxx>
#include <TopoDS_Shape.hxx>

#include <functional>
#include <memory>
#include <vector>

class gp_Lin;

namespace mirel {

/// What OpenCASCADE's own ray intersector meets of a body. Faces whose box a line passes by are not asked, since asking all takes
/// most of an hour where there are thousands.
class BodyRays {
 public:
  explicit BodyRays(const TopoDS_Shape& body);

  using Visit = std::function<void(int face, double distance)>;
  /// All places where a line meets a face between two distances; `face` counts from 0, as `TopExp::MapShapes` does from 1.
  void Cast(const gp_Lin& line, double nearest, double farthest, const Visit& visit);

 private:
  struct Face {
    Bnd_Box box;
    IntCurvesFace_ShapeIntersector rays;
  };

  Bnd_Box box_;
  std::vector<std::unique_ptr<Face>> faces_;
};

}  // namespace mirel
