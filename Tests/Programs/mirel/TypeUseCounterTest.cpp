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
  model.AddType(MakeShape(1, "", 0));
  model.AddType(GroupOf(2, 1, 1));  // twice the part, counted once although the type itself is used twice
  model.AddType(GroupOf(3, 2, 1));  // reached by nothing: neither it nor its instances count
  model.AddType(GroupOf(4, 2));
  for (const auto& type : model.GetTypes()) {
    type.second->SetTag(77);
  }
  model.AddItem(MakeGroup(10, "", GroupOf(11, 2, 99), GroupOf(12, 1, 4)));  // 99 names no type
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
  model.AddItem(MakeChain(200000, MakeInstance(0, "", 1)));
  TypeUseCounter::Count(model);
  EXPECT_EQ(model.FindType(Id(1))->GetTag(), 3u);
  EXPECT_EQ(model.FindType(Id(2))->GetTag(), 1u);
}

}  // namespace
}  // namespace mirel
