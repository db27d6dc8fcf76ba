#include <Programs/mirel/Check/BodyAgreement.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <Standard_Failure.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Trsf.hxx>
#include <gp_Vec.hxx>
#include <gtest/gtest.h>

#include <string>

namespace mirel {
namespace {

std::string Compare(const TopoDS_Shape& body, const GRepMesh& mesh) {
  std::string findings;
  try {
    BodyAgreement::Compare(body, mesh, BodyAgreement::Effort::kMuch,
                           [&](CheckCode code, const std::string& text) {
                             findings += std::string(Describe(code).id) + " " + text + "\n";
                           });
  } catch (const Standard_Failure& failure) {
    findings += std::string(failure.DynamicType()->Name()) + " " + failure.GetMessageString() + "\n";
  }
  return findings;
}

// The normals of most faces are turned by a sixth of a right angle and more.
GRepMesh WithOtherNormals(GRepMesh mesh) {
  for (GRepVertex& vertex : mesh.vertices) {
    vertex.nx = static_cast<std::int8_t>(vertex.nx > 0 ? vertex.nx - 40 : vertex.nx + 40);
  }
  return mesh;
}

// Every kind of curve and surface: what is drawn of a body agrees with it, and does not with other normals, nor with the
// same body a little farther on.
TEST(BodyAgreementTest, TellsWhereABodyIs) {
  const LogCapture quiet;
  int moved = 0;
  int turned = 0;
  for (const test::BodySample& sample : test::MakeBodySamples()) {
    SCOPED_TRACE(sample.name);
    if (sample.name.find("edge on a ") == 0 && sample.name.find("trimmed") != std::string::npos) {
      continue;  // these end before they begin
    }
    const auto body = std::make_shared<TopoShape>(sample.shape);
    const std::shared_ptr<GRepShape> grep = MakeGRep(body);
    const GRepMesh& mesh = grep->GetMesh();
    EXPECT_EQ(Compare(sample.shape, mesh), "");
    if (!mesh.box.IsFinite() || mesh.GetTriangleCount() == 0) {
      continue;
    }
    ++moved;
    // Where there are triangles only, or a surface has all normals close to each other, nothing can be said.
    turned += Compare(sample.shape, WithOtherNormals(mesh)).find("A011") != std::string::npos ? 1 : 0;
    gp_Trsf step;
    const double length = 4.0 * mesh.linearDeflection;
    step.SetTranslation(gp_Vec(length, -length, length));
    EXPECT_NE(Compare(sample.shape.Moved(TopLoc_Location(step)), mesh), "");
  }
  EXPECT_GT(moved, 50);
  EXPECT_GE(turned, moved - 6);
}

}  // namespace
}  // namespace mirel
