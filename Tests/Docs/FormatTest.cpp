#include <Tests/Docs/MarkdownFile.h>
#include <Tests/Support/TestFolder.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Pnt.hxx>

#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>
#include <string>

using namespace mirel;

namespace {

template <class Item>
std::unique_ptr<Item> MakeItem(const char* id, const char* name) {
  auto item = std::make_unique<Item>();
  item->SetId(ObjectId(id));
  item->SetName(name);
  return item;
}

// The model of the worked example: one triangle of 40 by 30 mm, used twice by a group.
void FillModel(LiteModel& model) {
  BRepBuilderAPI_MakePolygon triangle(gp_Pnt(0, 0, 0), gp_Pnt(40, 0, 0), gp_Pnt(0, 30, 0), true);
  const TopoDS_Shape face = BRepBuilderAPI_MakeFace(triangle.Wire()).Face();
  model.AddShape(ObjectId("7"), std::make_shared<TopoShape>(face));

  auto type = MakeItem<ShapeItem>("3", "Dreieck");
  type->SetShapeId(ObjectId("7"));
  type->SetColor({0.5f, 0.5f, 0.5f});
  type->SetFaceColor(0, {1.0f, 0.25f, 0.0f});
  type->SetTag(2);

  auto group = MakeItem<GroupItem>("1", "例子");
  for (const char* id : {"4", "5"}) {
    auto instance = MakeItem<InstanceItem>(id, "");
    instance->SetTypeId(type->GetId());
    if (id[0] == '5') instance->SetTransform(glm::translate(glm::dmat4(1.0), glm::dvec3(0, 0, 12.5)));
    group->AddItem(std::move(instance));
  }
  model.AddType(std::move(type));
  model.AddItem(std::move(group));
}

// Sixteen bytes a line: position, hexadecimal values, and the characters among them.
std::string HexDump(const std::string& bytes) {
  std::string dump;
  for (std::size_t start = 0; start < bytes.size(); start += 16) {
    char text[16];
    std::snprintf(text, sizeof text, "%04x ", static_cast<unsigned int>(start));
    dump += text;
    std::string characters;
    for (std::size_t i = start; i < start + 16; ++i) {
      if (i >= bytes.size()) {
        dump += "   ";
        continue;
      }
      const auto byte = static_cast<unsigned char>(bytes[i]);
      std::snprintf(text, sizeof text, " %02x", byte);
      dump += text;
      characters += byte >= 32 && byte < 127 ? bytes[i] : '.';
    }
    dump += "  " + characters + "\n";
  }
  return dump;
}

}  // namespace

TEST(Format, WorkedExampleIsWhatTheWriterWrites) {
  const TestFolder folder;
  LiteModel model;
  FillModel(model);
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ("grep/1.gz index.gz model/1.gz", folder.ListFiles());

  const MarkdownFile document("docs/format.md");
  EXPECT_EQ(Inflate(folder.GetPath() + "index.gz"),
            std::regex_replace(document.FindBlock("json index.gz"), std::regex("\n *"), ""));
  const std::string shapes = Inflate(folder.GetPath() + "model/1.gz");
  ASSERT_GT(shapes.size(), 20u);
  EXPECT_EQ(HexDump(shapes.substr(0, 20)), document.FindBlock("text model/1.gz, count and table"));
  EXPECT_EQ(std::regex_replace(shapes.substr(20) + "\n", std::regex(" +\n"), "\n"),
            document.FindBlock("text model/1.gz, item 0"));
  EXPECT_EQ(HexDump(Inflate(folder.GetPath() + "grep/1.gz")), document.FindBlock("text grep/1.gz"));
}
