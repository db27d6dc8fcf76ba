#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace mirel {

/// The tests of the viewer by name, each a class with its test functions as slots.
class ViewerTests {
 public:
  using Maker = std::function<std::unique_ptr<QObject>()>;

  static const std::vector<std::pair<const char*, Maker>>& List() { return Registered(); }

  template <class Test>
  static bool Add(const char* name) {
    Registered().emplace_back(name, [] { return std::make_unique<Test>(); });
    return true;
  }

 private:
  static std::vector<std::pair<const char*, Maker>>& Registered() {
    static std::vector<std::pair<const char*, Maker>> all;
    return all;
  }
};

}  // namespace mirel
