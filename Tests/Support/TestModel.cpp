#include <Tests/Support/TestModel.h>

#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Vertex.hxx>
#include <gp_Pln.hxx>

#include <glm/gtc/matrix_transform.hpp>

#include <regex>
#include <sstream>

namespace mirel {

namespace {

void Describe(const SceneNode& node, int depth, std::ostream& out) {
  const auto* const body = dynamic_cast<const BrepSceneNode*>(&node);
  const glm::dvec4& place = node.GetTransform()[3];
  out << std::string(2 * static_cast<std::size_t>(depth), ' ') << (body ? 'B' : 'G') << ' '
      << node.GetUserId() << " \"" << node.GetName() << "\" (" << place.x << ' ' << place.y << ' ' << place.z
      << ')';
  if (body) {
    const auto color = [](const glm::vec3& c) {
      std::ostringstream text;
      text << '[' << c.r << ' ' << c.g << ' ' << c.b << ']';
      return text.str();
    };
    out << ' ' << color(body->GetColor());
    for (const auto& [face, faceColor] : body->GetFaceColors())
      out << ' ' << face << ':' << color(faceColor);
  }
  out << '\n';
  if (const auto* const group = dynamic_cast<const GroupSceneNode*>(&node)) {
    for (const std::shared_ptr<SceneNode>& child : group->GetNodes())
      Describe(*child, depth + 1, out);
  }
}

void AppendInteger(std::string& out, unsigned long long value, int bytes) {
  for (int i = 0; i < bytes; ++i)
    out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

}  // namespace

ObjectId Id(unsigned long long value) {
  ObjectId id;
  id.SetInteger(value);
  return id;
}

std::shared_ptr<TopoShape> MakeBox(double x, double y, double z) {
  return std::make_shared<TopoShape>(BRepPrimAPI_MakeBox(x, y, z).Shape());
}

std::shared_ptr<TopoShape> MakePoints(int count) {
  const BRep_Builder builder;
  TopoDS_Compound compound;
  builder.MakeCompound(compound);
  for (int i = 0; i < count; ++i) {
    TopoDS_Vertex vertex;
    builder.MakeVertex(vertex, gp_Pnt(i % 1000, i / 1000, 0.5), 1e-7);
    builder.Add(compound, vertex);
  }
  return std::make_shared<TopoShape>(compound);
}

std::shared_ptr<TopoShape> MakePlane() {
  return std::make_shared<TopoShape>(BRepBuilderAPI_MakeFace(gp_Pln()).Shape());
}

std::shared_ptr<GRepShape> MakeGRep(const std::shared_ptr<TopoShape>& shape) {
  std::shared_ptr<GRepShape> grep = GRepShape::Create(shape, nullptr, nullptr, 0.0, true);
  grep->Compute();
  return grep;
}

std::unique_ptr<ShapeItem> MakeShape(unsigned long long id, const std::string& name,
                                     unsigned long long shapeId) {
  auto item = std::make_unique<ShapeItem>();
  item->SetId(Id(id));
  item->SetName(name);
  item->SetShapeId(Id(shapeId));
  return item;
}

std::unique_ptr<InstanceItem> MakeInstance(unsigned long long id, const std::string& name,
                                           unsigned long long typeId) {
  auto item = std::make_unique<InstanceItem>();
  item->SetId(Id(id));
  item->SetName(name);
  item->SetTypeId(Id(typeId));
  return item;
}

std::unique_ptr<LiteModelItem> MakeChain(int level, std::unique_ptr<LiteModelItem> innermost) {
  std::unique_ptr<LiteModelItem> item = std::move(innermost);
  for (int i = level - 1; i > 0; --i) {
    item = MakeGroup(static_cast<unsigned long long>(i), "Group", std::move(item));
  }
  return item;
}

glm::dmat4 Move(double x, double y, double z) {
  return glm::translate(glm::dmat4(1.0), glm::dvec3(x, y, z));
}

glm::dmat4 TurnAboutZ(double degrees) {
  return glm::rotate(glm::dmat4(1.0), glm::radians(degrees), glm::dvec3(0.0, 0.0, 1.0));
}

void FillAssembly(LiteModel& model) {
  model.AddShape(Id(10), MakeBox(1.0, 2.0, 3.0));
  model.AddShape(Id(11), MakeBox(4.0, 4.0, 4.0));

  auto bolt = MakeShape(101, "Bolt", 10);
  bolt->SetTransform(Move(0.5, 0.0, 0.0));
  bolt->SetColor({1.0F, 0.0F, 0.0F});
  bolt->SetFaceColor(0, {0.0F, 1.0F, 0.0F});
  bolt->SetFaceColor(5, {0.0F, 0.0F, 1.0F});
  auto pair = MakeGroup(100, "Schraube", std::move(bolt), MakeShape(102, "Nut", 11));
  pair->SetTransform(Move(0.0, 0.0, 2.0));
  pair->SetTag(2);
  model.AddType(std::move(pair));

  auto cover = MakeShape(200, "Cover", 11);
  cover->SetTransform(Move(0.0, 3.0, 0.0));
  cover->SetTag(1);
  model.AddType(std::move(cover));

  auto second = MakeInstance(3, "second", 100);
  second->SetTransform(Move(20.0, 0.0, 0.0));
  auto lid = MakeInstance(4, "Lid", 200);
  lid->SetTransform(Move(0.0, 30.0, 0.0));
  lid->SetColor({0.5F, 0.5F, 0.5F});
  model.AddItem(MakeGroup(1, "设计 Größe", MakeInstance(2, "first", 100), std::move(second), std::move(lid)));
  model.AddItem(MakeShape(5, "Base", 11));
}

std::string WriteItem(const LiteModelItem& item, const LiteModel& model) {
  rapidjson::StringBuffer buffer;
  LiteModelItem::JsonWriter writer(buffer);
  writer.StartObject();
  item.Write(writer, model);
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

std::unique_ptr<LiteModelItem> ReadItem(const std::string& json) {
  rapidjson::Document document;
  document.Parse(json.c_str());
  return document.HasParseError() ? nullptr : LiteModelItem::CreateItem(document);
}

std::string DescribeNodes(const SceneNode& node) {
  std::ostringstream out;
  Describe(node, 0, out);
  return out.str();
}

std::string DescribeModel(LiteModel& model) {
  const auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visitor(model, nullptr, root);
  model.Apply(&visitor);
  return DescribeNodes(*root);
}

std::string MakePackage(const std::vector<std::pair<unsigned long long, std::string>>& items) {
  std::string table;
  std::string data;
  AppendInteger(table, items.size(), 4);
  for (const auto& [id, bytes] : items) {
    AppendInteger(table, id, 8);
    AppendInteger(table, data.size(), 4);
    AppendInteger(table, bytes.size(), 4);
    data += bytes;
  }
  return table + data;
}

std::string ToText(const std::shared_ptr<TopoShape>& shape) {
  std::ostringstream stream;
  BRepTools::Write(shape->GetImpl(), stream, true, false, TopTools_FormatVersion_VERSION_3);
  return stream.str();
}

std::string ToComparableText(const std::shared_ptr<TopoShape>& shape) {
  static const std::regex flags("\n([01])([01])[01]([01]{4})\n");
  return std::regex_replace(ToText(shape), flags, "\n$1$2-$3\n");
}

std::string ToRecord(const std::shared_ptr<GRepShape>& grep) {
  std::ostringstream stream;
  grep->ToStream(stream);
  return stream.str();
}

}  // namespace mirel
