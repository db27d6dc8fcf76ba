#pragma once

#include <string>

namespace mirel {

/// A shared library that is loaded at run time, as a viewer loads its plug-ins: its load-time initialisers put
/// what it has to offer into the host's registries.
///
/// It is never unloaded, since the registries keep objects whose code lies in it. A file that the process has
/// loaded already is not loaded again, and a copy of it is a library of its own. May be made on any thread.
class ModuleLibrary {
 public:
  /// Loads the file at a narrow path (UTF-8), which is a path from the current folder, not a name to search
  /// for.
  explicit ModuleLibrary(const std::string& path);

  /// Why it could not be loaded, in the words of the system where they are its own; empty when it is loaded.
  const std::string& GetError() const { return error_; }

  /// The address of what the library exports under a name of C linkage, to be cast to its type; null when there is no
  /// such thing or no library.
  void* FindFunction(const char* name) const;

  /// True when something that is registered with the host comes from this library: a command, a scene reader or
  /// a stream model loader whose class is defined in it.
  bool IsRegistered() const;

 private:
  bool Holds(const void* address) const;

  void* handle_ = nullptr;
  std::string error_;
};

}  // namespace mirel
