#pragma once

#include <Programs/mirel/Import/ReadAssembly.h>
#include <Programs/mirel/Import/SourceFile.h>

#include <string>

namespace mirel {

/// The library that reads assembly files of one format, loaded from its place beside the program. See
/// `MirelReadAssembly`.
class ImportLibrary {
 public:
  /// Loads it; the second time in a process that is quick.
  explicit ImportLibrary(SourceFile::Format format);

  /// Why files of the format cannot be read, for the user; empty when they can.
  const std::string& GetError() const { return error_; }

  /// Does what `MirelReadAssembly` says; only without an error.
  void Read(const SourceFile& file, StageProgress& progress, LiteModel& model, ImportResult& result) const {
    read_(file, progress, model, result);
  }

 private:
  decltype(&MirelReadAssembly) read_ = nullptr;
  std::string error_;
};

}  // namespace mirel
