#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <Tests/Support/EndlessBody.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <TopoDS_Shape.hxx>

namespace mirel {
namespace {

const char* const kEmptyIndex =
    R"({"Version":1,"Author":"Orvane","Metadata":{"PkgShape":0,"PkgGRep":0},"Types":[],"Items":[]})";

void Save(LiteModel& model, const TestFolder& folder) {
  LiteModelWriter(model).Save(folder.GetPath());
}

std::string Index(const TestFolder& folder) {
  return Inflate(folder.GetPath() + "index.gz");
}

TEST(LiteModelWriter, TypesUsedTwiceOrMoreAreListed) {
  const TestFolder folder;
  LiteModel model;
  for (const unsigned int tag : {0U, 1U, 2U, 4294967295U}) {
    model.AddType(
        With<ShapeItem>(MakeShape(100ULL + tag, "", 0), [&](ShapeItem& type) { type.SetTag(tag); }));
  }
  Save(model, folder);
  LiteModel back;
  ASSERT_TRUE(LiteModelReader(back).Load(Index(folder)));
  EXPECT_EQ(back.GetTypes().size(), 2U);
  EXPECT_TRUE(back.FindType(Id(102)));
  EXPECT_TRUE(back.FindType(Id(100 + 4294967295ULL)));
}

TEST(LiteModelWriter, SavingTwiceGivesTheSameBytes) {
  const TestFolder first;
  const TestFolder second;
  for (const TestFolder* folder : {&first, &second}) {
    LiteModel model;
    FillAssembly(model);
    for (int i = 0; i < 20; ++i)
      model.AddShape(Id(1000 + static_cast<unsigned>(i)), MakeBox(1 + i, 2, 3));
    Save(model, *folder);
  }
  EXPECT_TRUE(ReadFiles(first.GetPath()) == ReadFiles(second.GetPath()));

  // One writer, twice: the second time starts anew. (A type used once would be placed once more.)
  LiteModel model;
  FillAssembly(model);
  model.FindType(Id(200))->SetTag(0);
  LiteModelWriter writer(model);
  writer.Save(first.GetPath());
  const FileContents once = ReadFiles(first.GetPath());
  writer.Save(first.GetPath());
  EXPECT_TRUE(ReadFiles(first.GetPath()) == once);

  const TestFolder empty;
  LogCapture log;
  model.Clear();
  writer.Save(empty.GetPath());
  EXPECT_EQ(empty.ListFiles(), "index.gz");
  EXPECT_EQ(Index(empty), kEmptyIndex);
  EXPECT_FALSE(std::filesystem::exists(empty.GetFsPath() / "model"));
  EXPECT_FALSE(std::filesystem::exists(empty.GetFsPath() / "grep"));
  EXPECT_TRUE(log.GetEntries().empty());
}

TEST(LiteModelWriter, SplitsPackagesAndCountsThoseWritten) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the large body outgrows the sanitizer's history, so that its reports match no suppression";
#endif
  const TestFolder folder;
  LiteModel model;
  for (unsigned i = 0; i < 3; ++i)
    model.AddShape(Id(i), MakeBox(1, 1, 1));
  model.GetShapes().begin()->second = MakePoints(100000);
  ASSERT_GT(ToText(model.GetShapes().begin()->second).size(), static_cast<std::size_t>(kPkgSizeLimit));
  Save(model, folder);
  EXPECT_EQ(folder.ListFiles(), "grep/1.gz index.gz model/1.gz model/2.gz");
  LiteModel back;
  LiteModelReader reader(back);
  ASSERT_TRUE(reader.Load(Index(folder)));
  EXPECT_EQ(reader.GetPkgShape(), 2U);
  EXPECT_EQ(reader.GetPkgGRep(), 1U);
  const std::string package = Inflate(folder.GetPath() + "model/2.gz");
  EXPECT_TRUE(PkgShapeReader(back).Load(package.data(), static_cast<unsigned int>(package.size())));
  EXPECT_EQ(back.GetShape().size(), 2U) << "all but the large one";
}

TEST(LiteModelWriter, EmptyShapesAndItemsAreLeftOutWithMessages) {
  const TestFolder folder;
  LogCapture log;
  LiteModel model;
  model.AddItem(nullptr);
  model.AddItem(MakeGroup(1, "", std::unique_ptr<ShapeItem>()));
  model.AddShape(Id(1), std::shared_ptr<TopoShape>());
  model.AddShape(Id(2), std::make_shared<TopoShape>(TopoDS_Shape()));
  Save(model, folder);
  EXPECT_EQ(folder.ListFiles(), "index.gz") << "no package was written";
  EXPECT_EQ(Index(folder).substr(Index(folder).find("\"Items\"")),
            R"("Items":[{"Type":"Group","Id":"1","Name":"","Children":[]}]})");
  EXPECT_TRUE(log.Contains("Shape 1 is not written: it is empty"));
  EXPECT_TRUE(log.Contains("Shape 2 is not written: it is empty"));
  EXPECT_EQ(log.Count(3, "An empty item is not written"), 2);

  model.AddShape(Id(3), MakeBox(1, 1, 1));
  Save(model, folder);
  EXPECT_EQ(folder.ListFiles(), "grep/1.gz index.gz model/1.gz");
  EXPECT_EQ(Inflate(folder.GetPath() + "model/1.gz"), MakePackage({{3, ToText(MakeBox(1, 1, 1))}}));
}

TEST(LiteModelWriter, TheCallersShapesAreOnlyRead) {
  const TestFolder folder;
  LiteModel model;
  const std::shared_ptr<TopoShape> box = MakeBox(1, 2, 3);
  const std::string text = ToText(box);
  // Eight entries of one body: the threads that tessellate must not meet in it.
  for (unsigned i = 1; i <= 8; ++i)
    model.AddShape(Id(i), box);
  Save(model, folder);
  EXPECT_EQ(ToText(box), text) << "triangles would be part of it";
}

TEST(LiteModelWriter, WhatNestsTooDeepIsReportedAndTheFolderOpens) {
  const TestFolder folder;
  LogCapture log;
  LiteModel model;
  model.AddItem(MakeChain(kMaxNesting, MakeShape(7777, "leaf", 1)));
  model.AddItem(MakeChain(300000, MakeShape(8888, "leaf", 1)));
  Save(model, folder);
  EXPECT_EQ(log.GetTexts(3).size(), 1U);
  LiteModel back;
  ASSERT_TRUE(LiteModelReader(back).Load(Index(folder)));
  ASSERT_EQ(back.GetItems().size(), 2U);
  EXPECT_EQ(WriteItem(*back.GetItems()[0], back), WriteItem(*model.GetItems()[0], model));
  EXPECT_EQ(log.GetTexts(3).size(), 1U);
}

TEST(LiteModelWriter, ABodyThatCannotBeDrawnDoesNotStopTheOthers) {
  ExpectInOwnProcess([] {
    const TestFolder folder;
    LogCapture log;
    LiteModel model;
    for (unsigned long long id = 1; id <= 20; ++id) {
      model.AddShape(Id(id), id == 7 ? ReadEndlessBody() : MakeBox(1, 2, static_cast<double>(id)));
      model.AddItem(MakeShape(100 + id, "body", id));
    }
    GRepShape::SetPatience(3.0);
    Save(model, folder);
    EXPECT_EQ(log.GetTexts(3).size(), 1u);
    EXPECT_TRUE(log.Contains("does not come to an end"));
    EXPECT_EQ(log.Count(1, "Nothing is drawn of shape " + Id(7).toString()), 1);

    const auto root = LiteSceneReader().Load(folder.GetPath() + "index.gz", nullptr);
    const auto& nodes = dynamic_cast<const GroupSceneNode&>(*root).GetNodes();
    ASSERT_EQ(nodes.size(), 20u);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const auto grep = dynamic_cast<const BrepSceneNode&>(*nodes[i]).GetGRep();
      EXPECT_EQ(grep->GetMesh().GetTriangleCount(), i == 6 ? 0u : 12u) << i;
      EXPECT_FALSE(grep->GetShape()->GetImpl().IsNull());
    }
  });
}

}  // namespace
}  // namespace mirel
