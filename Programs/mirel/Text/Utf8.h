#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mirel {

/// Text that comes from files made by others: nothing about it may be taken for granted. Thread safe: no
/// state.
class Utf8 {
 public:
  /// One decoded character.
  struct Character {
    char32_t code;       ///< the Unicode scalar value; meaningless when `length` bytes are not valid UTF-8
    std::size_t length;  ///< how many bytes it takes, at least 1
    bool valid;
  };

  /// Decodes the character at `at`, which must lie inside `text`. An invalid byte is a character of length 1.
  static Character Decode(std::string_view text, std::size_t at);

  /// Appends a scalar value; anything that is none (a surrogate, beyond U+10FFFF) becomes U+FFFD.
  static void Append(std::string& out, char32_t code);

  /// The text with every invalid byte replaced by U+FFFD.
  static std::string MakeValid(std::string_view text);

  /// UTF-16 as UTF-8. Lone surrogates and NUL, which would cut the text short in a file, become U+FFFD.
  static std::string FromUtf16(std::u16string_view text);

  /// True for what must not reach a terminal as it is: C0 and C1 controls, DEL, line and paragraph separators
  /// and the characters that switch the direction of text.
  static bool IsControl(char32_t code);

  /// Appends `text` for a terminal: controls as \n, \t, \u{1b} and so on, a backslash doubled, invalid bytes
  /// as \xff.
  static void AppendPrintable(std::string& out, std::string_view text);
  static std::string Printable(std::string_view text);

  /// `text` as it may reach a terminal, whatever is in it: controls and invalid bytes as above, a backslash as it is. So
  /// text that has been made printable stays as it is. Line ends stay too if `isLines`, when the text consists of lines.
  static std::string ForTerminal(std::string_view text, bool isLines);

  /// Appends `text` for a terminal between quotation marks; those within are escaped.
  static void AppendQuoted(std::string& out, std::string_view text);

  /// Appends `text` as a JSON string with its quotation marks: valid JSON for any bytes, controls escaped,
  /// invalid bytes as U+FFFD, all other characters as they are.
  static void AppendJson(std::string& out, std::string_view text);
};

}  // namespace mirel
