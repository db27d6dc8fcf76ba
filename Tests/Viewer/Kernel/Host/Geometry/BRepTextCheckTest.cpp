#include <Viewer/Kernel/Host/Geometry/BRepTextCheck.h>

#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <gtest/gtest.h>

#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_OffsetCurve.hxx>
#include <Geom_Plane.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>

#include <sstream>
#include <string>
#include <vector>

namespace mirel::test {
namespace {

BRepTextResult Check(const std::string& text) {
  return CheckBRepText(text.data(), text.size());
}

std::string Replace(std::string text, const std::string& part, const std::string& by) {
  const std::size_t place = text.find(part);
  EXPECT_NE(place, std::string::npos) << part;
  EXPECT_EQ(text.find(part, place + 1), std::string::npos) << "twice: " << part;
  return text.replace(place, part.size(), by);
}

// A face of triangles with all that an edge can have, plus geometry that is there to be broken.
const std::string kText = "\nCASCADE Topology V3, (c) Open Cascade\n"
                          "Locations 2\n"
                          "1\n"
                          "1 0 0 5 \n"
                          "0 1 0 0 \n"
                          "0 0 1 0 \n"
                          "2  1 2 0\n"
                          "Curve2ds 2\n"
                          "1 0 0 1 0 \n"
                          "7 0 0  1 2 2  0 0  1 1 \n"
                          " 0 2 1 2\n"
                          "Curves 4\n"
                          "1 0 0 0 1 0 0 \n"
                          "3 0 0 0 0 0 1 1 0 0 0 1 0 2.5 1.5\n"
                          "7 1 1  2 3 4  0 0 0  1 1 0 0  0.5 1 1 0  2\n"
                          " 0 1 1 1 2 1 3 1\n"
                          "9 0.25\n"
                          "0 0 1 \n"
                          "8 0 2\n"
                          "7 0 0  2 5 3  0 0 0  1 1 0  2 2 0  3 3 0  4 5 0 \n"
                          " 0 3 1 2 2 3\n"
                          "Polygon3D 1\n"
                          "2 1\n"
                          "0.01\n"
                          "0 0 0 1 0 0 \n"
                          "0 1 \n"
                          "PolygonOnTriangulations 1\n"
                          "2 1 3 \n"
                          "p 0.01 1 0 1 \n"
                          "Surfaces 3\n"
                          "1 0 0 0 0 0 1 1 0 0 0 1 0 \n"
                          "10 0.5 1 -1 1\n"
                          "3 0 0 0 0 0 1 1 0 0 0 1 0 1 0.5\n"
                          "11 0.125\n"
                          "7 0 0 0 0 1 0 8 0 1\n"
                          "6 0 1 1 0 0  2 1 0  \n"
                          "Triangulations 1\n"
                          "3 1 0 0 0.01\n"
                          "0 0 0 1 0 0 0 1 0 1 2 3 \n"
                          "\nTShapes 4\n"
                          "Ve\n"
                          "1e-07\n"
                          "0 0 0\n"
                          "0.5 1 1 0\n"
                          "0 0\n\n"
                          "0101101\n"
                          "*\n"
                          "Ed\n"
                          " 1e-07 1 1 0\n"
                          "1  1 1 0 1\n"
                          "2  2 1 0 0 2\n"
                          "4 C1 1 0 2 0\n"
                          "5  1 0\n"
                          "6  1 1 2\n"
                          "0\n\n"
                          "0101000\n"
                          "+4 0 -4 1 *\n"
                          "Wi\n\n"
                          "0101000\n"
                          "+3 0 *\n"
                          "Fa\n"
                          "0  1e-07 1 0\n"
                          "2  1\n"
                          "0111000\n"
                          "+2 0 *\n\n"
                          "+1 0 ";

struct Fault {
  std::string part;  // of kText
  std::string by;
  const char* reason;
};

// Every rule is broken at least once; the comments name what OpenCASCADE's reader does when the rule is not there.
const std::vector<Fault> kFaults = {
    {"V3, (c) Open Cascade", "V1, (c) Matra-Datavision",
     "The text does not start as BRep text of format version 3 does"},
    {"\nCASCADE", " CASCADE", "The text does not start as BRep text of format version 3 does"},
    // Lexical.
    {"2.5 1.5", "2.5\t1.5", "A number is not written as numbers are"},
    {"2.5 1.5", std::string("2.5 1.5\0", 8), "A number is not written as numbers are"},
    {"2.5 1.5", "2.5 nan", "A number is not finite"},
    {"2.5 1.5", "2.5 -inf", "A number is not finite"},
    {"2.5 1.5", "2.5 1.", "A number is not written as numbers are"},
    {"2.5 1.5", "2.5 1e", "A number is not written as numbers are"},
    {"2.5 1.5", "2.5 0x1", "A number is not written as numbers are"},
    {"2.5 1.5", "2.5 1.5.5", "A number is not written as numbers are"},
    {"2.5 1.5", "2.5 1e+999", "A number is too large"},
    {"2.5 1.5", "2.5 1.7976931348623157e+308",
     "A number is too large"},  // with 15 digits it is none any more
    {"2.5 1.5", "2.5 1.5" + std::string(65, ' '), "White space is longer than any writer leaves it"},
    {"2.5 1.5", "2.5 1." + std::string(5000, '1'), "A token is too long"},
    {"p 0.01", std::string(5000, 'p') + " 0.01", "A token is too long"},  // buffers of 255 bytes overflow
    // Counts: loops that last for ever, allocations of gigabytes.
    {"Curves 4", "Curves 2147483647", "A count is larger than the remaining text can hold"},
    {"Curves 4", "Curves -1", "A whole number holds something else than digits"},
    {"Locations 2", "Locations 99999999999", "A count is out of range"},
    {"2 1 3 \n", "200000 1 3 \n", "A count is larger than the remaining text can hold"},
    {"7 0 0  2 5 3", "7 0 0  2 110 3", "A curve or surface has more poles than the remaining text can hold"},
    // Sections.
    {"Locations", "locations", "The section of placements is missing"},
    {"Curve2ds 2", "Curve2ds 1", "The section of curves is missing"},
    {"Curves 4", "Curve3ds 4", "The section of curves is missing"},
    {"Polygon3D 1", "Polygon3Ds 1", "The section of polygons is missing"},
    {"PolygonOnTriangulations", "PolygonOnTriangulation",
     "The section of polygons on triangulations is missing"},
    {"Surfaces 3", "Surfaces 4", "A whole number holds something else than digits"},
    {"\nTriangulations", "\nTriangles", "The section of triangulations is missing"},
    {"TShapes", "Shapes", "The section of shapes is missing"},
    // Placements.
    {"1\n1 0 0 5", "3\n1 0 0 5", "A placement has an unknown kind"},
    {"1\n1 0 0 5", "1\n1 0.1 0 5", "A placement distorts"},
    {"1 0 0 5 \n0 1 0 0", "0 0 0 5 \n0 0 0 0", "A placement distorts"},
    {"2  1 2 0", "2  2 2 0", "A placement refers to one that does not come before it"},
    {"2  1 2 0", "2  1 1 0", "A product of placements is not in lowest terms"},  // stored as the first again
    {"2  1 2 0", "2  1 1 1 -1 0", "A product of placements is not in lowest terms"},
    {"2  1 2 0", "2  0", "A product of placements is not in lowest terms"},
    {"2  1 2 0", "2  1 -2097152 0", "The power of a placement is too large"},
    {"Locations 2\n1\n1 0 0 5 \n0 1 0 0 \n0 0 1 0 \n",
     "Locations 3\n1\n1 0 0 5 \n0 1 0 0 \n0 0 1 0 \n2  1 2 0\n", "A placement occurs twice"},
    // Curves and surfaces: a fault inside gives a null pointer, which what builds on it follows.
    {"8 0 2\n7 0 0", "8 0 2\n77 0 0", "A curve is of an unknown kind"},
    {"8 0 2\n", "8 0 2\n8 0 2\n", "A trimmed curve is trimmed again"},
    {"9 0.25\n0 0 1 \n", "9 0.25\n0 0 1 \n9 0.25\n0 0 1 \n", "An offset curve is offset again"},
    {"8 0 2\n", "8 2 0\n", "A trim is empty or runs backwards"},
    {"8 0 2\n", "8 -0.5 2\n", "A trim reaches beyond its basis"},
    {"3 3 0", "3 3.001 0", "A curve with a corner is offset"},
    {"8 0 2\n7 0 0  2 5 3  0 0 0  1 1 0  2 2 0  3 3 0  4 5 0 \n 0 3 1 2 2 3",
     "7 0 1  2 4 3  0 0 0  1 1 0  2 2 0  3 3 0 \n 0 2 1 2 2 2", "A curve with a corner is offset"},
    {"7 0 0  2 5 3  0 0 0  1 1 0  2 2 0  3 3 0  4 5 0",
     "7 1 0  2 5 3  0 0 0 1  1 1 0 1  2 2 0 0  3 3 0 1  4 5 0 1", "A weight is not positive"},
    {"3 0 0 0 0 0 1 1 0 0 0 1 0 2.5", "3 0 0 0 0 0 1 1.1 0 0 0 1 0 2.5", "A direction is not of length 1"},
    {"3 0 0 0 0 0 1 1 0 0 0 1 0 2.5", "3 0 0 0 0 0 1 0 0 1 0 1 0 2.5",
     "The axes of a system are not perpendicular"},
    {"2.5 1.5", "2.5 -1.5", "A radius is negative"},
    {"3 0 0 0 0 0 1 1 0 0 0 1 0 2.5 1.5", "2 0 0 0 0 0 1 1 0 0 0 1 0 -2.5", "A radius is negative"},
    {"2.5 1.5", "1.5 2.5", "An ellipse has its radii in the wrong order"},
    {"7 1 1  2 3 4", "7 2 1  2 3 4", "The flag for weights is neither 0 nor 1"},
    {"7 1 1  2 3 4", "7 1 2  2 3 4", "The flag for periodic is neither 0 nor 1"},
    {"7 1 1  2 3 4", "7 1 1  26 3 4", "A degree is not between 1 and 25"},
    {"7 1 1  2 3 4", "7 1 1  2 1 4", "A B-spline has fewer than two poles or knots"},
    {"0 0 0  1 1 0 0  0.5", "0 0 0  1 1 0 0  0", "A weight is not positive"},
    {" 0 1 1 1 2 1 3 1", " 0 1 1 1 1 1 3 1", "The knots of a B-spline do not rise"},
    {" 0 1 1 1 2 1 3 1", " 0 1 1 3 2 1 3 1",
     "A knot's multiplicity is not between 1 and what the degree allows"},
    {" 0 1 1 1 2 1 3 1", " 0 2 1 1 2 1 3 1", "The end knots of a periodic B-spline differ in multiplicity"},
    {" 0 1 1 1 2 1 3 1", " 0 1 1 2 2 1 3 1", "The multiplicities of a B-spline do not match its poles"},
    {" 0 2 1 2\n", " 0 2 1 1\n", "The multiplicities of a B-spline do not match its poles"},
    {"7 0 0  1 2 2", "7 0 0  2 2 2", "A B-spline has fewer poles than its degree needs"},
    {"7 1 1  2 3 4", "7 1 1  5 3 4", "A periodic B-spline has fewer poles than its degree needs"},
    {"7 0 0  2 5 3  0 0 0  1 1 0  2 2 0  3 3 0  4 5 0 \n 0 3 1 2 2 3",
     "7 0 0  3 5 3  0 0 0  1 1 0  2 2 0  3 3 0  4 5 0 \n 0 3 1 3 2 3", "A B-spline has an empty range"},
    {"10 0.5 1 -1 1\n", "10 0.5 1 -1 1\n10 0.5 1 -1 1\n", "A trimmed surface is trimmed again"},
    {"10 0.5 1 -1 1\n", "10 -1e+18 1 -1 1\n", "A trim is too many turns away from its basis"},
    {"10 0.5 1 -1 1\n", "10 0.5 0.5 -1 1\n", "A trim is empty or runs backwards"},
    {"10 0.5 1 -1 1\n", "9 0 0 0 0 1 1 1 2 2 2 \n", "A B-spline has fewer than two poles or knots"},
    {"10 0.5 1 -1 1\n", "9 0 0 0 0 26 1 2 2 2 2 \n", "A degree is not between 1 and 25"},
    {"1 0 0 0 1 0 1 0.5", "1 0 0 0 1 0 -1 0.5", "A radius is negative"},
    {"1 0 0 0 1 0 1 0.5", "1 0 0 0 1 0 1 1.6", "A cone's half angle is not between 0 and a right angle"},
    {"11 0.125\n", "11 0.125\n11 0.125\n", "An offset surface is offset again"},
    {"11 0.125\n7", "11 0.125\n12", "A surface is of an unknown kind"},
    {"11 0.125\n", "10 0 1 0.5 1.5\n11 0.125\n10 0 1 0 0.25\n", "A trim reaches beyond its basis"},
    // Polygons and triangulations: indices that a viewer would follow out of bounds.
    {"2 1\n0.01", "0 1\n0.01", "A polygon has no nodes"},
    {"2 1\n0.01", "2 2\n0.01", "The flag for parameters is neither 0 nor 1"},
    {"2 1 3 \n", "2 0 3 \n", "A polygon's node is out of range"},
    {"2 1 3 \n", "2 1 4 \n", "A polygon's node is not in its triangulation"},
    {"p 0.01", "q 0.01", "A polygon's parameters are missing"},
    {"3 1 0 0 0.01", "3 0 0 0 0.01", "A triangulation is empty"},
    {"3 1 0 0 0.01", "3 1 2 0 0.01", "The flag for UV nodes is neither 0 nor 1"},
    {"3 1 0 0 0.01", "3 1 0 2 0.01", "The flag for normals is neither 0 nor 1"},
    {"3 1 0 0 0.01\n0 0 0 1 0 0 0 1 0 1 2 3 \n",
     "3 1 0 1 0.01\n0 0 0 1 0 0 0 1 0 1 2 3 0 0 1 0 0 1 0 0 1e+39\n", "A normal is too large"},
    {"0 1 0 1 2 3 \n", "0 1 0 1 2 4 \n", "A triangle's node is out of range"},
    {"0 1 0 1 2 3 \n", "0 1 0 0 2 3 \n", "A triangle's node is out of range"},
    // Shapes.
    {"Ve\n", "Vx\n", "A shape is of an unknown kind"},
    {"0.5 1 1 0\n", "0.5 4 1 0\n", "A vertex has a point of an unknown kind"},
    {"0.5 1 1 0\n", "0.5 1 5 0\n", "A shape refers to a curve that does not exist"},
    {"0.5 1 1 0\n", "0.5 1 1 3\n", "A shape refers to a placement that does not exist"},
    {" 1e-07 1 1 0\n", " 1e-07 1 1 2\n", "A flag of an edge is neither 0 nor 1"},
    {"1  1 1 0 1\n", "8  1 1 0 1\n", "An edge has a representation of an unknown kind"},
    {"1  1 1 0 1\n", "3  1 2CX 1 0 0 1\n", "A continuity is none of C0, C1, C2, C3, CN, G1 and G2"},
    {"1  1 1 0 1\n", std::string("3  1 2C\0 1 0 0 1\n", 17),
     "A continuity is none of C0, C1, C2, C3, CN, G1 and G2"},
    {"1  1 1 0 1\n", "3  1 9CN 1 0 0 1\n", "A shape refers to a plane curve that does not exist"},
    {"1  1 1 0 1\n", "1  3 0 -2e+100 1\n", "An edge runs round a periodic curve too often"},  // endless loop
    {"1  1 1 0 1\n", "1  3 0 0 1\n1  1 0 0 1e+20\n", "An edge runs round a periodic curve too often"},
    {"1  1 1 0 1\n", "1  1 0 0 1e+20\n1  3 0 0 1\n", "An edge runs round a periodic curve too often"},
    {"2  2 1 0 0 2\n", "2  2 4 0 0 2\n", "A shape refers to a surface that does not exist"},
    {"2  2 1 0 0 2\n", "2  3 1 0 0 2\n", "A shape refers to a plane curve that does not exist"},
    {"5  1 0\n", "5  2 0\n", "An edge refers to a polygon that does not exist"},
    {"6  1 1 2\n", "6  1 2 2\n", "A shape refers to a triangulation that does not exist"},
    {"0  1e-07 1 0\n", "2  1e-07 1 0\n", "A flag of a face is neither 0 nor 1"},
    {"0  1e-07 1 0\n", "0  1e-07 1 0 ", "A face does not end its line"},
    {"2  1\n0111000", "2\n1\n0111000", "A face does not end its line"},
    {"2  1\n0111000", "2  1 0111000", "A face does not end its line"},
    {"0111000", "0112000", "The flags of a shape are not seven of 0 and 1"},
    {"0111000", "01110001", "The flags of a shape are not seven of 0 and 1"},
    {"+3 0 *\n", "+3 0 **\n", "A list of sub-shapes does not end in a star"},
    {"+3 0 *\n", "x3 0 *\n", "A sub-shape has an unknown orientation"},
    {"+3 0 *\n", "+1 0 *\n", "A shape refers to one that does not come before it"},
    {"+3 0 *\n", "+0 0 *\n", "A shape refers to one that does not exist"},
    {"+3 0 *\n", "+-5 0 *\n", "A whole number holds something else than digits"},
    {"+3 0 *\n", "+99999999 0 *\n", "A shape refers to one that does not exist"},
    {"+3 0 *\n", "+4 0 *\n", "A shape holds one of a kind that it cannot hold"},
    {"+3 0 *\n", "*\n", "A shape belongs to no other"},
    {"\n\n+1 0 ", "\n\n+2 0 ", "The root is not the last shape"},
    {"\n\n+1 0 ", "\n\n* ", "A sub-shape has an unknown orientation"},
    {"\n\n+1 0 ", "\n\n+1 0 1", "Something follows the shape"},
    {"TShapes 4", "TShapes 0", "The text holds no shape"},
};

TEST(BRepTextCheck, FollowsEveryRule) {
  ASSERT_STREQ(Check(kText).reason, nullptr) << kText.substr(Check(kText).offset);
  for (const Fault& fault : kFaults) {
    const std::string text = Replace(kText, fault.part, fault.by);
    const BRepTextResult result = Check(text);
    EXPECT_STREQ(result.reason, fault.reason) << fault.part << " -> " << fault.by.substr(0, 80);
    EXPECT_LE(result.offset, text.size());
  }
}

TEST(BRepTextCheck, SaysWhere) {
  const std::string text = Replace(kText, "2.5 1.5", "2.5 -1.5");
  EXPECT_EQ(Check(text).offset, text.find("-1.5"));
  EXPECT_EQ(Check("").offset, 0u);
  EXPECT_EQ(Check(kText.substr(0, kText.size() - 1)).offset, kText.size() - 1);
}

TEST(BRepTextCheck, TakesWhatWritersMayWrite) {
  for (const Fault& variant :
       std::vector<Fault>{{"2.5 1.5", "1.79769313486231e+308 1e-300", ""},
                          {"2.5 1.5", "123456789012345678 0.5", ""},
                          {"2.5 1.5", "2.5 1e-999", ""},  // less than any number, read as 0
                          {"1  1 1 0 1\n", "1  1 1 -2e+100 2.0000000000000001e+100\n", ""},
                          {"1 0 0 5 \n", "-1 0 0 -0 \n", ""},                                  // mirrored
                          {"1 0 0 5 \n0 1 0 0 \n0 0 1 0", "2 0 0 5 \n0 2 0 0 \n0 0 2 0", ""},  // scaled
                          {"2  1 2 0", "2  1 -2097151 0", ""},
                          {"1  1 1 0 1\n", "3  1 2CN 1 0 0 1\n", ""},  // a seam without a curve in space
                          {"1  1 1 0 1\n", "1  1 1 0 1\n3  1 2CN 1 0 0 1\n", ""},
                          {"0  1e-07 1 0\n2  1\n", "1  1e-07 0 0\n\n", ""},
                          {"+2 0 *\n\n+1 0 ", "i2 0 *\n\ne1 2 \n\n", ""}}) {
    const std::string text = Replace(kText, variant.part, variant.by);
    EXPECT_STREQ(Check(text).reason, nullptr) << variant.by;
  }
}

// Two things that OpenCASCADE writes and cannot read: it throws at the one and loses the other without a word.
TEST(BRepTextCheck, RefusesWhatOpenCascadeCannotReadBack) {
  BRep_Builder builder;
  TopoDS_Face face;
  builder.MakeFace(face, Handle(Geom_Surface)(new Geom_Plane(gp_Ax3())), 1e-7);
  builder.UpdateFace(face, Handle(Poly_Triangulation)(new Poly_Triangulation));
  const std::string empty = WriteBRepText(face);
  EXPECT_STREQ(Check(empty).reason, "A triangulation is empty");
  std::istringstream emptyStream(empty);
  TopoDS_Shape shape;
  EXPECT_THROW(BRepTools::Read(shape, emptyStream, builder), Standard_Failure);

  TColgp_Array1OfPnt poles(1, 3);
  poles(2) = gp_Pnt(1, 0, 0);
  poles(3) = gp_Pnt(1, 1, 0);
  TColStd_Array1OfReal knots(1, 3);
  TColStd_Array1OfInteger multiplicities(1, 3);
  for (int i = 1; i <= 3; ++i) {
    knots(i) = i;
    multiplicities(i) = i == 2 ? 1 : 2;
  }
  const Handle(Geom_Curve) bent = new Geom_BSplineCurve(poles, knots, multiplicities, 1);
  TopoDS_Edge edge;
  builder.MakeEdge(edge, new Geom_OffsetCurve(bent, 0.5, gp::DZ(), true), 1e-7);
  const std::string corner = WriteBRepText(edge);
  EXPECT_STREQ(Check(corner).reason, "A curve with a corner is offset");
  std::istringstream cornerStream(corner);
  BRepTools::Read(shape, cornerStream, builder);
  double first = 0.0, last = 0.0;
  EXPECT_TRUE(BRep_Tool::Curve(TopoDS::Edge(shape), first, last).IsNull());
}

// Files of other programs: older versions, and something behind the shape. Packages hold neither.
TEST(BRepTextCheck, TakesMoreFromFiles) {
  std::string first = Replace(kText, "V3, (c) Open Cascade", "V1, (c) Matra-Datavision");
  first = Replace(first, "3 1 0 0 0.01", "3 1 0 0.01");  // no flag for normals
  std::string second = Replace(first, "V1", "V2");
  second = Replace(second, "2  2 1 0 0 2\n", "2  2 1 0 0 2\n0 0 2 0\n");  // ends of the curve on the surface
  for (const std::string& text : {kText, first, second}) {
    const BRepTextResult result = CheckBRepText(text.data(), text.size(), BRepTextOrigin::kFile);
    EXPECT_STREQ(result.reason, nullptr) << text.substr(result.offset, 80);
    const std::string followed = text + "\n0\n* end";
    EXPECT_EQ(CheckBRepText(followed.data(), followed.size(), BRepTextOrigin::kFile).offset, text.size() + 1);
    EXPECT_FALSE(Check(followed).IsGood());
    EXPECT_EQ(Check(text).IsGood(), text == kText);
  }
  const std::string mixed = Replace(second, "V2", "V1");
  EXPECT_FALSE(CheckBRepText(mixed.data(), mixed.size(), BRepTextOrigin::kFile).IsGood());
}

TEST(BRepTextCheck, RefusesEveryTruncation) {
  // The last byte is the blank behind the root's placement: without it, the number might have been cut.
  for (std::size_t size = 0; size < kText.size(); ++size) {
    // A copy of exactly this size, so that a sanitizer sees what is read behind it.
    const std::vector<char> text(kText.begin(), kText.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(CheckBRepText(text.data(), text.size()).IsGood()) << size;
  }
  EXPECT_TRUE(Check(kText + "\n \n").IsGood());
}

// Compounds that each hold the one before twice, and so stand for 2^count; and a chain of single ones.
std::string Compounds(unsigned count, unsigned copies, const std::string& placement) {
  std::string text =
      "\nCASCADE Topology V3, (c) Open Cascade\nLocations 2\n1\n1 0 0 5\n0 1 0 0\n0 0 1 0\n"
      "1\n1 0 0 0\n0 1 0 7\n0 0 1 0\nCurve2ds 0\nCurves 0\nPolygon3D 0\nPolygonOnTriangulations 0\n"
      "Surfaces 0\nTriangulations 0\n\nTShapes " +
      std::to_string(count) + "\n";
  for (unsigned i = 0; i < count; ++i) {
    text += "Co\n\n1100000\n";
    for (unsigned j = 0; i != 0 && j < copies; ++j)
      text += "+" + std::to_string(count - i + 1) + " " + placement + " ";
    text += "*\n";
  }
  return text + "\n+1 0 ";
}

TEST(BRepTextCheck, LimitsWhatShapesUnfoldTo) {
  EXPECT_TRUE(Check(Compounds(20, 2, "0")).IsGood());
  EXPECT_STREQ(Check(Compounds(40, 2, "0")).reason, "Shapes unfold to too many sub-shapes");
  EXPECT_TRUE(Check(Compounds(500, 1, "1")).IsGood());
  EXPECT_STREQ(Check(Compounds(501, 1, "0")).reason, "Shapes are nested too deep");
  // `count` products of `factors` factors, no two alike, and shapes that have the last one.
  const auto check = [](unsigned shapes, unsigned copies, int count, int factors) {
    std::string text = Replace(Compounds(shapes, copies, std::to_string(2 + count)), "Locations 2",
                               "Locations " + std::to_string(2 + count));
    std::string products;
    for (int i = 0; i < count; ++i) {
      products += "\n2  1 " + std::to_string(i + 2);
      for (int j = 1; j < factors; ++j)
        products += j % 2 == 0 ? " 1 2" : " 2 3";
      products += " 0";
    }
    return Check(Replace(text, "\nCurve2ds", products + "\nCurve2ds")).reason;
  };
  EXPECT_STREQ(check(2, 1, 1, 1024), nullptr);
  EXPECT_STREQ(check(2, 1, 1, 1025), "A placement has too many factors");
  EXPECT_STREQ(check(2, 1, 47, 1024), nullptr);
  EXPECT_STREQ(check(2, 1, 48, 1024),
               "The placements have too many factors");  // 5 seconds of multiplications
  EXPECT_STREQ(check(100, 1, 1, 20), "Placements add up to too many factors");
  EXPECT_STREQ(check(23, 2, 1, 2), nullptr);
  EXPECT_STREQ(check(23, 2, 1, 10), "Shapes unfold to too many sub-shapes");  // each is placed ten times over
}

TEST(BRepTextCheck, LimitsNesting) {
  std::string curves, offsets, representations;
  for (int i = 0; i < 5000; ++i) {
    curves += "8 0 1\n";
    offsets += "10 0 1 0 1\n11 1\n";
    representations += "1  1 1 0 1\n";
  }
  EXPECT_STREQ(Check(Replace(kText, "8 0 2\n", curves)).reason, "Curves and surfaces are nested too deep");
  EXPECT_STREQ(Check(Replace(kText, "11 0.125\n", offsets)).reason,
               "Curves and surfaces are nested too deep");
  EXPECT_STREQ(Check(Replace(kText, "1  1 1 0 1\n", representations)).reason,
               "An edge has too many representations");
}

}  // namespace
}  // namespace mirel::test
