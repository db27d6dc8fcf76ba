#include <Programs/mirel/Import/BRepFile.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <BinTools.hxx>
#include <Message_ProgressRange.hxx>
#include <TopExp_Explorer.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace mirel {
namespace {

std::string Text(const TopoDS_Shape& body, bool meshed, int version) {
  std::ostringstream stream;
  BRepTools::Write(body, stream, meshed, false, static_cast<TopTools_FormatVersion>(version),
                   Message_ProgressRange());
  return stream.str();
}

std::string Binary(const TopoDS_Shape& body, bool meshed, int version) {
  std::ostringstream stream;
  BinTools::Write(body, stream, meshed, false, static_cast<BinTools_FormatVersion>(version),
                  Message_ProgressRange());
  return stream.str();
}

std::string WithWindowsLines(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
    text.insert(at, "\r");
  return text;
}

TEST(BRepFile, ReadsWhateverOpenCascadeHasWritten) {
  TopoDS_Shape body = BRepPrimAPI_MakeCylinder(10, 20).Shape();
  for (const bool meshed : {false, true}) {
    if (meshed) BRepMesh_IncrementalMesh(body, 0.1);
    std::vector<std::string> contents;
    for (int version = 1; version <= 4; ++version)
      contents.push_back(Binary(body, meshed, version));
    for (int version = 1; version <= 3; ++version) {
      const std::string text = Text(body, meshed, version);
      for (const std::string& variant : {text, "DBRep_DrawableShape\n" + text + "\n0\n",
                                         text.substr(0, text.size() - 1), text + "\n* and more"}) {
        contents.push_back(variant);
        contents.push_back(WithWindowsLines(variant));
      }
    }
    for (const std::string& content : contents) {
      SCOPED_TRACE(content.substr(0, 60));
      const LogCapture log;
      const std::shared_ptr<TopoShape> read = BRepFile::Read(content);
      ASSERT_TRUE(read) << log.GetTexts(1).back();
      TopLoc_Location location;
      int faces = 0;
      for (TopExp_Explorer face(read->GetImpl(), TopAbs_FACE); face.More(); face.Next(), ++faces)
        EXPECT_EQ(BRep_Tool::Triangulation(TopoDS::Face(face.Current()), location).IsNull(), !meshed);
      EXPECT_EQ(faces, 3);
      EXPECT_TRUE(log.GetTexts(3).empty());
    }
  }
}

TEST(BRepFile, SaysWhyItCannotBeRead) {
  const std::string body = Binary(BRepPrimAPI_MakeCylinder(10, 20).Shape(), false, 4);
  std::vector<std::string> binaries = {body.substr(0, 30), body.substr(0, 60)};
  for (std::size_t size = 100; size < body.size(); size += 211)
    binaries.push_back(body.substr(0, size));
  std::string counts = body;  // two thousand million of them
  binaries.push_back(counts.replace(counts.find("Curve2ds ") + 9, 1, "2147483647"));
  for (std::size_t at = 100; at + 4 < body.size(); at += 307)
    binaries.push_back(std::string(body).replace(at, 4, "\x7f\xff\xff\xff"));
  std::size_t refused = 0;
  for (const std::string& content : binaries) {
    LogCapture log;
    const std::shared_ptr<TopoShape> read = BRepFile::Read(content);
    refused += read ? 0 : 1;
    ASSERT_EQ(log.GetTexts(3).size(), read ? 0u : 1u);
    EXPECT_TRUE(read || log.GetTexts(3)[0].rfind("not a valid binary BRep file: ", 0) == 0);
  }
  EXPECT_GT(refused, binaries.size() / 2);

  for (const char* const text :
       {"", "\r\n", "DBRep_DrawableShape", "\nCASCADE Topology V4, (c) Open Cascade\n",
        "\nCASCADE Topology V1, (c) Matra-Datavision\nTriangulations 99999999999"}) {
    LogCapture log;
    EXPECT_FALSE(BRepFile::Read(text));
    EXPECT_EQ(log.GetTexts(3), std::vector<std::string>{"not a valid BRep file"});
  }
}

TEST(BRepFile, IsSavedFromEveryFormat) {
  const TestFolder scratch;
  const std::string source = scratch.GetPath() + "body", target = scratch.GetPath() + "target";
  const TopoDS_Shape body = BRepPrimAPI_MakeCylinder(10, 20).Shape();
  std::string out, err;
  for (const std::string& content : {Binary(body, true, 4), Text(body, true, 2)}) {
    WriteFile(source, content);
    EXPECT_EQ(Mirel({"save", "--force", "--verify", "--strict", source, target}, out, &err), 0) << err;
  }
  WriteFile(source + ".brep", Text(body, true, 3) + "\n0\n");
  EXPECT_EQ(Mirel({"-v", "save", "--force", source + ".brep", target}, out, &err), 0);
  EXPECT_NE(err.find("Text of 1 bytes behind the shape is ignored"), std::string::npos) << err;
  WriteFile(source, Binary(body, true, 4).substr(0, 300));
  EXPECT_EQ(Mirel({"save", "--force", source, target}, out, &err), 2);
}

}  // namespace
}  // namespace mirel
