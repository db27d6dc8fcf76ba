#include <Fuzz/Support/ModelText.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <cstdio>
#include <map>

namespace mirel::fuzz {

namespace {

/// Walks that count items go no deeper.
constexpr int kMaxDepth = 240;

void Append(std::string& out, double number) {
  char text[40];
  std::snprintf(text, sizeof text, " %a", number);
  out += text;
}

void Append(std::string& out, const glm::vec3& color) {
  for (int i = 0; i < 3; ++i)
    Append(out, color[i]);
}

void Append(std::string& out, const glm::dmat4& matrix) {
  if (matrix == glm::dmat4(1.0)) return;  // whatever the signs of its zeros
  for (int i = 0; i < 16; ++i)
    Append(out, matrix[i / 4][i % 4]);
}

/// Face colours by face; the tables have an order of their own.
template <class Table>
void AppendFaceColors(std::string& out, const Table& colors) {
  const std::map<std::uint32_t, glm::vec3> sorted(colors.begin(), colors.end());
  for (const auto& [face, color] : sorted) {
    out += " face " + std::to_string(face);
    Append(out, color);
  }
}

void Describe(const LiteModelItem& item, int depth, std::string& out) {
  out += std::to_string(depth) + ' ' + item.GetType() + ' ' + item.GetId().toString() + " \"" +
         item.GetName() + '"';
  if (item.GetColor().r >= 0.0F) Append(out, item.GetColor());
  out += " at";
  Append(out, item.GetTransform());
  if (const auto* const shape = dynamic_cast<const ShapeItem*>(&item)) {
    out += " body " + shape->GetShapeId().toString();
    AppendFaceColors(out, shape->GetFaceColor());
  }
  if (const auto* const instance = dynamic_cast<const InstanceItem*>(&item))
    out += " of " + instance->GetTypeId().toString();
  out += '\n';
  if (const auto* const group = dynamic_cast<const GroupItem*>(&item)) {
    for (const auto& child : group->GetChildren())
      Describe(*child, depth + 1, out);
  }
}

void Count(const LiteModel& model, const LiteModelItem* item, int depth, std::size_t limit,
           std::size_t& count) {
  if (depth > kMaxDepth) count = limit;
  if (!item || count >= limit) return;
  ++count;
  if (const auto* const group = dynamic_cast<const GroupItem*>(item)) {
    for (const auto& child : group->GetChildren())
      Count(model, child.get(), depth + 1, limit, count);
  }
  if (const auto* const instance = dynamic_cast<const InstanceItem*>(item))
    Count(model, model.FindType(instance->GetTypeId()), depth + 1, limit, count);
}

void Describe(const SceneNode& node, int depth, std::string& out) {
  const auto* const body = dynamic_cast<const BrepSceneNode*>(&node);
  out += std::to_string(depth) + (body ? " body \"" : " group \"") + node.GetName() + "\" at";
  Append(out, node.GetTransform());
  if (body) {
    Append(out, body->GetColor());
    AppendFaceColors(out, body->GetFaceColors());
  }
  out += '\n';
  if (const auto* const group = dynamic_cast<const GroupSceneNode*>(&node)) {
    for (const auto& child : group->GetNodes())
      Describe(*child, depth + 1, out);
  }
}

}  // namespace

std::string DescribeItems(const LiteModel& model) {
  std::map<unsigned long long, const LiteModelItem*> types;
  for (const auto& [id, type] : model.GetTypes())
    types[id.GetInteger()] = type.get();
  std::string out = "types\n";
  for (const auto& [id, type] : types)
    Describe(*type, 1, out);
  out += "items\n";
  for (const auto& item : model.GetItems())
    Describe(*item, 1, out);
  return out;
}

std::size_t CountUnfolded(const LiteModel& model, std::size_t limit) {
  std::size_t count = 0;
  for (const auto& item : model.GetItems())
    Count(model, item.get(), 1, limit, count);
  return count;
}

std::string DescribeNodes(const SceneNode& node) {
  std::string out;
  Describe(node, 0, out);
  return out;
}

}  // namespace mirel::fuzz
