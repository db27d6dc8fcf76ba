#pragma once

namespace mirel {

class MainWindow;
class MeasureSession;

/// Registers the commands that measure.
void RegisterMeasureCommands(MainWindow& window, MeasureSession& session);

}  // namespace mirel
