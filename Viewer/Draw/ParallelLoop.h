#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <future>
#include <thread>
#include <vector>

namespace mirel {

/// Calls `work(i)` once for each i below `count`, several at once on so many threads, this one among them; 0: one for each
/// core. All have ended when this returns. An exception of `work` comes through, with an unknown part of the work done.
template <typename Work>
void ParallelLoop(std::size_t count, unsigned threads, const Work& work) {
  if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
  std::atomic<std::size_t> next{0};
  const auto share = [&] {
    for (std::size_t i = next++; i < count; i = next++)
      work(i);
  };
  std::vector<std::future<void>> others;
  try {
    while (others.size() + 1 < std::min<std::size_t>(threads, count))
      others.push_back(std::async(std::launch::async, share));
  } catch (const std::exception&) {  // no thread left: those that there are do it
  }
  share();
  for (std::future<void>& other : others)
    other.get();
}

}  // namespace mirel
