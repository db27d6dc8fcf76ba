#pragma once

#include <string>

namespace mirel {

/// One of the libraries that the program brings with it and loads only for what needs them, from their place beside the
/// program.
class ProgramLibrary {
 public:
  /// Loads the library of a name without folder and suffix, and looks for the one function that it exports. The second time
  /// in a process that is quick.
  ProgramLibrary(const std::string& name, const char* function);

  /// The path of the library, for messages; empty when the system does not tell where the program is.
  const std::string& GetPath() const { return path_; }

  /// Whether there is no such file; then there is an error too.
  bool IsMissing() const { return missing_; }

  /// Why it cannot be used, for the user; empty when it can.
  const std::string& GetError() const { return error_; }

  /// The function, to be cast to its type; null when there is an error.
  void* GetFunction() const { return function_; }

 private:
  std::string path_;
  std::string error_;
  bool missing_ = false;
  void* function_ = nullptr;
};

}  // namespace mirel
