#include <Fuzz/Support/ModelText.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <utility>

namespace mirel::fuzz {

namespace {

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

class LeafCollector {
 public:
  LeafCollector(const LiteModel& model, std::size_t maxItems, std::size_t maxDepth)
      : model_(model), maxItems_(maxItems), maxDepth_(maxDepth) {}

  void Add(const LiteModelItem* item, const glm::dmat4& outer, double scale) {
    if (types_.size() + groups_ >= maxDepth_) count_ = maxItems_;
    if (!item || IsTooMuch()) return;
    ++count_;
    double norm = 0.0;
    for (int i = 0; i < 16; ++i)
      norm = std::max(norm, std::fabs(item->GetTransform()[i / 4][i % 4]));
    const glm::dmat4 place = outer * item->GetTransform();
    scale *= std::max(1.0, 4.0 * norm);
    if (const auto* const shape = dynamic_cast<const ShapeItem*>(item))
      leaves.push_back({shape->GetShapeId(), place, scale});
    if (const auto* const group = dynamic_cast<const GroupItem*>(item)) {
      ++groups_;
      for (const auto& child : group->GetChildren())
        Add(child.get(), place, scale);
      --groups_;
    }
    if (const auto* const instance = dynamic_cast<const InstanceItem*>(item)) {
      const LiteModelItem* const type = model_.FindType(instance->GetTypeId());
      if (std::find(types_.begin(), types_.end(), type) != types_.end()) return;
      types_.push_back(type);
      Add(type, place, scale);
      types_.pop_back();
    }
  }
  bool IsTooMuch() const { return count_ >= maxItems_; }

  std::vector<Leaf> leaves;

 private:
  const LiteModel& model_;
  std::size_t maxItems_;
  std::size_t maxDepth_;
  std::size_t count_ = 0;
  std::size_t groups_ = 0;                   // that the walk is in
  std::vector<const LiteModelItem*> types_;  // likewise
};

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

std::optional<std::vector<Leaf>> CollectLeaves(const LiteModel& model, std::size_t maxItems,
                                               std::size_t maxDepth) {
  LeafCollector collector(model, maxItems, maxDepth);
  for (const auto& item : model.GetItems())
    collector.Add(item.get(), glm::dmat4(1.0), 1.0);
  if (collector.IsTooMuch()) return std::nullopt;
  return std::move(collector.leaves);
}

std::string DescribeNodes(const SceneNode& node) {
  std::string out;
  Describe(node, 0, out);
  return out;
}

}  // namespace mirel::fuzz
