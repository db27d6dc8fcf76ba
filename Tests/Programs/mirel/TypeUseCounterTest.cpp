#include <Programs/mirel/Save/TypeUseCounter.h>

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

ObjectId Id(unsigned long long value) {
  ObjectId id;
  id.SetInteger(value);
  return id;
}

std::unique_ptr<LiteModelItem> InstanceOf(unsigned long long type) {
  auto instance = std::make_unique<InstanceItem>();
  instance->SetTypeId(Id(type));
  return instance;
}

template <typename... Types>
std::unique_ptr<GroupItem> GroupOf(unsigned long long id, Types... types) {
  auto group = std::make_unique<GroupItem>();
  group->SetId(Id(id));
  (group->AddItem(InstanceOf(types)), ...);
  return group;
}

TEST(TypeUseCounterTest, CountsInstancesThatAreReached) {
  LiteModel model;
  auto part = std::make_unique<ShapeItem>();
  part->SetId(Id(1));
  model.AddType(std::move(part));
  model.AddType(GroupOf(2, 1, 1));  // twice the part, counted once although the type itself is used twice
  model.AddType(GroupOf(3, 2, 1));  // reached by nothing: neither it nor its instances count
  model.AddType(GroupOf(4, 2));
  for (const auto& type : model.GetTypes()) {
    type.second->SetTag(77);
  }
  auto outer = GroupOf(10, 2, 99);  // 99 names no type
  outer->AddItem(GroupOf(11, 1, 4));
  model.AddItem(std::move(outer));
  model.AddItem(nullptr);

  TypeUseCounter::Count(model);
  EXPECT_EQ(model.FindType(Id(1))->GetTag(), 3u);
  EXPECT_EQ(model.FindType(Id(2))->GetTag(), 2u);
  EXPECT_EQ(model.FindType(Id(3))->GetTag(), 0u);
  EXPECT_EQ(model.FindType(Id(4))->GetTag(), 1u);
}

TEST(TypeUseCounterTest, EndsWhateverTheNesting) {
  LiteModel model;
  model.AddType(GroupOf(1, 1, 2));
  model.AddType(GroupOf(2, 1));
  std::unique_ptr<LiteModelItem> deep = InstanceOf(1);
  for (int i = 0; i < 200000; ++i) {
    auto group = std::make_unique<GroupItem>();
    group->AddItem(std::move(deep));
    deep = std::move(group);
  }
  model.AddItem(std::move(deep));
  TypeUseCounter::Count(model);
  EXPECT_EQ(model.FindType(Id(1))->GetTag(), 3u);
  EXPECT_EQ(model.FindType(Id(2))->GetTag(), 1u);
}

}  // namespace
}  // namespace mirel
