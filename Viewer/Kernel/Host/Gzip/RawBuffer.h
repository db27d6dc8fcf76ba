#pragma once

#include <cstddef>
#include <memory>

namespace mirel {

/// A block of bytes, followed by a zero byte that does not count. Cannot be changed once made, so any number of
/// threads may read it.
class RawBuffer {
 public:
  /// Shares ownership of `bytes`, which holds `size` bytes and a zero byte behind them.
  RawBuffer(std::shared_ptr<const char> bytes, std::size_t size) : bytes_(std::move(bytes)), size_(size) {}

  /// The first byte; never null.
  const char* GetData() const { return bytes_.get(); }
  /// The number of bytes without the zero byte.
  std::size_t GetSize() const { return size_; }

 private:
  std::shared_ptr<const char> bytes_;
  std::size_t size_;
};

}  // namespace mirel
