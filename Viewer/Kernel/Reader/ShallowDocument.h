#pragma once

#include <Viewer/Kernel/Model/LiteLimits.h>

#include <rapidjson/document.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace mirel {

/// A document that stops its parser where objects and arrays nest deeper than they may: the parser recurses.
///
/// It converts numbers itself, and rounds them correctly, so that a placement does not drift each time a model is loaded
/// and saved. The parser's own conversion to full precision makes large numbers of some zeros (0e-30).
class ShallowDocument : public rapidjson::Document {
 public:
  /// Parses text up to its first NUL character. False when it is no JSON, or nests too deep. The document keeps the
  /// text, because its strings stay where they stand there.
  bool ParseText(std::string text) {
    text_ = std::move(text);
    rapidjson::ParseResult result;
    auto parse = [&](rapidjson::Document&) {
      rapidjson::InsituStringStream stream(text_.data());
      constexpr unsigned int kFlags = rapidjson::kParseInsituFlag | rapidjson::kParseNumbersAsStringsFlag;
      result = rapidjson::Reader().Parse<kFlags>(stream, *this);
      return !result.IsError();
    };
    Populate(parse);
    errorOffset_ = result.Offset();
    return !result.IsError();
  }
  /// Of text that is no JSON: where it goes wrong, in bytes.
  std::size_t GetErrorOffset() const { return errorOffset_; }
  bool IsTooDeep() const { return depth_ > kMaxIndexDepth; }

  // The parser's events.
  bool StartObject() { return ++depth_ <= kMaxIndexDepth && rapidjson::Document::StartObject(); }
  bool StartArray() { return ++depth_ <= kMaxIndexDepth && rapidjson::Document::StartArray(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return rapidjson::Document::EndObject(members);
  }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return rapidjson::Document::EndArray(elements);
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const char* const end = text + length;
    if (length <= kMaxShortNumber && TakeShort(text, end)) return true;
    if (*text == '-') {
      std::int64_t integer = 0;
      if (IsWhole(std::from_chars(text, end, integer), end)) return Int64(integer);
    } else {
      std::uint64_t integer = 0;
      if (IsWhole(std::from_chars(text, end, integer), end)) return Uint64(integer);
    }
    double real = 0.0;
    return ReadReal(text, end, real) && Double(real);
  }

 private:
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

  /// False when the number is too large for a double.
  static bool ReadReal(const char* text, const char* end, double& value) {
    const std::from_chars_result result = std::from_chars(text, end, value);
    if (result.ec != std::errc::result_out_of_range) return result.ec == std::errc();
    // Too large, or too close to 0: the power of ten of its first digit other than 0 says which.
    const char* const exponent = std::find_if(text, end, [](char c) { return c == 'e' || c == 'E'; });
    const char* const point = std::find(text, exponent, '.');
    const char* const first = std::find_if(text, exponent, [](char c) { return c >= '1' && c <= '9'; });
    std::int64_t power = 0;
    if (exponent != end) std::from_chars(exponent + (exponent[1] == '+' ? 2 : 1), end, power);
    if (power + (point - first) > 0) return false;
    value = 0.0;
    return true;
  }

  std::string text_;
  int depth_ = 0;
  std::size_t errorOffset_ = 0;
};

}  // namespace mirel
