#pragma once

#include <optional>
#include <string>
#include <vector>

namespace mirel {

/// Finds the one thing of a model that a user calls by its id or its name. No state.
class IdSearch {
 public:
  struct Called {
    unsigned long long id;
    const std::string* name;  ///< not owned
  };

  /// The id, if it is that of something, or else of what has the name. Nothing when none or several different things are
  /// called so; then `error` says so.
  static std::optional<unsigned long long> Find(const std::string& text, const std::vector<Called>& all,
                                                std::string& error);
};

}  // namespace mirel
