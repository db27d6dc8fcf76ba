#include <Programs/mirel/Text/Plural.h>

#include <algorithm>

namespace mirel {

std::string Plural::Choose(std::string_view text, std::uint64_t count) {
  std::string chosen;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size() - 1) + 1;  // with the blank behind the word
    const std::string_view word = text.substr(0, end);
    const std::size_t bar = word.find('|');
    if (bar == std::string_view::npos) {
      chosen += word;
    } else if (count != 1) {
      chosen += word.substr(bar + 1);
    } else {
      chosen += word.substr(0, bar);
      chosen += word.back() == ' ' ? " " : "";
    }
    text.remove_prefix(end);
  }
  return chosen;
}

std::string Plural::Count(std::uint64_t count, std::string_view text) {
  return std::to_string(count) + " " + Choose(text, count);
}

}  // namespace mirel
