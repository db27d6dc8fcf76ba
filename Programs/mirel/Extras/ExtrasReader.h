#pragma once

#include <Programs/mirel/Extras/Extras.h>

#include <functional>
#include <string>

namespace mirel {

/// Reads extras. A folder comes from anywhere: nothing that its file says is taken for granted, and no more than
/// `ExtrasWriter::kMaxBytes` of it.
class ExtrasReader {
 public:
  /// What can be wrong with something in the file; everything else is read.
  enum class Fault {
    kBadMember,      ///< of the wrong JSON type, or with a value that it cannot have: as if it were not there
    kUnknownMember,  ///< ignored
    kMemberTwice,    ///< the first one counts
    kVersion,        ///< not the one that this reader knows
  };
  using Listener = std::function<void(Fault fault, const std::string& text)>;

  /// False, with a reason, when nothing of it can be read. `listener`, which may be empty, is told of the rest.
  bool ReadFile(const std::string& path, const Listener& listener = {});
  /// The same for the bytes of the file.
  bool ReadGzip(const std::string& bytes, const Listener& listener = {});

  /// Of JSON, after `ReadFile` or `ReadGzip` failed: whether it is the JSON that is wrong, not the file.
  bool IsNoJson() const { return isNoJson_; }
  const std::string& GetError() const { return error_; }
  const Extras& GetExtras() const { return extras_; }

 private:
  bool Fail(const std::string& reason);
  bool ReadJson(std::string text, const Listener& listener);

  Extras extras_;
  std::string error_;
  bool isNoJson_ = false;
};

}  // namespace mirel
