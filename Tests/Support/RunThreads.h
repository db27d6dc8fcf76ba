#pragma once

#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace mirel {

/// Runs a function on so many threads at once, each with its number from 0 on, and waits for all.
inline void RunThreads(std::size_t count, const std::function<void(std::size_t)>& work) {
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < count; ++i)
    threads.emplace_back(work, i);
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace mirel
