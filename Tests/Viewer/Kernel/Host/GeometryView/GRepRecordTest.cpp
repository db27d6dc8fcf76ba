#include <Tests/Support/LogCapture.h>
#include <Tests/Viewer/Kernel/Host/GeometryView/MeshCheck.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <gtest/gtest.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace mirel {
namespace {

constexpr std::size_t kHeaderBytes = 132;

// A stream over a heap block of exactly the given bytes that cannot seek: reading past the end is what a
// sanitizer sees.
class Bytes : public std::streambuf {
 public:
  explicit Bytes(const std::string& bytes) : block_(new char[bytes.size()]) {
    std::memcpy(block_.get(), bytes.data(), bytes.size());
    setg(block_.get(), block_.get(), block_.get() + bytes.size());
  }
  std::size_t Left() const { return static_cast<std::size_t>(egptr() - gptr()); }

 private:
  std::unique_ptr<char[]> block_;
};

std::shared_ptr<GRepShape> Read(const std::string& record) {
  Bytes bytes(record);
  std::istream stream(&bytes);
  return GRepShape::FromStream(stream);
}

std::string RecordOf(const TopoDS_Shape& shape, double deflection = 0.0) {
  const auto grep = GRepShape::Create(std::make_shared<TopoShape>(shape), nullptr, nullptr, deflection, true);
  grep->Compute();
  std::ostringstream stream;
  EXPECT_TRUE(grep->ToStream(stream));
  return stream.str();
}

std::string Drilled() {
  return RecordOf(BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(10, 20, 30).Shape(),
                                  BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(5, 9, -1), gp::DZ()), 3, 40).Shape())
                      .Shape());
}

std::string DrawingOf(const std::string& record) {
  std::ostringstream stream;
  EXPECT_TRUE(Read(record)->ToDrawingStream(stream));
  return stream.str();
}

std::string FineCylinder() {
  return RecordOf(BRepPrimAPI_MakeCylinder(5, 3000).Shape(), 0.004);
}

// The triangles of a face, each from its smallest corner on, in order: how they turn is told, where they stand is not.
std::vector<std::array<std::uint32_t, 3>> TrianglesOf(const GRepMesh& mesh, const GRepFace& face) {
  std::vector<std::array<std::uint32_t, 3>> triangles(face.indexCount / 3);
  for (std::size_t i = 0; i < triangles.size(); ++i) {
    const std::uint32_t* const corners = mesh.triangles.data() + face.firstIndex + 3 * i;
    std::rotate_copy(corners, std::min_element(corners, corners + 3), corners + 3, triangles[i].begin());
  }
  std::sort(triangles.begin(), triangles.end());
  return triangles;
}

// Reading damaged bytes gives nothing and says why, or a mesh that a viewer can draw.
void ExpectSafe(const std::string& record) {
  LogCapture log;
  const auto grep = Read(record);
  if (grep)
    EXPECT_TRUE(test::IsConsistent(grep->GetMesh()));
  else
    EXPECT_EQ(log.GetTexts(1).size(), 1u);
  EXPECT_TRUE(log.GetTexts(3).empty());
}

TEST(GRepRecordTest, ReadsExactlyOneRecord) {
  const std::string record = Drilled();
  Bytes bytes(record + record + "rest");
  std::istream stream(&bytes);
  const auto first = GRepShape::FromStream(stream);
  EXPECT_EQ(bytes.Left(), record.size() + 4);
  const auto second = GRepShape::FromStream(stream);
  EXPECT_EQ(bytes.Left(), 4u);
  ASSERT_TRUE(first && second);
  EXPECT_TRUE(test::IsSame(first->GetMesh(), second->GetMesh()));
  EXPECT_FALSE(GRepShape::FromStream(stream));
}

TEST(GRepRecordTest, FineGridRoundTrips) {
  const std::string record = FineCylinder();
  const auto grep = Read(record);
  ASSERT_TRUE(grep);
  EXPECT_FALSE(grep->GetMesh().fineVertices.empty());
  EXPECT_NEAR(grep->GetBoundingBox().GetMax().z, 3000.0, 0.004);
  std::ostringstream again;
  EXPECT_TRUE(grep->ToStream(again));
  EXPECT_EQ(again.str(), record);
}

TEST(GRepRecordTest, DrawingsHaveTheTrianglesAndNormalsOfTheWhole) {
  for (const std::string& record : {Drilled(), FineCylinder()}) {
    const GRepMesh whole = Read(record)->GetMesh();
    const auto drawing = Read(DrawingOf(record));
    ASSERT_TRUE(drawing);
    const GRepMesh& mesh = drawing->GetMesh();
    EXPECT_TRUE(test::IsConsistent(mesh));
    EXPECT_TRUE(mesh.surfaces.empty() && mesh.sides.empty());
    ASSERT_EQ(mesh.faces.size(), whole.faces.size());
    for (std::size_t i = 0; i < mesh.faces.size(); ++i)
      EXPECT_EQ(TrianglesOf(mesh, mesh.faces[i]), TrianglesOf(whole, whole.faces[i])) << i;
    for (std::size_t i = 0; i < mesh.faces.back().firstVertex + mesh.faces.back().vertexCount; ++i) {
      EXPECT_EQ(mesh.GetPosition(i), whole.GetPosition(i));
      EXPECT_EQ(mesh.GetNormal(i), whole.GetNormal(i));
    }
  }
}

TEST(GRepRecordTest, DamagedBytesAreRefusedOrHarmless) {
  for (const std::string& record : {Drilled(), FineCylinder(), DrawingOf(Drilled())}) {
    for (std::size_t i = 0; i < record.size(); ++i)
      for (int value : {0x00, 0xFF, 0x7F, 0x80, record[i] ^ 0x01, record[i] ^ 0x80, record[i] ^ 0xFF}) {
        std::string damaged = record;
        damaged[i] = static_cast<char>(value);
        SCOPED_TRACE(i);
        ExpectSafe(damaged);
      }
    std::mt19937 random(1);
    for (int run = 0; run < 3000; ++run) {
      std::string damaged = record;
      for (int k = 0; k < 1 + run % 8; ++k)
        damaged[kHeaderBytes + random() % (record.size() - kHeaderBytes)] = static_cast<char>(random());
      SCOPED_TRACE(run);
      ExpectSafe(damaged);
    }
  }
}

// Sizes that the bytes cannot hold, and numbers that are none, each with its reason.
TEST(GRepRecordTest, EachRefusalSaysWhy) {
  const std::string record = Drilled();
  const auto with = [&](std::size_t offset, const std::string& bytes) {
    std::string changed = record;
    return changed.replace(offset, bytes.size(), bytes);
  };
  const std::string four(4, '\xFF'), nan("\0\0\0\0\0\0\xF8\x7F", 8), infinity("\0\0\0\0\0\0\xF0\x7F", 8);
  const std::string huge("\xFF\xFF\xFF\x7F", 4);
  const struct {
    std::string record, reason;
  } cases[] = {
      {with(0, "g"), "it does not begin with GRep"},
      {with(4, "\4"), "its version is unknown"},
      {with(6, "\2"), "its flags are unknown"},
      {with(7, "\3"), "its flags are unknown"},
      {with(7, std::string(1, '\0')), "it has vertices but no finite box"},
      {with(8, huge), "it ends inside the payload"},
      {with(8, four), "its counts do not fit its size"},
      {with(12, four), "its counts do not fit its size"},
      {with(16, huge), "its counts do not fit its size"},
      {with(20, four), "its counts do not fit its size"},
      {with(24, four), "its counts do not fit its size"},
      {with(28, four), "its counts do not fit its size"},
      {with(32, four), "its counts do not fit its size"},
      {with(16, std::string(4, '\0')), "its number of places is wrong"},
      {with(36, nan), "a coordinate of its box or grid is no number"},
      {with(60, infinity), "a coordinate of its box or grid is no number"},
      {with(84, nan), "a coordinate of its box or grid is no number"},
      {with(60, std::string("\0\0\0\0\0\0\xF0\xBF", 8)), "its box is inverted"},
      {with(108, std::string(8, '\0')), "its grid has no step"},
      {with(116, nan), "its deflections are no numbers"},
      {with(124, infinity), "its deflections are no numbers"},
  };
  for (const auto& [bytes, reason] : cases) {
    LogCapture log;
    EXPECT_FALSE(Read(bytes));
    EXPECT_EQ(log.GetTexts(1), std::vector<std::string>{"Not a graphics record: " + reason});
  }
}

}  // namespace
}  // namespace mirel
