#pragma once

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <gtest/gtest.h>

#include <TopoDS_Shape.hxx>

#include <string>

namespace mirel::test {

/// Whether every range and index of a mesh is inside its arrays, ranges follow each other without gaps, and
/// positions are finite.
testing::AssertionResult IsConsistent(const GRepMesh& mesh);

/// Whether both meshes are the same in every array and number.
testing::AssertionResult IsSame(const GRepMesh& a, const GRepMesh& b);

/// The largest distance of a triangle from its face, and of a polyline from its edge, at corners, in the
/// middle of sides and inside triangles; of many triangles in a face, a part is taken.
double MeasureDeviation(const GRepMesh& mesh, const TopoDS_Shape& body);

/// The largest distance of a vertex from the surface that its face is said to lie on, and the smallest cosine between its
/// normal and that of this surface; faces on other kinds of surfaces, and apexes, are left out.
struct SurfaceFit {
  double distance = 0.0, cosine = 1.0;
};
SurfaceFit MeasureSurfaces(const GRepMesh& mesh);

/// The volume inside the triangles, positive when they turn counter-clockwise as seen from outside.
double MeasureVolume(const GRepMesh& mesh);

/// Whether every side of a triangle is the side of exactly one more, turned the other way: no hole, no
/// overlap, no face turned inside out.
bool IsClosed(const GRepMesh& mesh);

/// The smallest cosine between a triangle's own normal and those of its corners, slivers left out.
double SmallestNormalCosine(const GRepMesh& mesh);

}  // namespace mirel::test
