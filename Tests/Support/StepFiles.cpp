#include <Tests/Support/StepFiles.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace mirel {

std::vector<std::string> ListStepFiles(const std::string& sample) {
  std::vector<std::string> files = {sample};
  const char* const more = std::getenv("MIREL_STEP_FILES");
  std::istringstream names(more == nullptr ? "" : more);
  for (std::string name; std::getline(names, name, ':');) {
    if (!std::filesystem::is_directory(name)) {
      files.push_back(name);
      continue;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(name)) {
      const std::string extension = entry.path().extension().string();
      if (extension == ".step" || extension == ".stp") files.push_back(entry.path().string());
    }
  }
  return files;
}

}  // namespace mirel
