#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mirel {

/// Words that go with a number.
class Plural {
 public:
  /// The text for so many: of each word that is written as "body|bodies" the first form for 1, else the second.
  static std::string Choose(std::string_view text, std::uint64_t count);

  /// The number before it: "1 body", "2 bodies".
  static std::string Count(std::uint64_t count, std::string_view text);
};

}  // namespace mirel
