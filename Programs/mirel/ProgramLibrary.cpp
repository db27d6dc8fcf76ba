#include <Programs/mirel/ProgramLibrary.h>

#include <Programs/mirel/View/ModuleLibrary.h>

#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#include <windows.h>
#elif !defined(__linux__)
#include <dlfcn.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

namespace {

// The folder that the program's file lies in, whatever link it was started through; empty when that is not known.
fs::path ProgramFolder() {
#if defined(_WIN32)
  std::wstring file(1 << 15, L'\0');
  file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
  return fs::path(file).parent_path();
#elif defined(__linux__)
  std::error_code failure;
  return fs::read_symlink("/proc/self/exe", failure).parent_path();
#else
  std::error_code failure;
  Dl_info info;
  return dladdr(reinterpret_cast<const void*>(&ProgramFolder), &info) != 0
             ? fs::canonical(info.dli_fname, failure).parent_path()
             : fs::path();
#endif
}

}  // namespace

ProgramLibrary::ProgramLibrary(const std::string& name, const char* function) {
  const fs::path folder = ProgramFolder();
  if (folder.empty()) {
    // Never looked for in the current folder, where anybody may have put anything.
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
