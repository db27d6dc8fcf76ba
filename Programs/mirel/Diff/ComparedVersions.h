#pragma once

#include <Programs/mirel/ExitCode.h>

#include <memory>
#include <string>

namespace mirel {

class Changes;
class Console;

/// Two versions of a model, opened, and what is different between them.
class ComparedVersions {
 public:
  ComparedVersions();
  ~ComparedVersions();

  /// Opens both and compares them; the paths are what `InputFolder` takes. `kDone`, or the exit code after a message.
  ExitCode Open(Console& console, const std::string& older, const std::string& newer);

  /// Whether all of both could be read.
  bool IsComplete() const;
  /// Lives as long as the comparison.
  const Changes& GetChanges() const;
  /// The model folders of both: what was given, or what it was converted to.
  const std::string& GetOldFolder() const;
  const std::string& GetNewFolder() const;

 private:
  class Version;
  struct Findings;

  std::unique_ptr<Version> older_, newer_;
  std::unique_ptr<Findings> findings_;
};

}  // namespace mirel
