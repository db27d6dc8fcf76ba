#pragma once

#include <Programs/mirel/Web/PageTemplate.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <string>
#include <vector>

namespace mirel {

/// The names in the folder of a site: those of a model folder, and these beside them.
struct SiteFiles {
  static constexpr const char* kPage = "index.html";
  static constexpr const char* kReadme = "README.txt";

  /// What is not of the model.
  static std::vector<std::string> GetOthers() { return {kPage, PageTemplate::kScript, kReadme}; }

  /// Whether a file, named relative to the folder, belongs to a site.
  static bool IsFile(const std::string& name) {
    return name == kPage || name == PageTemplate::kScript || name == kReadme || FolderFiles::IsFile(name);
  }
};

}  // namespace mirel
