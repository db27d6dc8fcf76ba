#include <Programs/mirel/PlaneCurveMemo.h>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRep_Tool.hxx>
#include <Geom_Plane.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Edge.hxx>
#include <gp_Circ.hxx>
#include <gp_Lin.hxx>

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace mirel {
namespace {

int projections = 0;

Handle(Geom2d_Curve) Project(const TopoDS_Edge& edge, const Handle(Geom_Surface) & surface,
                             const TopLoc_Location& place, double& first, double& last) {
  ++projections;
  return BRep_Tool::CurveOnPlane(edge, surface, place, first, last);
}

/// Points of the curve and of its range, of both the same bits.
std::vector<double> Sample(const Handle(Geom2d_Curve) & curve, double first, double last) {
  std::vector<double> numbers = {first, last};
  for (const double share : {0.0, 0.3, 1.0}) {
    const gp_Pnt2d point = curve->Value(first + share * (last - first));
    numbers.insert(numbers.end(), {point.X(), point.Y()});
  }
  return numbers;
}

TEST(PlaneCurveMemoTest, GivesWhatIsProjectedAndNothingThatOthersHave) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> number(-10.0, 10.0);
  const auto axes = [&] {
    return gp_Ax2(gp_Pnt(number(random), number(random), number(random)),
                  gp_Dir(number(random), number(random), number(random)));
  };
  gp_Trsf moved;
  moved.SetTranslation(gp_Vec(1.0, 2.0, 3.0));
  projections = 0;
  for (int i = 0; i < 2000; ++i) {
    const gp_Ax2 position = axes();
    const Handle(Geom_Plane) plane = new Geom_Plane(gp_Ax3(position));
    const double end = 1.0 + i % 5;
    const TopoDS_Edge edges[] = {
        BRepBuilderAPI_MakeEdge(gp_Lin(axes().Axis()), 0.0, end),
        BRepBuilderAPI_MakeEdge(gp_Lin(position.Location(), position.XDirection()), -end, end),
        BRepBuilderAPI_MakeEdge(gp_Circ(position, end), 0.5, end)};
    for (const TopoDS_Edge& edge : edges) {
      for (const TopLoc_Location& place : {TopLoc_Location(), TopLoc_Location(moved)}) {
        double first = 0.0;
        double last = 0.0;
        const Handle(Geom2d_Curve) wanted = BRep_Tool::CurveOnPlane(edge, plane, place, first, last);
        const std::vector<double> numbers = Sample(wanted, first, last);
        for (int again = 0; again < 2; ++again) {
          double from = 0.0;
          double to = 0.0;
          const Handle(Geom2d_Curve) found = PlaneCurveMemo::Get(edge, plane, place, from, to, &Project);
          ASSERT_EQ(found->DynamicType(), wanted->DynamicType());
          ASSERT_EQ(Sample(found, from, to), numbers);
          found->Translate(gp_Vec2d(5.0, 7.0));
        }
      }
    }
  }
  EXPECT_LT(projections,
            2000 * 3 * 3 +
                2000);  // once in its place, and twice elsewhere, but for what others took the place of
  EXPECT_GE(projections, 2000 * 3 * 3);
}

}  // namespace
}  // namespace mirel
