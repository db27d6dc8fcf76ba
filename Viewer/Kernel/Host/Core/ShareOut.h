#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <future>
#include <thread>
#include <vector>

namespace mirel {

// With fewer bytes the work is done before another thread is up and running.
constexpr std::size_t kMinSharedBytes = 256 << 10;
constexpr std::size_t kMaxSharingThreads = 8;

/// Calls `work(i)` once for each i below `count`, in this order but several at once: one for each core, this thread
/// among them. `bytes` is how much there is to do in all; a little is done by this thread alone, and so is everything
/// when the system has no thread left.
///
/// All threads have ended when this returns. An exception of `work` comes through, with an unknown part of the work done.
template <typename Work>
void ShareOut(std::size_t count, std::size_t bytes, const Work& work) {
  std::atomic<std::size_t> next{0};
  const auto share = [&] {
    for (std::size_t i = next++; i < count; i = next++)
      work(i);
  };
  std::vector<std::future<void>> others;
  if (bytes >= kMinSharedBytes) {
    const std::size_t cores = std::thread::hardware_concurrency();
    const std::size_t threads = std::min({cores, kMaxSharingThreads, count});
    try {
      while (others.size() + 1 < threads)
        others.push_back(std::async(std::launch::async, share));
    } catch (const std::exception&) {  // no thread left, or no memory for one: those that there are do it
    }
  }
  share();
  for (std::future<void>& other : others)
    other.get();
}

}  // namespace mirel
