#pragma once

#include <Python/Native/Model.h>

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <pybind11/numpy.h>

#include <memory>

namespace mirel {
class GRepShape;
}

namespace mirel::python {

/// Arrays of numpy that nobody can write into.

/// Lengths are millimetres, in the space of the model; one row for each node.
pybind11::array MakeMatrices(const Parts& parts);   ///< (n, 4, 4): the translation is the last column
pybind11::array MakePositions(const Parts& parts);  ///< (n, 3): where the origins are
pybind11::array
MakeBoxes(const Parts& parts);  ///< (n, 2, 3): least and largest corner; NaN where there is no box
pybind11::array MakeColors(const Parts& parts);  ///< (n, 3): NaN where a node has no colour of its own
pybind11::array MakeIds(const Parts& parts);     ///< (n,) of the items

pybind11::array MakeMatrix(const Part& part);         ///< (4, 4)
pybind11::object MakeBox(const AABoxT<double>& box);  ///< (2, 3), or None
pybind11::array MakeFaceColors(const Part& part);     ///< (faces, 3): as they are drawn

/// What is drawn of a body, in the coordinates of the body. All arrays keep what they show.
class Mesh {
 public:
  explicit Mesh(std::shared_ptr<const GRepShape> grep) : grep_(std::move(grep)) {}

  const GRepShape& GetGRep() const { return *grep_; }

  pybind11::array GetPositions();       ///< (vertices, 3), made by the first call
  pybind11::array GetNormals();         ///< (vertices, 3), single precision, made by the first call
  pybind11::array GetTriangles();       ///< (triangles, 3), a view of the graphics themselves
  pybind11::array GetFaceOfTriangle();  ///< (triangles,)
  pybind11::array GetEdges();           ///< (segments, 2)
  pybind11::array GetEdgeOfSegment();   ///< (segments,)

 private:
  const std::shared_ptr<const GRepShape> grep_;
  pybind11::object positions_, normals_, faceOfTriangle_, edges_,
      edgeOfSegment_;  // null until they are asked for
};

}  // namespace mirel::python
