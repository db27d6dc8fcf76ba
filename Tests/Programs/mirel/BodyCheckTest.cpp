#include <Programs/mirel/Save/BodyCheck.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <TopoDS_Shape.hxx>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace mirel {
namespace {

TEST(BodyCheckTest, NamesWhatIsNotSavedAndWhatIsDrawnWrongly) {
  LiteModel model;
  model.AddShape(Id(10), MakeBox(1, 2, 3));
  model.AddShape(Id(11), MakeBox(4, 4, 4));
  model.AddShape(Id(12), std::make_shared<TopoShape>(TopoDS_Shape()));
  auto item = MakeShape(3, "Nut", 12);
  item->SetFaceColor(5, {1, 0, 0});
  const ShapeItem* const nut = item.get();
  model.AddItem(MakeShape(1, "Bolt", 10));
  model.AddItem(MakeGroup(2, "", MakeShape(4, "Cube", 11)));
  model.AddItem(std::move(item));
  LiteModel readBack;
  for (const int id : {10, 11}) {
    readBack.AddShape(Id(id), MakeBox(1, 2, 3));
    readBack.AddShape(Id(id), MakeGRep(MakeBox(1, 2, 3)));
  }

  BodyCheck check(model);
  const auto wrong = check.FindDrawnWrongly(readBack, 60);
  ASSERT_EQ(wrong.size(), 1U);
  EXPECT_EQ(wrong[0].text.find("\"Cube\": "), 0U) << wrong[0].text;
  const auto missing = check.FindMissing(readBack);
  ASSERT_EQ(missing.size(), 1U);
  EXPECT_EQ(missing[0].text, "\"Nut\": is empty");
  check.Empty(missing);
  EXPECT_FALSE(model.FindShape(Id(12))->GetImpl().IsNull());
  EXPECT_TRUE(nut->GetFaceColor().empty());
}

TEST(BodyCheckTest, ManyBodiesAreComparedInSeveralProcesses) {
  LiteModel model;
  LiteModel readBack;
  const auto box = MakeBox(1, 2, 3);
  const auto graphics = MakeGRep(box);
  const auto other = MakeGRep(MakeBox(4, 4, 4));
  for (int id = 1; id <= 300; ++id) {
    model.AddShape(Id(id), box);
    readBack.AddShape(Id(id), id % 7 == 0 ? other : graphics);
  }
  std::vector<ObjectId> expected;
  for (const auto& [id, body] : model.GetShape()) {
    if (readBack.FindGRepShape(id) == other) {
      expected.push_back(id);
    }
  }
  std::vector<ObjectId> found;
  for (const BodyCheck::Fault& fault : BodyCheck(model).FindDrawnWrongly(readBack, 60)) {
    found.push_back(fault.id);
  }
  EXPECT_EQ(found.size(), 42U);
  EXPECT_EQ(found, expected);
}

// The sample with a coordinate that is no number in one of its bodies, or in all of them.
std::string Spoil(const std::string& point, const std::string& number) {
  return std::regex_replace(ReadFile(MIREL_SAMPLE), std::regex(point), "CARTESIAN_POINT('',(" + number + ",");
}

TEST(BodyCheckTest, OneBodyWithBadNumbersCostsNoOther) {
  const TestFolder folder;
  const std::string file = folder.GetPath() + "bad.step";
  const std::string target = folder.GetPath() + "model";
  for (const char* const number : {"NAN", "1.E400", "INF"}) {
    SCOPED_TRACE(number);
    WriteFile(file, Spoil(R"(CARTESIAN_POINT\('',\(-250\.,)", number));
    std::string out;
    EXPECT_EQ(Mirel({"save", "--force", "--strict", file, target}, out), 4);
    EXPECT_NE(out.find("with numbers that are none"), std::string::npos) << out;
    EXPECT_NE(out.find("Schublade"), std::string::npos) << out;
    EXPECT_EQ(Mirel({"check", "--strict", target}), 0);
    EXPECT_EQ(Mirel({"info", target}, out), 0);
    EXPECT_NE(out.find("\nshapes                              6"), std::string::npos) << out;

    WriteFile(file, Spoil(R"(CARTESIAN_POINT\('',\([^0,][^,]*,)", number));
    std::string err;
    EXPECT_EQ(Mirel({"save", "--force", file, target + "2"}, out, &err), 2);
    EXPECT_NE(err.find("none of its bodies"), std::string::npos) << err;
  }
}

}  // namespace
}  // namespace mirel
