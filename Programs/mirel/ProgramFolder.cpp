#include <Programs/mirel/ProgramFolder.h>

#include <system_error>

#if defined(_WIN32)
#include <windows.h>

#include <string>
#elif !defined(__linux__)
#include <dlfcn.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

fs::path ProgramFolder::Find() {
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
  return dladdr(reinterpret_cast<const void*>(&ProgramFolder::Find), &info) != 0
             ? fs::canonical(info.dli_fname, failure).parent_path()
             : fs::path();
#endif
}

}  // namespace mirel
