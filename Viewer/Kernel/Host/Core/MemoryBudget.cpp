#include <Viewer/Kernel/Host/Core/MemoryBudget.h>

#include <Viewer/Kernel/Host/Core/Limits.h>

#include <atomic>
#include <utility>

namespace mirel {

namespace {

std::atomic<std::uint64_t> g_limit{kMemoryLimit};
std::atomic<std::uint64_t> g_used{0};

}  // namespace

void MemoryBudget::SetLimit(std::uint64_t bytes) {
  g_limit = bytes > 0 ? bytes : kMemoryLimit;
}

std::uint64_t MemoryBudget::GetLimit() {
  return g_limit.load(std::memory_order_relaxed);
}

std::uint64_t MemoryBudget::GetUsed() {
  return g_used.load(std::memory_order_relaxed);
}

void MemoryBudget::Add(std::uint64_t bytes) {
  g_used.fetch_add(bytes, std::memory_order_relaxed);
}

void MemoryBudget::GiveBack(std::uint64_t bytes) {
  g_used.fetch_sub(bytes, std::memory_order_relaxed);
}

MemoryBudget::Share::Share(std::uint64_t bytes) : bytes_(bytes) {
  Add(bytes_);
  if (IsExceeded()) GiveBack(std::exchange(bytes_, 0));
}

MemoryBudget::Share& MemoryBudget::Share::operator=(Share&& other) noexcept {
  std::swap(bytes_, other.bytes_);
  return *this;
}

MemoryBudget::Share::~Share() {
  if (bytes_ > 0) GiveBack(bytes_);
}

}  // namespace mirel
