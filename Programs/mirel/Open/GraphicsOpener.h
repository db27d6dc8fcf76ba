#pragma once

#include <Programs/mirel/LogRecorder.h>

#include <Viewer/Kernel/Host/Renderer/SceneOpening.h>

#include <memory>
#include <string>

namespace mirel {

class Console;
class GroupSceneNode;

/// Opens a model folder for what is drawn of it. The exact bodies are checked meanwhile, for the sake of the messages, and not
/// kept. As long as this lives, messages of the log are printed as they are by `SceneOpener::Open`.
class GraphicsOpener {
 public:
  /// Begins. `path` names the folder or its index file. There is no root after a message.
  GraphicsOpener(Console& console, const std::string& path,
                 SceneOpening::Nodes nodes = SceneOpening::Nodes::kOwn);

  /// Waits for what can be drawn and gives it away; an empty pointer after a message.
  std::shared_ptr<GroupSceneNode> TakeRoot();

  /// Waits until the bodies are checked. False when anything of the folder could not be read.
  bool Finish();

  /// In place of that, for who reads the bodies otherwise: calls the check off. False when anything that is drawn could not
  /// be read.
  bool FinishWithoutBodies();

 private:
  Console& console_;
  const std::string path_;
  LogRecorder log_;
  std::unique_ptr<SceneOpening> opening_;  // ends before the log does
};

}  // namespace mirel
