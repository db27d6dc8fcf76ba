#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace mirel {

/// Products are handed out as `std::unique_ptr`.
template <class Product>
struct UniquePointerPolicyT {
  using Pointer = std::unique_ptr<Product>;

  template <class Concrete>
  static Pointer Make() {
    return std::make_unique<Concrete>();
  }
};

/// A registry of creators by key: `Create(key)` makes a new product. Thread safe.
template <class Key, class Product, template <class> class PointerPolicy = UniquePointerPolicyT>
class MultiFactoryManagerT {
 public:
  using Pointer = typename PointerPolicy<Product>::Pointer;
  using Creator = std::function<Pointer()>;

  /// Stores a creator of `Concrete` under the key; one already stored under it is replaced.
  template <class Concrete>
  void AddFactoryT(const Key& key) {
    AddFactory(key, [] { return Pointer(PointerPolicy<Product>::template Make<Concrete>()); });
  }

  void AddFactory(const Key& key, Creator creator) {
    const std::lock_guard<std::mutex> lock(mutex_);
    creators_[key] = std::move(creator);
  }

  /// A new product of the creator stored under the key, or an empty pointer when there is none.
  Pointer Create(const Key& key) const {
    Creator creator;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      const auto found = creators_.find(key);
      if (found != creators_.end()) creator = found->second;
    }
    return creator ? creator() : Pointer();
  }

  /// The keys in their order; a copy.
  std::vector<Key> GetKeys() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Key> keys;
    for (const auto& entry : creators_)
      keys.push_back(entry.first);
    return keys;
  }

 protected:
  MultiFactoryManagerT() = default;
  ~MultiFactoryManagerT() = default;
  MultiFactoryManagerT(const MultiFactoryManagerT&) = delete;
  MultiFactoryManagerT& operator=(const MultiFactoryManagerT&) = delete;

 private:
  mutable std::mutex mutex_;
  std::map<Key, Creator> creators_;
};

}  // namespace mirel
