#include <Bench/GeneratedModel.h>

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Ax3.hxx>
#include <gp_Pln.hxx>

#include <glm/gtc/matrix_transform.hpp>

#include <algorithm>
#include <cmath>

namespace mirel::bench {

namespace {

/// Ids as a program draws them: 64 scattered bits, so nineteen or twenty digits.
ObjectId Scatter(std::uint64_t kind, std::uint64_t number) {
  ObjectId id;
  id.SetInteger((kind << 56 | (number + 1)) * 0x9E3779B97F4A7C15ULL);
  return id;
}

template <class Item>
std::unique_ptr<Item> MakeItem(std::size_t number, const char* kind) {
  auto item = std::make_unique<Item>();
  item->SetId(Scatter(2, number));
  item->SetName(kind + std::to_string(number));
  const double angle = 0.001 * static_cast<double>(number % 6283);
  glm::dmat4 transform = glm::rotate(glm::dmat4(1.0), angle, glm::dvec3(0.0, 0.0, 1.0));
  transform[3] = glm::dvec4(20.0 * static_cast<double>(number % 1000),
                            20.0 * static_cast<double>(number / 1000), 0.25, 1);
  item->SetTransform(transform);
  if (number % 4 == 0) item->SetColor(glm::vec3(static_cast<float>(number % 256) / 255.0F, 0.5F, 0.25F));
  return item;
}

std::unique_ptr<ShapeItem> MakeShapeItem(std::size_t number, std::size_t body) {
  auto item = MakeItem<ShapeItem>(number, "Part ");
  item->SetShapeId(GeneratedModel::BodyId(body));
  return item;
}

}  // namespace

ObjectId GeneratedModel::BodyId(std::size_t body) {
  return Scatter(1, body);
}

void GeneratedModel::AddFlat(LiteModel& model, std::size_t count, std::size_t bodies) {
  for (std::size_t i = 0; i < count; ++i)
    model.AddItem(MakeShapeItem(i, i % bodies));
}

void GeneratedModel::AddDeep(LiteModel& model, std::size_t count, int depth) {
  for (std::size_t made = 0; made < count;) {
    std::unique_ptr<LiteModelItem> inner = MakeShapeItem(made++, 0);
    for (int level = depth; level > 1; --level) {
      auto group = MakeItem<GroupItem>(made++, "Assembly ");
      group->AddItem(MakeShapeItem(made++, 0));
      group->AddItem(std::move(inner));
      inner = std::move(group);
    }
    model.AddItem(std::move(inner));
  }
}

void GeneratedModel::AddWide(LiteModel& model, std::size_t count, std::size_t width) {
  for (std::size_t made = 0; made < count;) {
    auto group = MakeItem<GroupItem>(made++, "Assembly ");
    group->SetTransform(glm::dmat4(1.0));
    for (std::size_t i = 0; i < width && made < count; ++i)
      group->AddItem(MakeShapeItem(made++, 0));
    model.AddItem(std::move(group));
  }
}

void GeneratedModel::AddShared(LiteModel& model, std::size_t count, std::size_t types) {
  const std::size_t kFirstType = std::size_t{1} << 40;  // beyond the numbers of the instances
  std::vector<std::uint32_t> uses(types, 0);
  for (std::size_t i = 0; i < count; ++i) {
    auto instance = MakeItem<InstanceItem>(i, "Place ");
    instance->SetTypeId(Scatter(2, kFirstType + i % types));
    ++uses[i % types];
    model.AddItem(std::move(instance));
  }
  for (std::size_t i = 0; i < types; ++i) {
    auto type = MakeShapeItem(kFirstType + i, i);
    type->SetTransform(glm::dmat4(1.0));
    // A type that is used once would be written in place of its instance; here it is to stay a type.
    type->SetTag(std::max<std::uint32_t>(uses[i], 2));
    model.AddType(std::move(type));
  }
}

TopoDS_Shape GeneratedModel::MakeBody(std::size_t faces) {
  const std::size_t columns =
      std::max<std::size_t>(1, static_cast<std::size_t>(std::sqrt(static_cast<double>(faces))));
  BRep_Builder builder;
  TopoDS_Compound body;
  builder.MakeCompound(body);
  for (std::size_t i = 0; i < faces; ++i) {
    const double x = 12.5 * static_cast<double>(i % columns);
    const double y = 12.5 * static_cast<double>(i / columns);
    const gp_Pln plane(gp_Ax3(gp_Pnt(x, y, 0.0), gp_Dir(0.0, 0.0, 1.0)));
    builder.Add(body, BRepBuilderAPI_MakeFace(plane, 0.0, 10.0, 0.0, 10.0).Face());
  }
  return body;
}

}  // namespace mirel::bench
