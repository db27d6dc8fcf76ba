#include <Fuzz/Support/Mutate.h>

#include <Fuzz/Support/FuzzCheck.h>

#include <algorithm>
#include <vector>

namespace mirel::fuzz {

namespace {

/// Where the tokens of a text, or its lines, begin and end.
struct Range {
  std::size_t begin, end;
};

std::vector<Range> FindTokens(const std::string& text, const char* separators) {
  std::vector<Range> tokens;
  std::size_t end = 0;
  for (;;) {
    const std::size_t begin = text.find_first_not_of(separators, end);
    if (begin == std::string::npos) return tokens;
    end = std::min(text.find_first_of(separators, begin), text.size());
    tokens.push_back({begin, end});
  }
}

std::string Cut(const std::string& text, const Range& range) {
  return text.substr(range.begin, range.end - range.begin);
}

/// A number to stand in for another one.
std::string PickNumber(const std::string& old, Random& random) {
  static const char* const kNumbers[] = {"0",
                                         "1",
                                         "2",
                                         "3",
                                         "7",
                                         "25",
                                         "26",
                                         "-1",
                                         "0.5",
                                         "-0",
                                         "1e-7",
                                         "1e-300",
                                         "10000000000",
                                         "1e10",
                                         "1.0001e10",
                                         "-1e10",
                                         "1e100",
                                         "2e100",
                                         "-2e100",
                                         "1e308",
                                         "1e999",
                                         "nan",
                                         "inf",
                                         "4294967295",
                                         "4294967296",
                                         "2147483647",
                                         "-2147483648",
                                         "6.2831853071795862",
                                         "3.1415926535897931",
                                         "65536"};
  const std::size_t kind = Pick(random, 4);
  if (kind == 0 && old.size() < 9 && old.find_first_not_of("+-0123456789") == std::string::npos) {
    const long value = std::strtol(old.c_str(), nullptr, 10) + (random() % 2 == 0 ? 1 : -1);
    return (old[0] == '+' ? "+" : "") + std::to_string(value);
  }
  if (kind == 1) return std::to_string(std::strtod(old.c_str(), nullptr) * (random() % 2 == 0 ? 1.5 : -1.0));
  return kNumbers[Pick(random, std::size(kNumbers))];
}

}  // namespace

std::size_t Pick(Random& random, std::size_t count) {
  return count == 0 ? 0 : random() % count;
}

std::uint64_t PickInteger(Random& random) {
  static constexpr int kShifts[] = {0, 1, 7, 8, 15, 16, 22, 24, 31, 32, 48, 63};
  return (std::uint64_t{1} << kShifts[Pick(random, std::size(kShifts))]) + Pick(random, 3) - 1;
}

std::string MutateBytes(const std::string& bytes, std::size_t maxSize) {
  std::vector<std::uint8_t> buffer(bytes.begin(), bytes.end());
  buffer.resize(std::max<std::size_t>({maxSize, bytes.size(), 1}));
  const std::size_t size = LLVMFuzzerMutate(buffer.data(), bytes.size(), std::max<std::size_t>(maxSize, 1));
  return std::string(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size));
}

std::size_t ReturnInput(const std::string& input, std::uint8_t* data, std::size_t size, std::size_t maxSize) {
  if (input.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::copy(input.begin(), input.end(), data);
  return input.size();
}

std::string MutateBodyText(const std::string& text, Random& random, std::size_t maxSize) {
  const bool byLine = random() % 3 == 0;
  const std::vector<Range> tokens = FindTokens(text, byLine ? "\n" : " \n\t\r");
  const std::size_t kind = Pick(random, 10);
  if (tokens.empty() || kind == 0) return MutateBytes(text, maxSize);
  const Range token = tokens[Pick(random, tokens.size())];
  const Range other = tokens[Pick(random, tokens.size())];
  std::string out = text;
  switch (kind) {
  case 1:
    out.erase(token.begin, token.end - token.begin + 1);
    break;
  case 2:
    out.insert(token.begin, Cut(text, other) + (byLine ? '\n' : ' '));
    break;
  case 3:
    out.replace(token.begin, token.end - token.begin, Cut(text, other));
    break;
  case 4:  // swap the two
    if (token.begin < other.begin) {
      out.replace(other.begin, other.end - other.begin, Cut(text, token));
      out.replace(token.begin, token.end - token.begin, Cut(text, other));
    }
    break;
  case 5:  // a long row of blanks or digits
    out.insert(token.end, 50 + Pick(random, 400), " \n0"[Pick(random, 3)]);
    break;
  default: {
    const std::vector<Range> words = FindTokens(text, " \n\t\r");
    if (words.empty()) return MutateBytes(text, maxSize);
    const Range word = words[Pick(random, words.size())];
    out.replace(word.begin, word.end - word.begin, PickNumber(Cut(text, word), random));
    break;
  }
  }
  return out;
}

}  // namespace mirel::fuzz
