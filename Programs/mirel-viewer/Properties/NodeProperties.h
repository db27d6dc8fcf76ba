#pragma once

#include <QString>

#include <utility>
#include <vector>

namespace mirel {

class SceneNode;

/// What is known of a node, in the order in which it is shown: names and values.
class NodeProperties {
 public:
  using Rows = std::vector<std::pair<QString, QString>>;

  /// `roots` are searched for how often the body is placed.
  static Rows List(const SceneNode& node);
};

}  // namespace mirel
