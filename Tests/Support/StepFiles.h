#pragma once

#include <string>
#include <vector>

namespace mirel {

/// The sample, and the files and folders that MIREL_STEP_FILES names, with : between them.
std::vector<std::string> ListStepFiles(const std::string& sample);

}  // namespace mirel
