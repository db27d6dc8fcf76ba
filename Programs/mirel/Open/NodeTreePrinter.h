#pragma once

#include <cstdint>
#include <string>

namespace mirel {

class Console;
class GroupSceneNode;
class JsonText;
class SceneNode;
struct Extras;

/// Prints a tree of scene nodes, in one go through a large buffer: a million nodes take seconds. The nodes
/// below the root are printed, not the root itself.
class NodeTreePrinter {
 public:
  /// `depth` is the number of levels to print; the level below says how many children were left out.
  NodeTreePrinter(Console& console, bool json, std::uint64_t depth);

  /// Under JSON, the extras of the model follow its nodes. Not owned.
  void SetExtras(const Extras* extras) { extras_ = extras; }

  /// False when stdout did not take all of it.
  bool Print(const GroupSceneNode& root);

 private:
  void BeginNode(const SceneNode& node, std::uint64_t level, bool cut, JsonText& json);
  void AppendText(const SceneNode& node, std::uint64_t level, bool cut);
  bool Flush(std::string& buffer, std::size_t limit);

  Console& console_;
  bool json_;
  std::uint64_t depth_;
  const Extras* extras_ = nullptr;
  std::string text_;
};

}  // namespace mirel
