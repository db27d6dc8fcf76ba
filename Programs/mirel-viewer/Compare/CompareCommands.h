#pragma once

namespace mirel {

class Comparison;

/// Registers with the host what steps through differences. The commands refer to the comparison.
void RegisterCompareCommands(Comparison& comparison);

}  // namespace mirel
