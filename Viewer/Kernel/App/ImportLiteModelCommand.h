#pragma once

#include <Viewer/Kernel/Host/View/Command.h>

namespace mirel {

/// The viewer command "ImportLiteModel": asks for the index file of a model folder and adds the folder's nodes to the
/// scene of the viewer in which it runs.
class ImportLiteModelCommand : public Command {
 public:
  ImportLiteModelCommand();
  ~ImportLiteModelCommand() override;

  /// False, with nothing changed, when the user chose no file. True otherwise, also when the folder could not be read:
  /// the reader has logged that, and nothing is added to the scene then. Needs a context with a viewer; without one it
  /// says so at level 3 and returns false before it asks.
  bool Execute(CommandContext* context) override;
};

}  // namespace mirel
