#include <Fuzz/Support/Mutate.h>

#include <Fuzz/Support/FuzzCheck.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace mirel::fuzz {

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

std::vector<std::string> Split(const std::string& words) {
  std::vector<std::string> split;
  for (const Range& word : FindTokens(words, " "))
    split.push_back(Cut(words, word));
  return split;
}

std::string MutateNumber(const std::string& old, Random& random) {
  static const std::vector<std::string> kNumbers =
      Split("0 -0 1 -1 0.5 2 3 7 25 26 100 1000 65536 2147483647 -2147483648 4294967295 4294967296 "
            "1e-300 1e-100 1e-17 1e-12 1e-09 1e-07 -1e-07 1e-05 1e+06 1e+07 -1e+07 1e+09 "
            "10000000000 -1e+11 1e+13 1e+15 -1e+18 1e+20 1e+38 -1e+60 1e+100 -1e+100 2e+100 -2e+100 1e+154 "
            "1e+308 1e999 nan inf "
            "1.5707963267949 3.1415926535897931 6.2831853071795862 62.8318530717959 62831.8530717959");
  const double value = std::strtod(old.c_str(), nullptr);
  const auto print = [](double number, int digits = 17) {
    char text[40];
    std::snprintf(text, sizeof text, "%.*g", digits, number);
    return std::string(text);
  };
  const auto pickPower = [&](int least, std::size_t count) {
    return std::pow(10.0, least + static_cast<int>(Pick(random, count)));
  };
  switch (Pick(random, 10)) {
  case 0:
    return print(-value);
  case 1:
    return print(std::nextafter(value, Pick(random, 2) == 0 ? 1e300 : -1e300));
  case 2:
    return print(value * pickPower(-6, 13), 15);
  case 3:
    return print(value * (1.0 + pickPower(-15, 15)));
  case 4:
    return print(value + 6.283185307179586 * (static_cast<double>(Pick(random, 7)) - 3.0), 15);
  case 5:
    return print(value + (static_cast<double>(Pick(random, 2001)) - 1000.0) / 100.0, 15);
  case 6:
  case 7:  // one more or less, with its sign if that is "+"
    if (old.size() < 9 && old.find_first_not_of("+-0123456789") == std::string::npos)
      return (old[0] == '+' ? "+" : "") +
             std::to_string(std::lround(value) + (Pick(random, 2) == 0 ? 1 : -1));
    [[fallthrough]];
  default:
    return kNumbers[Pick(random, kNumbers.size())];
  }
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
    std::size_t at = Pick(random, words.size());
    if (random() % 4 == 0) {  // back to the count behind a heading
      while (at > 1 && (words[at - 1].end - words[at - 1].begin < 6 || text[words[at - 1].begin] <= '9'))
        --at;
    }
    const Range word = words[at];
    out.replace(word.begin, word.end - word.begin, MutateNumber(Cut(text, word), random));
    break;
  }
  }
  return out;
}

}  // namespace mirel::fuzz
