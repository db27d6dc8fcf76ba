#pragma once

namespace mirel {

class MainWindow;

/// Registers the viewer's own commands with the host, in place of those of an earlier window. They refer to the window, which
/// must be the one that runs commands from now on.
void RegisterViewerCommands(MainWindow& window);

}  // namespace mirel
