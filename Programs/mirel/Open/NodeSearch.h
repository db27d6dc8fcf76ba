#pragma once

#include <string>
#include <vector>

namespace mirel {

class SceneNode;

/// Finds nodes by what a user calls them.
class NodeSearch {
 public:
  explicit NodeSearch(const SceneNode& root) : root_(root) {}

  /// The nodes with an id, or else with a name: all of them, as what is placed several times has several nodes. When none
  /// or several different things are called so, there are none and `GetError` says so.
  std::vector<const SceneNode*> Find(const std::string& text);

  const std::string& GetError() const { return error_; }

 private:
  const SceneNode& root_;
  std::string error_;
};

}  // namespace mirel
