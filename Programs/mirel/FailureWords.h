#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

/// What a failure in the log means for a person. The module says in a few fixed words that something is missing ("Buffer is
/// null!"), and in the notices before it what and why.
class FailureWords {
 public:
  struct Line {
    std::string file;
    std::string text;      ///< the item, the reason, what is lost and what can be done
    std::size_t told = 0;  ///< how many of the last notices it tells
    /// How much of the text, from its beginning on, names the item; 0 when it is about the file.
    std::size_t itemSize = 0;
  };

  /// The line for a failure of a model that is opened from `subject`, a path or the name of a stream. None when the failure
  /// says all there is.
  static std::optional<Line> Explain(const std::string& failure, const std::vector<std::string>& notices,
                                     const std::string& subject);
};

}  // namespace mirel
