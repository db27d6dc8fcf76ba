#include <Programs/mirel-viewer/Compare/CompareCommands.h>

#include <Programs/mirel-viewer/Commands/ActionCommand.h>
#include <Programs/mirel-viewer/Compare/Comparison.h>

namespace mirel {

void RegisterCompareCommands(Comparison& comparison) {
  const auto hasDifferences = [&comparison] { return !comparison.GetReport().differences.empty(); };
  AddCommand({"NextDifference", "Next difference", "View", "N",
              "See the next difference between both versions", "difference"},
             [&comparison] { comparison.Step(1); })
      .Enabled(hasDifferences);
  AddCommand(
      {"PreviousDifference", "Previous difference", "View", "Shift+N", "See the one before", "difference"},
      [&comparison] { comparison.Step(-1); })
      .Enabled(hasDifferences);
  AddCommand(
      {"EndComparison", "End comparison", "View", "", "Show both versions as any models", "difference"},
      [&comparison] { comparison.End(); })
      .Enabled([&comparison] { return comparison.GetStage() != Comparison::Stage::kOff; });
}

}  // namespace mirel
