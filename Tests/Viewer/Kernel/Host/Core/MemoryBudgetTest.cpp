#include <Viewer/Kernel/Host/Core/MemoryBudget.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

class MemoryBudgetTest : public ::testing::Test {
 protected:
  ~MemoryBudgetTest() override { MemoryBudget::SetLimit(0); }

  bool CanInflate(const std::string& content) {
    WriteGzip(file_, content);
    return GzBuffer::FromFile(file_) != nullptr;
  }

  TestFolder folder_;
  std::string file_ = folder_.GetPath() + "index.gz";
  LogCapture log_;
};

TEST_F(MemoryBudgetTest, ContentOutOfProportionToItsFileIsRefused) {
  EXPECT_TRUE(CanInflate(std::string(kFreeContentBytes, ' ')));
  EXPECT_FALSE(CanInflate(std::string(2 * kFreeContentBytes, ' ')));
  EXPECT_TRUE(log_.Contains("out of proportion to the file"));
  // The same in two members: no size is declared for both together.
  WriteGzip(file_, std::string(kFreeContentBytes, ' '));
  WriteFile(file_, ReadFile(file_) + ReadFile(file_));
  EXPECT_EQ(GzBuffer::FromFile(file_), nullptr);
}

TEST_F(MemoryBudgetTest, WhatIsHeldCounts) {
  const std::uint64_t before = MemoryBudget::GetUsed();
  const std::string content(1 << 20, ' ');
  MemoryBudget::SetLimit(before + content.size() * kMemoryPerContentByte);
  {
    ASSERT_TRUE(CanInflate(content));
    const std::shared_ptr<RawBuffer> held = GzBuffer::FromFile(file_);
    EXPECT_EQ(MemoryBudget::GetUsed(), before + content.size());
    EXPECT_FALSE(CanInflate(content));
    EXPECT_TRUE(log_.Contains("more memory than the limit allows"));
  }
  EXPECT_EQ(MemoryBudget::GetUsed(), before);
  EXPECT_TRUE(CanInflate(content));
  MemoryBudget::SetLimit(50);
  EXPECT_FALSE(CanInflate("{}"));
}

TEST_F(MemoryBudgetTest, NodesBeyondItAreLeftOut) {
  const std::uint64_t before = MemoryBudget::GetUsed();
  MemoryBudget::SetLimit(before + 10 * kSceneNodeBytes);
  {
    const GroupSceneNode root;
    GroupSceneNode scene;
    for (int i = 0; i < 20; ++i)
      scene.AddNode(std::make_shared<GroupSceneNode>());
    EXPECT_EQ(scene.GetNodes().size(), 8U);
    EXPECT_EQ(log_.GetTexts(3).size(), 1U);
    EXPECT_TRUE(log_.Contains("memory limit"));
  }
  EXPECT_EQ(MemoryBudget::GetUsed(), before);
}

}  // namespace
}  // namespace mirel
