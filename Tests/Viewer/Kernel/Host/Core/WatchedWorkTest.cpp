#include <Viewer/Kernel/Host/Core/WatchedWork.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>

namespace mirel {
namespace {

using std::chrono::milliseconds;

constexpr WorkLimits kWide{milliseconds(60000), milliseconds(60000), milliseconds(60000)};

void Sleep(int count) {
  std::this_thread::sleep_for(milliseconds(count));
}

TEST(WatchedWork, RunsOnAnotherThreadAndIsWaitedFor) {
  auto thread = std::make_shared<std::thread::id>();
  EXPECT_EQ(RunWatched([thread](WorkState&) { *thread = std::this_thread::get_id(); }, kWide),
            WorkEnd::kDone);
  EXPECT_NE(*thread, std::this_thread::get_id());
  EXPECT_EQ(thread.use_count(), 1);  // what the work owned is gone with it
  EXPECT_EQ(RunWatched([](WorkState&) { throw std::runtime_error("dropped"); }, kWide), WorkEnd::kDone);
}

TEST(WatchedWork, LivesAsLongAsItSteps) {
  const WorkLimits limits{milliseconds(800), milliseconds(60000), milliseconds(60000)};
  const auto work = [](WorkState& state) {
    for (int i = 0; i < 16; ++i) {
      Sleep(100);
      state.Step();
    }
  };
  EXPECT_EQ(RunWatched(work, limits), WorkEnd::kDone);
}

TEST(WatchedWork, IsStoppedWithoutStepsOrAfterTooMany) {
  const auto waits = [](WorkState& state) {
    while (!state.IsStopped())
      Sleep(1);
  };
  const auto steps = [](WorkState& state) {
    while (!state.IsStopped()) {
      state.Step();
      Sleep(1);
    }
  };
  EXPECT_EQ(RunWatched(waits, {milliseconds(20), milliseconds(60000), milliseconds(60000)}),
            WorkEnd::kStopped);
  EXPECT_EQ(RunWatched(steps, {milliseconds(60000), milliseconds(20), milliseconds(60000)}),
            WorkEnd::kStopped);
  EXPECT_EQ(CountAbandonedWork(), 0u);
}

TEST(WatchedWork, IsAbandonedWhenItDoesNotStop) {
  auto release = std::make_shared<std::atomic<bool>>(false);
  const auto work = [release](WorkState&) {
    while (!*release)
      Sleep(1);
  };
  EXPECT_EQ(RunWatched(work, {milliseconds(20), milliseconds(60000), milliseconds(20)}), WorkEnd::kAbandoned);
  EXPECT_EQ(CountAbandonedWork(), 1u);
  EXPECT_EQ(RunWatched([](WorkState&) {}, kWide), WorkEnd::kDone);
  *release = true;
  while (CountAbandonedWork() != 0)
    Sleep(1);
}

}  // namespace
}  // namespace mirel
