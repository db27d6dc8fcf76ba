#include <Programs/mirel/ArgumentCheck.h>

#include <charconv>
#include <cstdint>
#include <system_error>
#include <utility>

namespace mirel {

namespace {

constexpr double kMostSeconds = 1e6;

template <typename Number>
bool Read(const std::string& text, Number& number) {
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

}  // namespace

std::string ArgumentCheck::IsCount(const std::string& text) {
  std::uint64_t number = 0;
  return Read(text, number) ? "" : "\"" + text + "\" is not a whole number from 0 on";
}

std::string ArgumentCheck::IsPositiveCount(const std::string& text) {
  std::uint64_t number = 0;
  return Read(text, number) && number > 0 ? "" : "\"" + text + "\" is not a whole number from 1 on";
}

std::string ArgumentCheck::IsSeconds(const std::string& text) {
  double number = 0.0;
  return Read(text, number) && number > 0.0 && number <= kMostSeconds
             ? ""
             : "\"" + text + "\" is not a number of seconds above 0, up to a million";
}

std::function<std::string(const std::string&)> ArgumentCheck::IsCountBetween(std::uint64_t least,
                                                                             std::uint64_t most) {
  return [least, most](const std::string& text) {
    std::uint64_t number = 0;
    return Read(text, number) && number >= least && number <= most
               ? ""
               : "\"" + text + "\" is not a whole number from " + std::to_string(least) + " to " +
                     std::to_string(most);
  };
}

std::function<std::string(const std::string&)> ArgumentCheck::IsOneOf(std::vector<std::string> words) {
  return [words = std::move(words)](const std::string& text) {
    std::string listed;
    for (const std::string& word : words) {
      if (text == word) {
        return std::string();
      }
      listed += (listed.empty() ? "" : ", ") + word;
    }
    return "\"" + text + "\" is none of " + listed;
  };
}

}  // namespace mirel
