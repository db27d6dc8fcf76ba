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

// What it counts in a sound model decides which types are saved: GuideTest.
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
