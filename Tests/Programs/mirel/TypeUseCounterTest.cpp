#include <Programs/mirel/Save/TypeUseCounter.h>

#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

// A group of instances.
template <typename... Types>
std::unique_ptr<GroupItem> GroupOf(unsigned long long id, Types... types) {
  return MakeGroup(id, "", MakeInstance(0, "", static_cast<unsigned long long>(types))...);
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
  std::unique_ptr<LiteModelItem> deep = MakeInstance(0, "", 1);
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
