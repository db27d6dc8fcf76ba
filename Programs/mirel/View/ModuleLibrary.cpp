#include <Programs/mirel/View/ModuleLibrary.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <typeinfo>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif
#if defined(__linux__)
#include <link.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

namespace {

// Whether a library of this system's kind ends before its own headers say so, as after a copy that was broken off.
// The system's loader would map what is not there, and the process would get a bus error.
bool IsCutShort([[maybe_unused]] const fs::path& file) {
#if defined(__linux__)
  std::error_code failure;
  const std::uintmax_t size = fs::file_size(file, failure);
  std::ifstream stream(file, std::ios::binary);
  ElfW(Ehdr) header = {};
  if (failure || !stream.read(reinterpret_cast<char*>(&header), sizeof header) ||
      std::string(reinterpret_cast<char*>(header.e_ident), SELFMAG) != ELFMAG ||
      header.e_phentsize != sizeof(ElfW(Phdr))) {
    return false;  // the loader says what is wrong
  }
  stream.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int i = 0; i < header.e_phnum; ++i) {
    ElfW(Phdr) segment = {};
    if (!stream.read(reinterpret_cast<char*>(&segment), sizeof segment) || segment.p_offset > size ||
        segment.p_filesz > size - segment.p_offset) {
      return true;
    }
  }
#endif
  return false;
}

}  // namespace

ModuleLibrary::ModuleLibrary(const std::string& path) {
  std::error_code failure;
  const fs::path file = fs::absolute(fs::u8path(path), failure);
  if (!fs::exists(file, failure)) {
    error_ = "no such file";
    return;
  }
  if (!fs::is_regular_file(file, failure)) {
    error_ = "not a regular file";  // a pipe would keep this waiting
    return;
  }
  if (IsCutShort(file)) {
    error_ = "the file is cut short";
    return;
  }
#if defined(_WIN32)
  // What the library itself needs is looked for beside it too.
  handle_ = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (handle_ == nullptr) {
    error_ = std::system_category().message(static_cast<int>(GetLastError()));
  }
#else
  handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    const char* const reason = dlerror();
    error_ = reason != nullptr ? reason : "cannot be loaded";
    if (const std::string name = file.native() + ": "; error_.compare(0, name.size(), name) == 0) {
      error_.erase(0, name.size());
    }
  }
#endif
}

void* ModuleLibrary::FindFunction(const char* name) const {
  if (handle_ == nullptr) {
    return nullptr;
  }
#if defined(_WIN32)
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
#else
  return dlsym(handle_, name);
#endif
}

bool ModuleLibrary::Holds(const void* address) const {
#if defined(_WIN32)
  HMODULE holder = nullptr;
  return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<const wchar_t*>(address), &holder) != 0 &&
         holder == handle_;
#else
  Dl_info info;
  if (dladdr(address, &info) == 0) {
    return false;
  }
  void* const holder = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  if (holder != nullptr) {
    dlclose(holder);  // the count, not the library
  }
  return holder != nullptr && holder == handle_;
#endif
}

bool ModuleLibrary::IsRegistered() const {
  const auto isFromHere = [this](const auto& object) { return object && Holds(&typeid(*object)); };
  for (const std::shared_ptr<Command>& command : CommandManager::Instance().GetCommands()) {
    if (isFromHere(command)) {
      return true;
    }
  }
  for (const std::shared_ptr<SceneReader>& reader : SceneExchangeManager::Instance().GetReaders()) {
    if (isFromHere(reader)) {
      return true;
    }
  }
  const StreamModelLoaderFactory& loaders = StreamModelLoaderFactory::Instance();
  for (const std::string& key : loaders.GetKeys()) {
    if (isFromHere(loaders.Create(key))) {
      return true;
    }
  }
  return false;
}

}  // namespace mirel
