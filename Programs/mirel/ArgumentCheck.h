#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mirel {

/// Checks of values on the command line that say in words what is expected. For `CLI::Option::check`: each returns what is
/// wrong with the text, or nothing.
class ArgumentCheck {
 public:
  /// A whole number from 0 on that fits into 64 bits.
  static std::string IsCount(const std::string& text);
  /// The same, but not 0.
  static std::string IsPositiveCount(const std::string& text);
  /// A number of seconds above 0, up to a million.
  static std::string IsSeconds(const std::string& text);

  /// Makes checks: a whole number from `least` to `most`, and one of these words.
  static std::function<std::string(const std::string&)> IsCountBetween(std::uint64_t least,
                                                                       std::uint64_t most);
  static std::function<std::string(const std::string&)> IsOneOf(std::vector<std::string> words);
};

}  // namespace mirel
