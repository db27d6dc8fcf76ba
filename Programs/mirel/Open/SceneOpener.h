#pragma once

#include <memory>
#include <string>

namespace mirel {

class Console;
class GroupSceneNode;
class LogRecorder;
class SceneReader;

/// Opens a model folder as a viewer does: through the scene reader that is registered for its index file.
class SceneOpener {
 public:
  /// The root node, or an empty pointer after a message. `path` names the folder or its index file.
  /// `complete` becomes false when anything could not be read; what could is under the root.
  static std::shared_ptr<GroupSceneNode> Open(Console& console, const std::string& path, bool& complete);

  /// The reader that opens the folder; an empty pointer after a message.
  static std::shared_ptr<SceneReader> FindReader(Console& console, const std::string& path);

  /// Says why there is no root, where the log did not.
  static void ExplainFailure(Console& console, const std::string& path, const LogRecorder& log);
};

}  // namespace mirel
