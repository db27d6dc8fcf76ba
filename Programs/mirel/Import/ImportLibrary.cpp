#include <Programs/mirel/Import/ImportLibrary.h>

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

ImportLibrary::ImportLibrary(SourceFile::Format format) {
  const std::string name = SourceFile::GetFormatName(format);
  const fs::path folder = ProgramFolder();
  if (folder.empty()) {
    // Never looked for in the current folder, where anybody may have put anything.
    error_ = "the library that reads " + name +
             " files is not found: the system does not tell where this program is";
    return;
  }
  const fs::path file = folder / fs::u8path(MIREL_IMPORT_FOLDER "/MirelRead" + name + MIREL_IMPORT_SUFFIX);
  const std::string path = file.lexically_normal().u8string();
  const ModuleLibrary library(path);
  std::string reason = library.GetError();
  if (reason.empty()) {
    read_ = reinterpret_cast<decltype(read_)>(library.FindFunction("MirelReadAssembly"));
    reason = read_ == nullptr ? "it is another library" : "";
  }
  if (!reason.empty()) {
    error_ = name + " files are read by " + path + ", which cannot be loaded: " + reason;
  }
}

}  // namespace mirel
