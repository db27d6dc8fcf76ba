#include <Viewer/Measure/MeasureUnit.h>
#include <Viewer/Measure/PartMeasures.h>
#include <Viewer/Measure/Separation.h>

#include <Tests/Support/TestModel.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shell.hxx>
#include <gp_Elips.hxx>
#include <gp_Pln.hxx>

#include <gtest/gtest.h>

#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace mirel {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRight = kPi / 2;
const glm::dmat4 kHere(1.0);
const glm::dmat4 kMirrored = glm::scale(Move(100, 0, 0), glm::dvec3(-1, 1, 1));
const glm::dmat4 kTwice = glm::scale(glm::dmat4(1.0), glm::dvec3(2.0));
const glm::dmat4 kStretched = glm::scale(glm::dmat4(1.0), glm::dvec3(1, 1, 2));

FaceMeasure FaceOf(const TopoShape& body, std::uint32_t face, const glm::dmat4& placement = kHere) {
  return MeasureFace(ExactPart::OfFace(body, face, placement).value()).value();
}

bool IsNear(const glm::dvec3& a, const glm::dvec3& b) {
  return glm::distance(a, b) < 1e-9;
}

// Body, face and edge numbers are those of the mesh, so what is measured must be what the mesh shows.
TEST(Measure, FacesLieWhereTheyAreDrawn) {
  const std::shared_ptr<TopoShape> box = MakeBox(10, 20, 30);
  const std::shared_ptr<GRepShape> grep = MakeGRep(box);
  const GRepMesh& mesh = grep->GetMesh();
  for (const glm::dmat4& placement : {kHere, kMirrored, TurnAboutZ(30), kTwice})
    for (std::uint32_t face = 0; face < mesh.faces.size(); ++face) {
      const FaceMeasure measure = FaceOf(*box, face, placement);
      const std::size_t vertex = mesh.faces[face].firstVertex;
      const glm::dmat3 turn(placement);
      // Normals go with the inverse transposed; out of the material, also in a mirror.
      const glm::dvec3 normal =
          glm::normalize(glm::inverse(glm::transpose(turn)) * glm::dvec3(mesh.GetNormal(vertex)));
      ASSERT_TRUE(measure.axis) << face;
      EXPECT_LT(glm::distance(measure.axis->direction, normal), 0.02) << face;
      const glm::dvec3 point(placement * glm::dvec4(mesh.GetPosition(vertex), 1.0));
      EXPECT_NEAR(glm::dot(point - measure.axis->point, measure.axis->direction), 0.0, 0.01) << face;
    }
}

TEST(Measure, KnowsSurfacesWithTheirSizes) {
  const TopoShape cylinder(BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(1, 2, 3), gp::DX()), 4, 10).Shape());
  const FaceMeasure side = FaceOf(cylinder, 0);
  EXPECT_EQ(side.kind, SurfaceKind::kCylinder);
  EXPECT_DOUBLE_EQ(side.radius, 4);
  EXPECT_NEAR(side.area, 2 * kPi * 4 * 10, 1e-9);
  EXPECT_NEAR(side.perimeter, 2 * 2 * kPi * 4, 1e-9);  // two circles, no seam
  EXPECT_TRUE(IsNear(glm::abs(side.axis->direction), {1, 0, 0}));
  // Twice as large it is a cylinder still, stretched across it is none.
  EXPECT_NEAR(FaceOf(cylinder, 0, kTwice).radius, 8, 1e-9);
  EXPECT_EQ(FaceOf(cylinder, 0, kStretched).kind, SurfaceKind::kOther);

  const FaceMeasure cone = FaceOf(TopoShape(BRepPrimAPI_MakeCone(3, 0, 3).Shape()), 0, kMirrored);
  EXPECT_EQ(cone.kind, SurfaceKind::kCone);
  EXPECT_NEAR(cone.halfAngle, kPi / 4, 1e-12);
  EXPECT_TRUE(IsNear(cone.axis->point, {100, 0, 3}));
  EXPECT_TRUE(IsNear(cone.axis->direction, {0, 0, -1}));

  const FaceMeasure sphere = FaceOf(TopoShape(BRepPrimAPI_MakeSphere(gp_Pnt(1, 2, 3), 5).Shape()), 0);
  EXPECT_EQ(sphere.kind, SurfaceKind::kSphere);
  EXPECT_TRUE(IsNear(sphere.centreOfSphere.value(), {1, 2, 3}));
  EXPECT_NEAR(sphere.area, 4 * kPi * 25, 1e-9);

  const FaceMeasure torus = FaceOf(TopoShape(BRepPrimAPI_MakeTorus(7, 2).Shape()), 0);
  EXPECT_EQ(torus.kind, SurfaceKind::kTorus);
  EXPECT_EQ(torus.radius, 7);
  EXPECT_EQ(torus.tubeRadius, 2);
}

TEST(Measure, KnowsEdgesAndWherePeopleClick) {
  const TopoShape circle(BRepPrimAPI_MakeCylinder(4, 10).Shape());
  std::vector<EdgeMeasure> circles, lines;
  for (std::uint32_t edge = 0; edge < 3; ++edge) {
    const EdgeMeasure measure = MeasureEdge(ExactPart::OfEdge(circle, edge, Move(0, 0, 5)).value()).value();
    (measure.kind == CurveKind::kCircle ? circles : lines).push_back(measure);
  }
  ASSERT_EQ(circles.size(), 2u);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(circles[0].isClosed);
  EXPECT_NEAR(circles[0].length, 2 * kPi * 4, 1e-9);
  EXPECT_EQ(circles[0].radius, 4);
  EXPECT_FALSE(lines[0].isClosed);
  EXPECT_NEAR(lines[0].length, 10, 1e-12);
  EXPECT_NEAR(lines[0].middle.z, 10, 1e-9);

  const TopoShape ellipse(BRepBuilderAPI_MakeEdge(gp_Elips(gp_Ax2(), 5, 3), 0, kPi / 2).Edge());
  const ExactPart quarter = ExactPart::OfEdge(ellipse, 0, kHere).value();
  const EdgeMeasure measure = MeasureEdge(quarter).value();
  EXPECT_EQ(measure.kind, CurveKind::kEllipse);
  EXPECT_EQ(measure.minorRadius, 3);
  // The middle halves the length, not the parameter: x = 5 cos(0.7206..), from the elliptic integral.
  EXPECT_NEAR(measure.length, 6.3817497, 1e-5);
  EXPECT_GT(measure.middle.x, 3.0);
  EXPECT_EQ(FindSnapPoints(quarter).size(), 4u);

  // Four corners and four middles; of the sphere its poles, the middle of its seam and its centre.
  EXPECT_EQ(FindSnapPoints(ExactPart::OfFace(*MakeBox(1, 2, 3), 0, kHere).value()).size(), 8u);
  const TopoShape sphere(BRepPrimAPI_MakeSphere(2).Shape());
  const std::vector<SnapPoint> points = FindSnapPoints(ExactPart::OfFace(sphere, 0, kHere).value());
  EXPECT_TRUE(std::any_of(points.begin(), points.end(), [](const SnapPoint& snap) {
    return snap.kind == SnapPoint::Kind::kCentre && IsNear(snap.point, {0, 0, 0});
  }));
}

TEST(Measure, WeighsBodies) {
  const std::shared_ptr<TopoShape> box = MakeBox(10, 20, 30);
  for (const auto& [placement, factor] : {std::pair(kHere, 1.0), std::pair(kMirrored, 1.0),
                                          std::pair(kTwice, 8.0), std::pair(kStretched, 2.0)}) {
    const BodyMeasure body = MeasureBody(ExactPart::OfBody(*box, placement).value()).value();
    EXPECT_NEAR(body.volume.value(), 6000 * factor, 1e-6);
    EXPECT_TRUE(IsNear(body.centre, glm::dvec3(placement * glm::dvec4(5, 10, 15, 1))));
    EXPECT_NEAR(body.GetMass(7.85).value(), 6 * 7.85 * factor, 1e-9);
  }
  BodyMeasure both = MeasureBody(ExactPart::OfBody(*box, kHere).value()).value();
  both += MeasureBody(ExactPart::OfBody(*MakeBox(10, 20, 60), Move(0, 0, 30)).value()).value();
  EXPECT_NEAR(both.volume.value(), 18000, 1e-6);
  EXPECT_TRUE(IsNear(both.centre, {5, 10, 45}));

  // A sheet has an area alone, and nobody says what it weighs.
  const TopoShape sheet(BRepBuilderAPI_MakeFace(gp_Pln(), 0, 2, 0, 4).Face());
  const BodyMeasure measure = MeasureBody(ExactPart::OfBody(sheet, kHere).value()).value();
  EXPECT_NEAR(measure.area, 8, 1e-9);
  EXPECT_FALSE(measure.volume);
  EXPECT_FALSE(measure.GetMass(1));
  EXPECT_TRUE(IsNear(measure.centre, {1, 2, 0}));
}

TEST(Measure, TellsHowTwoPartsLieToEachOther) {
  const TopoShape cylinder(BRepPrimAPI_MakeCylinder(2, 10).Shape());
  const ExactPart hole = ExactPart::OfFace(cylinder, 0, kHere).value();
  const ExactPart other = ExactPart::OfFace(cylinder, 0, Move(10, 0, 50)).value();
  const Separation holes = MeasureSeparation(hole, other).value();
  EXPECT_NEAR(holes.distance, std::hypot(6, 40), 1e-9);
  EXPECT_NEAR(glm::distance(holes.from, holes.to), holes.distance, 1e-9);
  EXPECT_NEAR(holes.angle.value(), 0, 1e-12);
  EXPECT_NEAR(holes.parallelDistance.value(), 10, 1e-9);
  EXPECT_FALSE(holes.centreDistance);

  const std::shared_ptr<TopoShape> box = MakeBox(10, 20, 30);
  const auto wall = [&box](std::uint32_t face) { return ExactPart::OfFace(*box, face, kHere).value(); };
  const Separation thickness = MeasureSeparation(wall(0), wall(1)).value();
  EXPECT_NEAR(thickness.parallelDistance.value(), 10, 1e-9);
  const Separation corner = MeasureSeparation(wall(0), wall(2)).value();
  EXPECT_EQ(corner.distance, 0);
  EXPECT_NEAR(corner.angle.value(), kRight, 1e-12);
  EXPECT_FALSE(corner.parallelDistance);
  // A line along the axis of the hole stands on the floor and lies along the wall.
  EXPECT_NEAR(MeasureSeparation(wall(4), hole)->angle.value(), kRight, 1e-12);
  EXPECT_NEAR(MeasureSeparation(wall(1), hole)->parallelDistance.value(), 10, 1e-9);

  const Separation centres =
      MeasureSeparation(ExactPart::OfPoint({3, 4, 0}), ExactPart::OfPoint({0, 0, 0})).value();
  EXPECT_NEAR(centres.distance, 5, 1e-12);
  EXPECT_NEAR(centres.centreDistance.value(), 5, 1e-12);
  EXPECT_FALSE(MeasureSeparation(hole, other, [] { return true; }));
}

TEST(Measure, RefusesWhatIsNotThere) {
  const std::shared_ptr<TopoShape> box = MakeBox(1, 2, 3);
  EXPECT_FALSE(ExactPart::OfFace(*box, 6, kHere));
  EXPECT_FALSE(ExactPart::OfEdge(*box, 12, kHere));
  EXPECT_FALSE(ExactPart::OfBody(TopoShape(TopoDS_Shape()), kHere));
  EXPECT_FALSE(ExactPart::OfBody(*box, glm::scale(kHere, glm::dvec3(1, 1, 0))));
  EXPECT_FALSE(ExactPart::OfBody(*box, Move(std::numeric_limits<double>::quiet_NaN(), 0, 0)));
  EXPECT_FALSE(MeasureFace(ExactPart::OfBody(*box, kHere).value()));
  EXPECT_FALSE(MeasureBody(ExactPart::OfFace(*box, 0, kHere).value()));
}

TEST(Measure, WritesValuesInTheUnitsOfPeople) {
  const MeasureUnit mm, cm(MeasureUnit::Length::kCentimetre), m(MeasureUnit::Length::kMetre),
      inch(MeasureUnit::Length::kInch);
  EXPECT_EQ(mm.FormatLength(12.5), "12.5 mm");
  EXPECT_EQ(mm.FormatLength(-0.0001), "0 mm");
  EXPECT_EQ(cm.FormatArea(1250), "12.5 cm²");
  EXPECT_EQ(m.FormatVolume(1e9), "1 m³");
  EXPECT_EQ(inch.FormatLength(25.4), "1 in");
  EXPECT_EQ(mm.FormatPlace(1, 2.5, -3), "1, 2.5, -3 mm");
  EXPECT_EQ(MeasureUnit::FormatAngle(kPi / 6), "30°");
  EXPECT_EQ(MeasureUnit::FormatMass(12.5), "12.5 g");
  EXPECT_EQ(MeasureUnit::FormatMass(1250), "1.25 kg");
}

}  // namespace
}  // namespace mirel
