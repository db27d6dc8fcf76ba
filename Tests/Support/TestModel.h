#pragma once

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <glm/mat4x4.hpp>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

class SceneNode;

/// What the module's tests make models of: OpenCASCADE primitives, items in one line, and the text forms that
/// results are compared in.

ObjectId Id(unsigned long long value);

/// A box with one corner at the origin.
std::shared_ptr<TopoShape> MakeBox(double x, double y, double z);
/// A compound of points: large as text (some 60 bytes each), next to nothing to tessellate.
std::shared_ptr<TopoShape> MakePoints(int count);
/// A plane without bounds.
std::shared_ptr<TopoShape> MakePlane();
/// The tessellated shape.
std::shared_ptr<GRepShape> MakeGRep(const std::shared_ptr<TopoShape>& shape);

std::unique_ptr<ShapeItem> MakeShape(unsigned long long id, const std::string& name,
                                     unsigned long long shapeId);
std::unique_ptr<InstanceItem> MakeInstance(unsigned long long id, const std::string& name,
                                           unsigned long long typeId);
template <class... Children>
std::unique_ptr<GroupItem> MakeGroup(unsigned long long id, const std::string& name, Children... children) {
  auto group = std::make_unique<GroupItem>();
  group->SetId(Id(id));
  group->SetName(name);
  (group->AddItem(std::move(children)), ...);
  return group;
}
/// Groups in each other, `innermost` at the given level (1: at the top).
std::unique_ptr<LiteModelItem> MakeChain(int level, std::unique_ptr<LiteModelItem> innermost);

/// The same item, changed.
template <class Item>
std::unique_ptr<Item> With(std::unique_ptr<Item> item, const std::function<void(Item&)>& change) {
  change(*item);
  return item;
}
glm::dmat4 Move(double x, double y, double z);
glm::dmat4 TurnAboutZ(double degrees);

/// A small assembly: boxes 10 and 11; type 100, used twice, a group of two coloured shapes; type 200, used
/// once; a group of instances of them, and a shape beside it. Saving it changes type 200.
void FillAssembly(LiteModel& model);

/// The item's JSON object, and the item of one (null when there is none).
std::string WriteItem(const LiteModelItem& item, const LiteModel& model);
std::unique_ptr<LiteModelItem> ReadItem(const std::string& json);

/// One line for each node: indentation, "G" (group) or "B" (body), user id, name, translation, colours.
std::string DescribeNodes(const SceneNode& node);
/// The same for the nodes that the visual visitor makes of the model's items.
std::string DescribeModel(LiteModel& model);

/// The content of a package with these items (id, bytes).
std::string MakePackage(const std::vector<std::pair<unsigned long long, std::string>>& items);
std::string ToText(const std::shared_ptr<TopoShape>& shape);
/// The same without the one thing that OpenCASCADE's reader changes: a flag that says "changed since it was
/// made".
std::string ToComparableText(const std::shared_ptr<TopoShape>& shape);
std::string ToRecord(const std::shared_ptr<GRepShape>& grep);

}  // namespace mirel
