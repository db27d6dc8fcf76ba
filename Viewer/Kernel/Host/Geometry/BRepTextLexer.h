#pragma once

#include <Viewer/Kernel/Host/Core/Limits.h>

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <system_error>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define MIREL_BREP_SSE2 1
#endif
#if defined(_MSC_VER)
#include <intrin.h>
#endif

namespace mirel {

/// Cuts BRep text into tokens and checks each as it is read. Every function that returns bool returns false
/// once the text is bad; reason and place of the first fault are then kept.
///
/// Speed rests on two things. A token is found by classifying 32 bytes at once, not byte by byte; and a real
/// number is judged by its digits alone, converted only where a rule needs its value.
class BRepTextLexer {
 public:
  /// A token in place, or in `tail_` when it is too near the end of the text to load 32 bytes from it.
  struct Token {
    const char* text = nullptr;
    const char* place = nullptr;  // where it stands in the text
    unsigned length = 0;
    std::uint32_t others = 0;  // bit i is set when text[i] is not a digit
  };

  BRepTextLexer(const char* data, std::size_t size)
      : begin_(data), end_(data + size), next_(data), lastTokenEnd_(data), wideEnd_(data) {
    if (size >= kWindow) wideEnd_ = end_ - kWindow + 1;
  }

  const char* Reason() const { return reason_; }
  std::size_t Offset() const { return static_cast<std::size_t>(fault_ - begin_); }
  std::size_t Remaining() const { return static_cast<std::size_t>(end_ - next_); }

  /// The next token's place, behind all white space. `lines`, if given: how many line ends the white space
  /// holds.
  const char* SkipBlank(unsigned* lines = nullptr) {
    while (next_ != end_ && (*next_ == ' ' || *next_ == '\n'))
      ++next_;
    if (lines) {
      *lines = 0;
      for (const char* blank = lastTokenEnd_; blank != next_; ++blank)
        *lines += *blank == '\n';
    }
    return next_;
  }
  bool AtEnd() { return SkipBlank() == end_; }

  bool Fail(const char* reason, const char* place) {
    if (!reason_) {
      reason_ = reason;
      fault_ = place;
    }
    return false;
  }
  /// A fault of the token read last, or of the entry that it ends.
  bool Fail(const char* reason) { return Fail(reason, lastToken_ ? lastToken_ : begin_); }

  bool Next(Token& token) {
    Window window;
    if (next_ < wideEnd_)
      window = Classify(token.text = next_);
    else
      window = ClassifyTail(token);
    if (window.spaces == 0 || (window.spaces & 1u) != 0) {
      if (!FindToken(token, window)) return false;
    }
    token.place = next_;
    token.length = TrailingZeros(window.spaces);
    token.others = ~window.digits & ((1u << token.length) - 1u);
    lastToken_ = next_;
    lastTokenEnd_ = next_ + token.length;
    next_ = lastTokenEnd_ + TrailingZeros(~(window.spaces >> token.length));
    return true;
  }

  /// One real of a table: finite and within kMaxBRepNumber.
  bool Finite() {
    Token token;
    return Next(token) && (IsPlain(token) || CheckUnusual(token, false, nullptr));
  }
  bool Finite(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (!Finite()) return false;
    }
    return true;
  }
  bool Finite(double& value) {
    Token token;
    return Next(token) && (IsPlain(token) ? Convert(token, value) : CheckUnusual(token, false, &value));
  }

  /// A real that may also stand for "unbounded".
  bool MaybeInfinite() {
    Token token;
    return Next(token) && (IsPlain(token) || CheckUnusual(token, true, nullptr));
  }
  bool MaybeInfinite(double& value) {
    Token token;
    return Next(token) && (IsPlain(token) ? Convert(token, value) : CheckUnusual(token, true, &value));
  }

  /// A component of a direction, exact to about 1e-16.
  bool Component(double& value) {
    Token token;
    if (!Next(token)) return false;
    const unsigned negative = token.text[0] == '-';
    const char* digits = token.text + negative;
    const unsigned length = token.length - negative;
    if (length > 2 && digits[1] == '.' && (token.others & ~negative) == (2u << negative)) {
      const double fraction = EightDigits(digits + 2, length - 2) * 1e-8 +
                              (length > 10 ? EightDigits(digits + 10, length - 10) * 1e-16 : 0.0);
      value = fraction + (digits[0] - '0');
      value = negative ? -value : value;
      return true;
    }
    return IsPlain(token) ? Convert(token, value) : CheckUnusual(token, false, &value);
  }

  /// A whole number from 0 to `most`, which must be below 2^31.
  bool Number(std::uint32_t most, std::uint32_t& value, const char* tooLarge) {
    Token token;
    return Next(token) && ParseNumber(token, 0, most, value, tooLarge);
  }
  /// An index from 1 to `most`.
  bool Index(std::uint32_t most, std::uint32_t& value, const char* outside) {
    if (!Number(most, value, outside)) return false;
    return value != 0 || Fail(outside);
  }
  /// `count` indices from 1 to `most`, and the largest of them.
  bool Indices(std::size_t count, std::uint32_t most, std::uint32_t& largest, const char* outside) {
    largest = 0;
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t value;
      if (!Index(most, value, outside)) return false;
      largest = value > largest ? value : largest;
    }
    return true;
  }
  bool Flag(bool& value, const char* reason) {
    std::uint32_t number;
    if (!Number(1, number, reason)) return false;
    value = number != 0;
    return true;
  }
  /// How many entries follow, each of at least `least` bytes.
  bool Count(std::size_t least, std::uint32_t& value) {
    if (!Number(0x7FFFFFFFu, value, "A count is out of range")) return false;
    return value <= Remaining() / least || Fail("A count is larger than the remaining text can hold");
  }
  /// A whole line, which may hold blanks.
  bool Line(const char* line, const char* reason) {
    const std::size_t length = std::strlen(line);
    const char* place = SkipBlank();
    if (Remaining() <= length || std::memcmp(place, line, length) != 0 || place[length] != '\n')
      return Fail(reason, place);
    next_ = lastTokenEnd_ = place + length;
    return true;
  }
  bool Word(const char* word, const char* reason) {
    Token token;
    if (!Next(token)) return false;
    return (token.length == std::strlen(word) && std::memcmp(token.text, word, token.length) == 0) ||
           Fail(reason);
  }

  /// Digits of `token` from `first` on.
  bool ParseNumber(const Token& token, unsigned first, std::uint32_t most, std::uint32_t& value,
                   const char* tooLarge) {
    const unsigned length = token.length - first;
    if ((token.others >> first) != 0 || length == 0)
      return Fail("A whole number holds something else than digits");
    if (length > 10) return Fail(tooLarge);
    std::uint64_t number = 0;
    if (length <= 8) {
      number = LastDigits(token.text + first, length);
    } else {
      for (unsigned i = first; i < token.length; ++i)
        number = number * 10 + static_cast<unsigned>(token.text[i] - '0');
    }
    value = static_cast<std::uint32_t>(number);
    return number <= most || Fail(tooLarge);
  }

 private:
  static constexpr unsigned kWindow = 32;
  // 2^53 has 16 digits: numbers of up to 15 digits and powers of ten up to 22 convert without rounding twice.
  static constexpr unsigned kExactDigits = 15;

  struct Window {
    std::uint32_t spaces;
    std::uint32_t digits;
  };

  static unsigned TrailingZeros(std::uint32_t bits) {
#if defined(_MSC_VER) && !defined(__clang__)
    unsigned long index = 32;
    _BitScanForward(&index, bits);
    return index;
#else
    return static_cast<unsigned>(__builtin_ctz(bits));
#endif
  }

  static Window Classify(const char* text) {
#if defined(MIREL_BREP_SSE2)
    const __m128i blank = _mm_set1_epi8(' ');
    const __m128i line = _mm_set1_epi8('\n');
    const __m128i zero = _mm_set1_epi8('0');
    const __m128i nine = _mm_set1_epi8(9);
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16));
    const __m128i spaceA = _mm_or_si128(_mm_cmpeq_epi8(a, blank), _mm_cmpeq_epi8(a, line));
    const __m128i spaceB = _mm_or_si128(_mm_cmpeq_epi8(b, blank), _mm_cmpeq_epi8(b, line));
    const __m128i valueA = _mm_sub_epi8(a, zero);
    const __m128i valueB = _mm_sub_epi8(b, zero);
    const __m128i digitA = _mm_cmpeq_epi8(_mm_min_epu8(valueA, nine), valueA);
    const __m128i digitB = _mm_cmpeq_epi8(_mm_min_epu8(valueB, nine), valueB);
    const auto mask = [](__m128i low, __m128i high) {
      return static_cast<std::uint32_t>(_mm_movemask_epi8(low)) |
             static_cast<std::uint32_t>(_mm_movemask_epi8(high)) << 16;
    };
    return {mask(spaceA, spaceB), mask(digitA, digitB)};
#else
    Window window{0, 0};
    for (unsigned i = 0; i < kWindow; ++i) {
      const std::uint32_t space = text[i] == ' ' || text[i] == '\n';
      const std::uint32_t digit = static_cast<unsigned char>(text[i] - '0') <= 9;
      window.spaces |= space << i;
      window.digits |= digit << i;
    }
    return window;
#endif
  }

  // Bytes behind the end count as neither blank nor digit, so that a token that the end cuts off is never
  // whole.
  Window ClassifyTail(Token& token) {
    std::memset(tail_, 0, sizeof tail_);
    std::memcpy(tail_, next_, static_cast<std::size_t>(end_ - next_));
    token.text = tail_;
    return Classify(tail_);
  }

  // The next token when it does not start at next_ or has no end within the window.
  bool FindToken(Token& token, Window& window) {
    if (static_cast<std::size_t>(SkipBlank() - lastTokenEnd_) > kMaxBRepBlank)
      return Fail("White space is longer than any writer leaves it", lastTokenEnd_);
    window = next_ < wideEnd_ ? Classify(token.text = next_) : ClassifyTail(token);
    if (window.spaces != 0) return true;
    return end_ - next_ < static_cast<std::ptrdiff_t>(kWindow) ? Fail("The text ends too early", end_)
                                                               : Fail("A token is too long", next_);
  }

  // "12", "-0.5": digits, perhaps a sign before and a fraction behind, and few enough of them before the
  // point.
  static bool IsPlain(const Token& token) {
    const std::uint32_t negative = token.text[0] == '-';
    const std::uint32_t others = token.others & ~negative;
    const unsigned point = TrailingZeros(others | (1u << token.length));
    const bool few = point - negative - 1u < kMaxBRepWholeDigits;
    const bool single = (others & (others - 1u)) == 0;
    const bool fraction = point + 1 != token.length;
    const bool isPoint = (point == token.length) | (token.text[point] == '.');
    return few & single & fraction & isPoint;
  }

  // Everything else that may be a number: with an exponent, or too large.
  bool CheckUnusual(const Token& token, bool mayBeInfinite, double* value) {
    const char* text = token.text;
    const char* end = text + token.length;
    const auto skipDigits = [&] {
      const char* first = text;
      while (text != end && *text >= '0' && *text <= '9')
        ++text;
      return text - first;
    };
    if (*text == '-') ++text;
    bool good = skipDigits() > 0;
    if (good && text != end && *text == '.') {
      ++text;
      good = skipDigits() > 0;
    }
    bool tiny = false;
    if (good && text != end && *text == 'e') {
      ++text;
      tiny = text != end && *text == '-';
      good = text != end && (*text == '-' || *text == '+');
      if (good) {
        ++text;
        const std::ptrdiff_t digits = skipDigits();
        good = digits >= 2 && digits <= 3;
      }
    }
    if (!good || text != end) return Fail("A number is not written as numbers are");
    double number = 0.0;
    const std::from_chars_result result = std::from_chars(token.text, end, number);
    if (result.ec == std::errc::result_out_of_range && tiny)
      number = 0.0;
    else if (result.ec != std::errc())
      return Fail("A number is too large");
    const double size = std::fabs(number);
    if (size > kMaxBRepNumber && !(mayBeInfinite && size >= kMinBRepInfinity && size <= kMaxBRepInfinity))
      return Fail("A number is too large");
    if (value) *value = number;
    return true;
  }

  static bool Convert(const Token& token, double& value) {
    const unsigned negative = token.text[0] == '-';
    if (token.length - negative <= kExactDigits) {
      static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                           1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
      std::uint64_t digits = 0;
      unsigned fraction = 0;
      for (unsigned i = negative; i < token.length; ++i) {
        if (token.text[i] == '.')
          fraction = token.length - i - 1;
        else
          digits = digits * 10 + static_cast<unsigned>(token.text[i] - '0');
      }
      value = static_cast<double>(digits) / kPowers[fraction];
      value = negative ? -value : value;
    } else {
      std::from_chars(token.text, token.text + token.length, value);
    }
    return true;
  }

  static std::uint64_t Load(const char* text) {
    std::uint64_t bytes;
    std::memcpy(&bytes, text, sizeof bytes);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    bytes = __builtin_bswap64(bytes);
#endif
    return bytes;
  }
  // Eight digits at once; the first stands in the lowest byte.
  static std::uint64_t Combine(std::uint64_t digits) {
    digits = digits * 10 + (digits >> 8);
    return (((digits & 0x000000FF000000FFu) * 0x000F424000000064u) +
            (((digits >> 16) & 0x000000FF000000FFu) * 0x0000271000000001u)) >>
           32;
  }
  // The first eight of `length` digits, as if zeros followed.
  static double EightDigits(const char* text, unsigned length) {
    std::uint64_t digits = Load(text) & 0x0F0F0F0F0F0F0F0Fu;
    if (length < 8) digits &= (std::uint64_t{1} << (8 * length)) - 1;
    return static_cast<double>(Combine(digits));
  }
  // All of `length` digits, at most eight and at least one.
  static std::uint64_t LastDigits(const char* text, unsigned length) {
    return Combine((Load(text) & 0x0F0F0F0F0F0F0F0Fu) << (64 - 8 * length));
  }

  const char* begin_;
  const char* end_;
  const char* next_;          // start of the next token, or white space before it
  const char* lastTokenEnd_;  // where the white space before next_ begins
  const char* wideEnd_;       // kWindow bytes may be loaded from before here
  const char* lastToken_ = nullptr;
  const char* reason_ = nullptr;
  const char* fault_ = nullptr;
  char tail_[2 * kWindow];
};

}  // namespace mirel
