#pragma once

#include <Viewer/Kernel/Host/Core/SecretHash.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace mirel {

/// Gives all who have equal values one object that nobody changes any more. It goes with the last of its users.
///
/// Two values are equal when `BytesOf` finds the same bytes in them, which must stay where they are as long as the value
/// lives. A pool must outlive all that it hands out. Thread safe.
template <class Value, std::string_view (*BytesOf)(const Value&)>
class SharedPool {
 public:
  /// The object with these bytes. When nobody uses one, `make` gives the value that becomes it.
  template <class Make>
  std::shared_ptr<const Value> Share(std::string_view bytes, const Make& make) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = table_.find(bytes);
    if (found != table_.end()) {
      if (std::shared_ptr<const Value> used = found->second.used.lock()) return used;
      table_.erase(found);  // its last user is letting go of it on another thread
    }
    const auto* const value = new Value(make());
    std::shared_ptr<const Value> made(value, [this](const Value* unused) { Forget(unused); });
    table_.emplace(BytesOf(*value), Entry{made, value});
    return made;
  }

 private:
  struct Entry {
    std::weak_ptr<const Value> used;
    const Value* value;
  };
  struct Hash {
    std::size_t operator()(std::string_view bytes) const {
      return static_cast<std::size_t>(SecretHash(bytes));
    }
  };

  void Forget(const Value* value) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      const auto found = table_.find(BytesOf(*value));
      if (found != table_.end() && found->second.value == value) table_.erase(found);
    }
    delete value;
  }

  std::mutex mutex_;
  std::unordered_map<std::string_view, Entry, Hash> table_;
};

}  // namespace mirel
