#include <Programs/mirel/ProgramLibrary.h>

#include <Programs/mirel/ProgramFolder.h>
#include <Programs/mirel/View/ModuleLibrary.h>

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

ProgramLibrary::ProgramLibrary(const std::string& name, const char* function) {
  const fs::path folder = ProgramFolder::Find();
  if (folder.empty()) {
    error_ = "the system does not tell where this program is";
    return;
  }
  const fs::path file = folder / fs::u8path(MIREL_LIBRARY_FOLDER "/" + name + MIREL_LIBRARY_SUFFIX);
  path_ = file.lexically_normal().u8string();
  std::error_code failure;
  missing_ = !fs::exists(file, failure);
  const ModuleLibrary library(path_);
  error_ = library.GetError();
  if (error_.empty()) {
    function_ = library.FindFunction(function);
    error_ = function_ == nullptr ? "it is another library" : "";
  }
}

}  // namespace mirel
