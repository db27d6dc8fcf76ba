#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace mirel {
namespace {

TEST(BoxVerb, FindsAnItemWhereverItStands) {
  const TestFolder folder;
  LiteModel model;
  const auto cube = [&](unsigned long long id, double x) {
    return With<ShapeItem>(MakeShape(id, "", 10), [&](ShapeItem& item) { item.SetTransform(Move(x, 0, 0)); });
  };
  const auto moved = [](unsigned long long id, std::unique_ptr<GroupItem> group) {
    group->SetId(Id(id));
    group->SetTransform(Move(100, 0, 0));
    return group;
  };
  model.AddShape(Id(10), MakeBox(1, 1, 1));
  model.AddShape(Id(20), MakePlane());
  auto type = moved(7, MakeGroup(7, "T", cube(8, 5)));
  type->SetTag(2);
  model.AddType(std::move(type));
  model.AddItem(moved(1, MakeGroup(1, "G", cube(2, 3), MakeGroup(3, "empty"), MakeInstance(4, "", 7))));
  model.AddItem(MakeInstance(5, "", 7));
  LiteModelWriter(model).Save(folder.GetPath());

  const auto box = [&](const std::string& id) {
    std::string out;
    EXPECT_EQ(Mirel({"box", folder.GetPath(), "--id", id}, out), 0) << id;
    return out;
  };
  EXPECT_EQ(box("1"), "box of group \"G\" id 1, in the coordinates of the model, in mm\n"
                      "min 103 0 0\nmax 206 1 1\nsize 103 1 1\n");
  EXPECT_EQ(box("2"), "box of shape \"\" id 2, in the coordinates of group \"G\" id 1, in mm\n"
                      "min 3 0 0\nmax 4 1 1\nsize 1 1 1\n");
  EXPECT_EQ(box("3"), "box of group \"empty\" id 3, in the coordinates of group \"G\" id 1, in mm\nempty\n");
  EXPECT_EQ(box("7"), "box of group \"T\" id 7, in the coordinates of its instances, in mm\n"
                      "min 105 0 0\nmax 106 1 1\nsize 1 1 1\n");
  EXPECT_EQ(box("8"), "box of shape \"\" id 8, in the coordinates of group \"T\" id 7, in mm\n"
                      "min 5 0 0\nmax 6 1 1\nsize 1 1 1\n");

  std::string out;
  std::string err;
  EXPECT_EQ(Mirel({"box", folder.GetPath(), "--json", "--id", "2"}, out), 0);
  EXPECT_NE(out.find("\"state\": \"finite\""), std::string::npos) << out;
  EXPECT_NE(std::regex_replace(out, std::regex("\\s"), "").find("\"min\":[3,0,0],\"max\":[4,1,1]"),
            std::string::npos)
      << out;
  for (const std::string id : {"9", "10", "x", "01", "-1"}) {
    EXPECT_EQ(Mirel({"box", folder.GetPath(), "--id=" + id}, out, &err), 2) << id;
    EXPECT_EQ(out, "");
    EXPECT_NE(err.find("has no item with the id " + id + "\n"), std::string::npos) << err;
  }
}

TEST(BoxVerb, TellsEmptyInfiniteAndIncomplete) {
  const TestFolder folder;
  std::string out;
  std::string err;
  LiteModel model;
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ(Mirel({"box", folder.GetPath()}, out), 0);
  EXPECT_EQ(out, "box of the model, in its coordinates, in mm\nempty\n");
  EXPECT_EQ(Mirel({"box", "--json", folder.GetPath()}, out), 0);
  EXPECT_NE(out.find("\"state\": \"empty\""), std::string::npos);
  EXPECT_EQ(out.find("\"min\""), std::string::npos);

  model.AddShape(Id(20), MakePlane());
  model.AddItem(MakeShape(1, "", 20));
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ(Mirel({"box", folder.GetPath()}, out), 0);
  EXPECT_EQ(out, "box of the model, in its coordinates, in mm\ninfinite\n");

  model.AddItem(MakeShape(2, "", 99));
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ(Mirel({"box", folder.GetPath()}, out, &err), 2) << "with what is there";
  EXPECT_EQ(out, "box of the model, in its coordinates, in mm\ninfinite\n");
  EXPECT_NE(err.find("Shape is null!"), std::string::npos);
}

}  // namespace
}  // namespace mirel
