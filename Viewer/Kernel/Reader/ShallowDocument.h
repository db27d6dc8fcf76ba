#pragma once

#include <Viewer/Kernel/Model/LiteLimits.h>

#include <rapidjson/document.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace mirel {

/// A document that holds no object or array deeper than they may nest, but null in its place: whoever walks through it may
/// recurse. Text may nest to any depth, in members that nobody knows for one.
///
/// It converts numbers itself, and rounds them correctly, so that a placement does not drift each time a model is loaded
/// and saved. The parser's own conversion to full precision makes large numbers of some zeros (0e-30).
class ShallowDocument : public rapidjson::Document {
 public:
  /// Parses text up to its first NUL character. False when it is no JSON. The document keeps the
  /// text, because its strings stay where they stand there.
  bool ParseText(std::string text) {
    text_ = std::move(text);
    // The parser recurses, unless it is told to take a third longer.
    constexpr unsigned int kFlags = rapidjson::kParseInsituFlag | rapidjson::kParseNumbersAsStringsFlag;
    constexpr unsigned int kDeepFlags = kFlags | rapidjson::kParseIterativeFlag;
    const bool nestsDeep = NestsDeep(text_.c_str());
    rapidjson::ParseResult result;
    auto parse = [&](rapidjson::Document&) {
      rapidjson::InsituStringStream stream(text_.data());
      result = nestsDeep ? rapidjson::Reader().Parse<kDeepFlags>(stream, *this)
                         : rapidjson::Reader().Parse<kFlags>(stream, *this);
      return !result.IsError();
    };
    Populate(parse);
    errorOffset_ = result.Offset();
    return !result.IsError();
  }
  /// Of text that is no JSON: where it goes wrong, in bytes.
  std::size_t GetErrorOffset() const { return errorOffset_; }

  // The parser's events.
  bool StartObject() {
    if (++depth_ <= kMaxIndexDepth) return rapidjson::Document::StartObject();
    return depth_ > kMaxIndexDepth + 1 || rapidjson::Document::Null();
  }
  bool StartArray() {
    if (++depth_ <= kMaxIndexDepth) return rapidjson::Document::StartArray();
    return depth_ > kMaxIndexDepth + 1 || rapidjson::Document::Null();
  }
  bool EndObject(rapidjson::SizeType members) {
    return depth_-- > kMaxIndexDepth || rapidjson::Document::EndObject(members);
  }
  bool EndArray(rapidjson::SizeType elements) {
    return depth_-- > kMaxIndexDepth || rapidjson::Document::EndArray(elements);
  }
  bool Null() { return IsTooDeep() || rapidjson::Document::Null(); }
  bool Bool(bool value) { return IsTooDeep() || rapidjson::Document::Bool(value); }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    return IsTooDeep() || rapidjson::Document::Key(text, length, copy);
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) {
    return IsTooDeep() || rapidjson::Document::String(text, length, copy);
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    if (IsTooDeep()) return true;
    const char* const end = text + length;
    if (length <= kMaxShortNumber && TakeShort(text, end)) return true;
    if (*text == '-') {
      std::int64_t integer = 0;
      if (IsWhole(std::from_chars(text, end, integer), end)) return Int64(integer);
    } else {
      std::uint64_t integer = 0;
      if (IsWhole(std::from_chars(text, end, integer), end)) return Uint64(integer);
    }
    return Double(ReadReal(text, end));
  }

 private:
  /// Whether text nests deeper than is read, up to where it stops being JSON.
  static bool NestsDeep(const char* text) {
    int depth = 0;
    for (const char* next = text; *next != '\0'; ++next) {
      if (*next == '[' || *next == '{') {
        if (++depth > kMaxIndexDepth) return true;
      } else if (*next == ']' || *next == '}') {
        --depth;
      } else if (*next == '"') {
        while (*++next != '"') {
          if (*next == '\\') ++next;
          if (*next == '\0') return false;
        }
      }
    }
    return false;
  }

  bool IsTooDeep() const { return depth_ > kMaxIndexDepth; }

  // Numbers of at most 15 digits and a point: the digits and the power of ten are exact as doubles, so that one division
  // rounds correctly. Nearly all numbers are so short.
  static constexpr rapidjson::SizeType kMaxShortNumber = 16;

  /// False when it is not that simple.
  bool TakeShort(const char* text, const char* end) {
    static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool isNegative = *text == '-';
    const char* point = nullptr;
    std::uint64_t digits = 0;
    for (const char* next = text + isNegative; next != end; ++next) {
      const auto digit = static_cast<unsigned>(*next - '0');
      if (digit <= 9)
        digits = 10 * digits + digit;
      else if (*next == '.')
        point = next;
      else
        return false;
    }
    if (point) {
      const double value = static_cast<double>(digits) / kPowers[end - point - 1];
      Double(isNegative ? -value : value);
    } else if (isNegative) {
      Int64(-static_cast<std::int64_t>(digits));
    } else {
      Uint64(digits);
    }
    return true;
  }

  static bool IsWhole(const std::from_chars_result& result, const char* end) {
    return result.ec == std::errc() && result.ptr == end;
  }

  /// What is too large for a double is infinite, as with the parser's own conversion; the parser has refused what is
  /// beyond that.
  static double ReadReal(const char* text, const char* end) {
    double value = 0.0;
    if (std::from_chars(text, end, value).ec != std::errc::result_out_of_range) return value;
    // Too large, or too close to 0: the power of ten of its first digit other than 0 says which.
    const char* const exponent = std::find_if(text, end, [](char c) { return c == 'e' || c == 'E'; });
    const char* const point = std::find(text, exponent, '.');
    const char* const first = std::find_if(text, exponent, [](char c) { return c >= '1' && c <= '9'; });
    std::int64_t power = 0;
    if (exponent != end &&
        std::from_chars(exponent + (exponent[1] == '+' ? 2 : 1), end, power).ec != std::errc())
      return 0.0;  // an exponent of so many digits is negative
    if (power + (point - first) <= 0) return 0.0;
    return *text == '-' ? -HUGE_VAL : HUGE_VAL;
  }

  std::string text_;
  int depth_ = 0;
  std::size_t errorOffset_ = 0;
};

}  // namespace mirel
