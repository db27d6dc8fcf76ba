#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/RunThreads.h>

#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Shape.hxx>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace mirel::test {
namespace {

const std::vector<BodySample>& Samples() {
  static const std::vector<BodySample> samples = MakeBodySamples();
  return samples;
}

std::vector<int> CountSubShapes(const TopoDS_Shape& shape) {
  std::vector<int> counts;
  for (int type = TopAbs_COMPOUND; type <= TopAbs_VERTEX; ++type) {
    TopTools_IndexedMapOfShape map;
    TopExp::MapShapes(shape, static_cast<TopAbs_ShapeEnum>(type), map);
    counts.push_back(map.Extent());
  }
  return counts;
}

TEST(TopoShape, ReadsWhateverOpenCascadeWrites) {
  LogCapture log;
  ASSERT_GT(Samples().size(), 100u);
  for (const BodySample& sample : Samples()) {
    ASSERT_FALSE(sample.shape.IsNull()) << sample.name;
    const std::string text = WriteBRepText(sample.shape);
    testing::internal::CaptureStdout();
    const std::shared_ptr<TopoShape> body = TopoShape::Read(text);
    ASSERT_TRUE(body) << sample.name << ": " << log.GetTexts(1).back();
    const TopoDS_Shape& shape = body->GetImpl();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << sample.name;
    ASSERT_FALSE(shape.IsNull()) << sample.name;
    EXPECT_EQ(shape.ShapeType(), sample.shape.ShapeType()) << sample.name;
    EXPECT_EQ(CountSubShapes(shape), CountSubShapes(sample.shape)) << sample.name;
    EXPECT_TRUE(TopoShape::Read(WriteBRepText(shape))) << sample.name << ", written again";
  }
  EXPECT_TRUE(log.GetEntries().empty());
}

TEST(TopoShape, RefusesBadTextWithANotice) {
  LogCapture log;
  EXPECT_FALSE(TopoShape::Read(""));
  EXPECT_FALSE(TopoShape::Read("CASCADE Topology V2, (c) Matra-Datavision\n"));
  EXPECT_FALSE(TopoShape::Read(WriteBRepText(TopoDS_Shape())));
  ASSERT_EQ(log.GetTexts(1).size(), 3u);
  EXPECT_EQ(log.GetTexts(1)[1],
            "BRep text is refused at byte 0: The text does not start as BRep text of format version 3 does.");
  EXPECT_EQ(log.GetTexts(1)[2], "BRep text is refused at byte 146: The text holds no shape.");
  EXPECT_TRUE(log.GetTexts(3).empty());
}

TEST(TopoShape, DecodesOnceForAllThreads) {
  for (int round = 0; round < 20; ++round) {
    const std::shared_ptr<TopoShape> body = TopoShape::Read(WriteBRepText(Samples()[0].shape));
    std::vector<TopoDS_Shape> shapes(8);
    RunThreads(8, [&](std::size_t t) { shapes[t] = body->GetImpl(); });
    for (const TopoDS_Shape& shape : shapes) {
      ASSERT_FALSE(shape.IsNull());
      EXPECT_TRUE(shape.IsSame(shapes[0]));
    }
  }
}

TEST(TopoShape, ReportsOnceWhatCannotBeDecoded) {
  // A hyperbola's parameter that is within the limits, and its hyperbolic cosine is not.
  const std::string text =
      "\nCASCADE Topology V3, (c) Open Cascade\nLocations 0\nCurve2ds 1\n5 0 0 1 0 0 1 1 1\n"
      "Curves 0\nPolygon3D 0\nPolygonOnTriangulations 0\nSurfaces 1\n"
      "1 0 0 0 0 0 1 1 0 0 0 1 0 \nTriangulations 0\n\nTShapes 1\nEd\n 1e-07 1 1 0\n"
      "2  1 1 0 0 1000\n0\n\n0101000\n*\n\n+1 0 ";
  LogCapture log;
  const std::shared_ptr<TopoShape> body = TopoShape::Read(text);
  ASSERT_TRUE(body);
  EXPECT_TRUE(log.GetEntries().empty()) << "decoded before it was needed";
  EXPECT_TRUE(body->GetImpl().IsNull());
  EXPECT_TRUE(body->GetImpl().IsNull());
  ASSERT_EQ(log.GetTexts(3).size(), 1u);
  EXPECT_NE(log.GetTexts(3)[0].find("Standard_NumericError"), std::string::npos) << log.GetTexts(3)[0];
}

}  // namespace
}  // namespace mirel::test
