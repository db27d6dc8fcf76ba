#pragma once

#include <Programs/mirel/ExitCode.h>
#include <Programs/mirel/Save/TemporaryFolder.h>

#include <optional>
#include <string>

namespace mirel {

class Console;

/// The model folder that a verb works on, given what a user names: a model folder, its index file, a tar archive of one, or a
/// file that `mirel save` reads. Such a file is converted, and an archive unpacked, into a folder that goes with this object.
class InputFolder {
 public:
  /// What a user may name, for the help of verbs.
  static constexpr const char* kWhatIsRead =
      "Model folder, its index file, a tar archive of one, or a file that save reads";

  /// What a model is called after the file or folder that it is in: the last part of the path.
  static std::string GetName(const std::string& input);

  /// `kDone`, or, after a message, why the file cannot be converted or unpacked. A folder is not looked at.
  ExitCode Prepare(Console& console, const std::string& input);

  /// The folder, or its index file.
  const std::string& GetPath() const { return path_; }

 private:
  ExitCode Unpack(Console& console, const std::string& archive);

  std::string path_;
  std::optional<TemporaryFolder> made_;
};

}  // namespace mirel
