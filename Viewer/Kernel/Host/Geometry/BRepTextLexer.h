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

#if defined(_MSC_VER)
#define MIREL_ALWAYS_INLINE __forceinline
#define MIREL_NEVER_INLINE __declspec(noinline)
#else
#define MIREL_ALWAYS_INLINE inline __attribute__((always_inline))
#define MIREL_NEVER_INLINE __attribute__((noinline))
#endif

namespace mirel {

/// Cuts BRep text into tokens and checks each as it is read. Every function that returns bool returns false
/// once the text is bad; reason and place of the first fault are then kept.
///
/// Speed rests on three things. Tokens are cut by classifying 64 bytes at once, not byte by byte; a real number
/// is judged by its digits alone, converted only where a rule needs its value; and what the writer nearly always
/// puts in a place is taken in one comparison.
class BRepTextLexer {
 public:
  /// A token where it stands, or its copy. 32 bytes may be loaded from each of its bytes.
  struct Token {
    const char* text = nullptr;
    unsigned length = 0;
    std::uint64_t others = 0;  // bit i is set when text[i] is not a digit
  };

  BRepTextLexer(const char* data, std::size_t size)
      : size_(size), base_(data), next_(data), end_(data + size) {}

  const char* Reason() const { return reason_; }
  std::size_t Offset() const { return fault_; }
  /// How far the text has been read: where the next token starts, or white space before it.
  std::size_t Position() const { return Position(next_); }
  std::size_t Remaining() const { return size_ - Position(); }

  /// Goes to the next token and counts the line ends between it and the last one.
  bool SkipBlank(unsigned& lines) {
    while (next_ != end_ && IsBlank(*next_)) {
      ++next_;
      spaces_ = 0;
    }
    lines = 0;
    const char* blank = next_;
    for (; blank != base_ && IsBlank(blank[-1]); --blank)
      lines += blank[-1] == '\n';
    return static_cast<std::size_t>(next_ - blank) <= kMaxBRepBlank ||
           Fail("White space is longer than any writer leaves it", Position(blank));
  }
  bool AtEnd() const { return next_ == end_; }

  /// A fault of the token read last, or of the entry that it ends.
  MIREL_NEVER_INLINE bool Fail(const char* reason) {
    const char* place = next_;
    while (place != base_ && IsBlank(place[-1]))
      --place;
    while (place != base_ && !IsBlank(place[-1]))
      --place;
    return Fail(reason, Position(place));
  }
  MIREL_NEVER_INLINE bool Fail(const char* reason, std::size_t position) {
    if (!reason_) {
      reason_ = reason;
      fault_ = position;
    }
    return false;
  }

  MIREL_ALWAYS_INLINE bool Next(Token& token) {
    if (spaces_ == 0 && !FindToken()) return false;
    token.text = next_;
    token.length = TrailingZeros(spaces_);
    token.others = (spaces_ - 1u) & ~(spaces_ | digits_);
    Advance(token.length);
    return true;
  }

  /// Takes `text` if it stands here, in one comparison instead of token by token: for what the writer nearly always
  /// puts in a place. It must start with a token and end in white space.
  template <unsigned kSize>
  MIREL_ALWAYS_INLINE bool Accept(const char (&text)[kSize]) {
    constexpr unsigned kLength = kSize - 1;
    if (static_cast<std::size_t>(end_ - next_) < kLength || std::memcmp(next_, text, kLength) != 0)
      return false;
    Advance(kLength);
    return true;
  }

  /// A real. What OpenCASCADE writes for "unbounded", 1e100 and more, is one like any other.
  bool Finite() {
    Token token;
    return Next(token) && (IsPlain(token) || IsTiny(token) || CheckUnusual(token, nullptr));
  }
  bool Finite(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (!Finite()) return false;
    }
    return true;
  }
  bool Finite(double& value) {
    Token token;
    return Next(token) && (IsPlain(token) ? Convert(token, value) : CheckUnusual(token, &value));
  }

  /// A component of a direction, exact to about 1e-16.
  bool Component(double& value) {
    Token token;
    if (!Next(token)) return false;
    const unsigned negative = token.text[0] == '-';
    const char* digits = token.text + negative;
    const unsigned length = token.length - negative;
    const std::uint64_t others = token.others >> negative;
    if (length == 1 && others == 0) {
      value = digits[0] - '0';
    } else if (length > 2 && others == 2 && digits[1] == '.') {
      value = digits[0] - '0' + Fraction(digits + 2, length - 2);
    } else if (IsTiny(token) && digits[1] == '.') {
      // What rounding leaves of a zero, as a rule.
      static constexpr double kPowers[] = {1e0,   1e-1,  1e-2,  1e-3,  1e-4,  1e-5,  1e-6,  1e-7,
                                           1e-8,  1e-9,  1e-10, 1e-11, 1e-12, 1e-13, 1e-14, 1e-15,
                                           1e-16, 1e-17, 1e-18, 1e-19, 1e-20, 1e-21, 1e-22, 0.0};
      const unsigned letter = TrailingZeros(others & (others - 1u));
      const auto power = LastDigits(digits + letter + 2, length - letter - 2);
      const double size = digits[0] - '0' + Fraction(digits + 2, letter - 2);
      value = size * kPowers[power < 23 ? power : 23];
    } else {
      return IsPlain(token) ? Convert(token, value) : CheckUnusual(token, &value);
    }
    value = negative ? -value : value;
    return true;
  }

  /// A real that is not negative, short of -0.
  bool NotNegative(const char* negative) {
    Token token;
    if (!Next(token)) return false;
    if (token.text[0] != '-') return IsPlain(token) || IsTiny(token) || CheckUnusual(token, nullptr);
    double value;
    return (IsPlain(token) ? Convert(token, value) : CheckUnusual(token, &value)) &&
           (value >= 0.0 || Fail(negative));
  }

  /// A whole number from 0 to `most`, which must be below 2^31.
  MIREL_ALWAYS_INLINE bool Number(std::uint32_t most, std::uint32_t& value, const char* tooLarge) {
    Token token;
    return Next(token) && ParseNumber(token, 0, most, value, tooLarge);
  }
  /// An index from 1 to `most`.
  MIREL_ALWAYS_INLINE bool Index(std::uint32_t most, std::uint32_t& value, const char* outside) {
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
  /// Takes a whole line, which may hold blanks, if it stands here.
  bool Line(const char* line) {
    const std::size_t length = std::strlen(line);
    if (Remaining() <= length || std::memcmp(next_, line, length) != 0 || next_[length] != '\n') return false;
    next_ += length;
    spaces_ = 0;
    return true;
  }
  bool Word(const char* word, const char* reason) {
    Token token;
    if (!Next(token)) return false;
    return (token.length == std::strlen(word) && std::memcmp(token.text, word, token.length) == 0) ||
           Fail(reason);
  }

  /// Whether the first seven of a token's digits are 0 or 1.
  static bool AreBinary(const Token& token) {
    return (Load(token.text) & 0x00FEFEFEFEFEFEFEu) == 0x0030303030303030u;
  }

  /// Digits of `token` from `first` on.
  MIREL_ALWAYS_INLINE bool ParseNumber(const Token& token, unsigned first, std::uint32_t most,
                                       std::uint32_t& value, const char* tooLarge) {
    const unsigned length = token.length - first;
    if ((token.others >> first) != 0 || length - 1u > 7u)
      return ParseUnusualNumber(token, first, most, value, tooLarge);
    value = static_cast<std::uint32_t>(LastDigits(token.text + first, length));
    return value <= most || Fail(tooLarge);
  }

 private:
  static constexpr unsigned kWindow = 64;
  static constexpr unsigned kMargin = 32;  // what may be loaded from the last byte of the window
  // 2^53 has 16 digits: numbers of up to 15 digits and powers of ten up to 22 convert without rounding twice.
  static constexpr unsigned kExactDigits = 15;

  static unsigned TrailingZeros(std::uint64_t bits) {
#if defined(_MSC_VER) && !defined(__clang__)
    unsigned long index = 0;
    _BitScanForward64(&index, bits);
    return index;
#else
    return static_cast<unsigned>(__builtin_ctzll(bits));
#endif
  }

  static bool IsBlank(char c) {
    return c == ' ' || c == '\n';
  }
  std::size_t Position(const char* place) const {
    return baseOffset_ + static_cast<std::size_t>(place - base_);
  }

  // The end of the text is read from a copy with zeros behind it. They are neither white space nor digits, so
  // that a token that the end cuts off is never whole.
  void MoveToTail() {
    baseOffset_ = Position();
    const auto left = static_cast<std::size_t>(end_ - next_);
    std::memset(tail_, 0, sizeof tail_);
    std::memcpy(tail_, next_, left);
    base_ = next_ = tail_;
    end_ = tail_ + left;
  }

  // Which of the next 64 bytes are white space, and which are digits.
  void Classify() {
    if (static_cast<std::size_t>(end_ - next_) < kWindow + kMargin && base_ != tail_) MoveToTail();
    spaces_ = 0;
    digits_ = 0;
#if defined(MIREL_BREP_SSE2)
    const auto mask = [](__m128i bytes) {
      return static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(bytes)));
    };
    for (unsigned i = 0; i < kWindow; i += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(next_ + i));
      const __m128i value = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
      spaces_ |= mask(_mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')),
                                   _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n'))))
                 << i;
      digits_ |= mask(_mm_cmpeq_epi8(_mm_min_epu8(value, _mm_set1_epi8(9)), value)) << i;
    }
#else
    for (unsigned i = 0; i < kWindow; ++i) {
      const std::uint64_t space = IsBlank(next_[i]);
      const std::uint64_t digit = static_cast<unsigned char>(next_[i] - '0') <= 9;
      spaces_ |= space << i;
      digits_ |= digit << i;
    }
#endif
  }

  // Goes past `length` bytes, the last of them white space or the one before it, and the white space behind them.
  MIREL_ALWAYS_INLINE void Advance(unsigned length) {
    const std::uint64_t behind = spaces_ >> length;
    const unsigned blank = TrailingZeros(~behind);
    next_ += length + blank;
    // Two shifts each: the sum need not be below 64.
    spaces_ = behind >> blank;
    digits_ = digits_ >> length >> blank;
  }

  // The next token when nothing is known of it: it starts behind next_, or its end is not within the window.
  MIREL_NEVER_INLINE bool FindToken() {
    unsigned lines;
    if (!SkipBlank(lines)) return false;
    Classify();
    if (spaces_ != 0) return true;
    return Remaining() < kWindow ? Fail("The text ends too early", size_)
                                 : Fail("A token is too long", Position());
  }

  // "12", "-0.5": digits, perhaps a sign before and a fraction behind.
  static bool IsPlain(const Token& token) {
    const unsigned negative = token.text[0] == '-';
    const std::uint64_t others = token.others & ~std::uint64_t{negative};
    const unsigned point = TrailingZeros(others | std::uint64_t{1} << token.length);
    const bool whole = point != negative;
    const bool single = (others & (others - 1u)) == 0;
    const bool fraction = point + 1 != token.length;
    const bool isPoint = (point == token.length) | (token.text[point] == '.');
    return whole & single & fraction & isPoint;
  }

  // "1e-07", "-1.5e-16": near zero, so that the value hardly ever matters.
  static bool IsTiny(const Token& token) {
    const unsigned negative = token.text[0] == '-';
    std::uint64_t others = token.others & ~std::uint64_t{negative};
    if (others == 0) return false;
    const unsigned whole = TrailingZeros(others) - negative;
    unsigned mantissa = whole + negative;  // its end
    if (token.text[mantissa] == '.') {
      others &= others - 1u;
      if (others == 0) return false;
      const unsigned point = mantissa;
      mantissa = TrailingZeros(others);
      if (mantissa - point < 2) return false;
    }
    const unsigned digits = token.length - mantissa - 2u;
    return whole != 0 && others == std::uint64_t{3} << mantissa && token.text[mantissa] == 'e' &&
           token.text[mantissa + 1] == '-' && digits - 2u < 2u;
  }

  MIREL_NEVER_INLINE bool ParseUnusualNumber(const Token& token, unsigned first, std::uint32_t most,
                                             std::uint32_t& value, const char* tooLarge) {
    const unsigned length = token.length - first;
    if ((token.others >> first) != 0 || length == 0)
      return Fail("A whole number holds something else than digits");
    if (length > 10) return Fail(tooLarge);
    std::uint64_t number = 0;
    for (unsigned i = first; i < token.length; ++i)
      number = number * 10 + static_cast<unsigned>(token.text[i] - '0');
    value = static_cast<std::uint32_t>(number);
    return number <= most || Fail(tooLarge);
  }

  // Everything else that may be a number: with an exponent.
  MIREL_NEVER_INLINE bool CheckUnusual(const Token& token, double* value) {
    const char* text = token.text;
    const char* end = text + token.length;
    const auto skipDigits = [&] {
      const char* first = text;
      while (text != end && *text >= '0' && *text <= '9')
        ++text;
      return text - first;
    };
    if (*text == '-') ++text;
    const std::ptrdiff_t whole = skipDigits();
    bool good = whole > 0;
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
    if (!good || text != end)
      return Fail(whole == 0 && (*text == 'n' || *text == 'i') ? "A number is not finite"
                                                               : "A number is not written as numbers are");
    if (tiny && !value) return true;
    double number = 0.0;
    const std::from_chars_result result = std::from_chars(token.text, end, number);
    if (result.ec == std::errc::result_out_of_range && tiny)
      number = 0.0;
    else if (result.ec != std::errc() || std::fabs(number) > kMaxBRepNumber)
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
  // What `length` digits behind a point are worth, to about 1e-16.
  static double Fraction(const char* text, unsigned length) {
    return EightDigits(text, length) * 1e-8 + (length > 8 ? EightDigits(text + 8, length - 8) * 1e-16 : 0.0);
  }
  // All of `length` digits, at most eight and at least one.
  static std::uint64_t LastDigits(const char* text, unsigned length) {
    return Combine((Load(text) & 0x0F0F0F0F0F0F0F0Fu) << (64 - 8 * length));
  }

  std::size_t size_;
  std::size_t baseOffset_ = 0;  // where base_ stands in the text
  const char* base_;            // the text, or its tail in tail_
  const char* next_;            // start of the next token, or white space before it
  const char* end_;
  std::uint64_t spaces_ = 0;  // bit i: next_[i] is white space; 0 also when nothing is known
  std::uint64_t digits_ = 0;  // bit i: next_[i] is a digit
  const char* reason_ = nullptr;
  std::size_t fault_ = 0;
  char tail_[2 * kWindow + 2 * kMargin] = {};
};

}  // namespace mirel
