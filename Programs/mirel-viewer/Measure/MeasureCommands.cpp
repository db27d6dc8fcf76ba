#include <Programs/mirel-viewer/Measure/MeasureCommands.h>

#include <Programs/mirel-viewer/Application/MainWindow.h>
#include <Programs/mirel-viewer/Commands/ActionCommand.h>
#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Measure/MeasureSession.h>

namespace mirel {

void RegisterMeasureCommands(MainWindow& window, MeasureSession& session) {
  using Tool = MeasureSession::Tool;
  Document& document = window.GetDocument();
  const struct {
    ActionCommand::Words words;
    Tool tool;
  } tools[] = {{{"MeasureSize", "Measure sizes", "Measure", "M",
                 "Click faces, edges and vertices: lengths, radii, areas, positions", "measure", true},
                Tool::kSize},
               {{"MeasureDistance", "Measure distances", "Measure", "D",
                 "Click two faces, edges or points: distance and angle", "measure", true},
                Tool::kDistance}};
  for (const auto& [words, tool] : tools) {
    AddCommand(words, [&session, &window, tool = tool] {
      session.SetTool(session.GetTool() == tool ? Tool::kNone : tool);
      if (session.GetTool() != Tool::kNone) {
        window.ShowMeasures();
      }
    }).Checked([&session, tool = tool] { return session.GetTool() == tool; });
  }
  AddCommand({"MeasureMass", "Volume and center of mass", "Measure", "Shift+M",
              "Of all bodies that are selected", "mass"},
             [&session, &window] {
               window.ShowMeasures();
               session.MeasureSelection();
             })
      .Enabled([&document] { return !document.GetSelection().empty(); });
  AddCommand({"RemoveMeasures", "Remove all measures", "Measure", "", "", "remove"}, [&session] {
    session.Clear();
  }).Enabled([&session] { return !session.GetResults().empty(); });
}

}  // namespace mirel
