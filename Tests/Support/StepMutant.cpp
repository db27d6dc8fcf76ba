#include <Tests/Support/StepMutant.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <random>
#include <vector>

namespace mirel {

namespace {

class Mutant {
 public:
  Mutant(const std::string& text, unsigned int number) : text_(text), random_(number) {}

  std::string Make() {
    for (std::size_t changes = Pick(4) == 0 ? 1 + Pick(8) : 1; changes > 0; --changes)
      Change();
    return text_;
  }

 private:
  std::size_t Pick(std::size_t count) { return count == 0 ? 0 : random_() % count; }

  // The next place, from anywhere in the data on, where one of the characters stands; the end when there is none.
  std::size_t Find(const char* characters) {
    const std::size_t data = std::min(text_.find("DATA;"), text_.size());
    return std::min(text_.find_first_of(characters, data + Pick(text_.size() - data)), text_.size());
  }
  std::size_t SpanOf(std::size_t at, const std::function<bool(char)>& belongs) const {
    std::size_t end = at;
    while (end < text_.size() && belongs(text_[end]))
      ++end;
    return end - at;
  }
  void Replace(std::size_t at, std::size_t count, const std::string& by) {
    if (at < text_.size()) text_.replace(at, count, by);
  }

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  static bool IsOfNumber(char c) { return IsDigit(c) || c == '.' || c == 'E' || c == '-' || c == '+'; }
  static bool IsOfType(char c) { return (c >= 'A' && c <= 'Z') || c == '_' || IsDigit(c); }

  std::string AnyReference() {
    const std::size_t at = Find("#");
    return at == text_.size() ? "#1" : text_.substr(at, 1 + SpanOf(at + 1, IsDigit));
  }
  // An entity from "#" to its line end.
  std::pair<std::size_t, std::size_t> AnyEntity() {
    const std::size_t before = Find("\n");
    const std::size_t at = std::min(text_.find("\n#", before), text_.size());
    const std::size_t end = std::min(text_.find(";", at), text_.size());
    return {at, std::min(end + 1, text_.size()) - at};
  }
  std::string AnyType() {
    const std::size_t at = std::min(text_.find('=', Find("\n")), text_.size() - 1) + 1;
    return text_.substr(at, SpanOf(at, [](char c) { return IsOfType(c) || c == ' '; }));
  }

  void ChangeNumber() {
    static const char* const kNumbers[] = {
        "0.",  "-1.", "1.",     "1E300", "-1E300", "1E-300",     "1E308",  "1E9999", "1E15",   "1E-15",
        "0.5", "6.3", "100000", "-7",    "2",      "2147483647", "1.E+07", "-0.",    "1.E-07", "1000000"};
    std::size_t at = Find("0123456789");
    while (at > 0 && IsOfNumber(text_[at - 1]))
      --at;
    if (at > 0 && text_[at - 1] == '#') return ChangeReference();
    Replace(at, SpanOf(at, IsOfNumber), kNumbers[Pick(std::size(kNumbers))]);
  }
  void ChangeReference() {
    const std::size_t at = Find("#");
    static const char* const kOdd[] = {"#0", "#999999999", "$", "*", "1.5", "'x'", ".T.", "()"};
    Replace(at, 1 + SpanOf(at + 1, IsDigit), Pick(6) == 0 ? kOdd[Pick(std::size(kOdd))] : AnyReference());
  }
  void ChangeParameter() {
    const std::size_t at = Find(",");
    const std::size_t end = std::min(text_.find_first_of(",)", std::min(at + 1, text_.size())), text_.size());
    static const char* const kOdd[] = {"",    ",$",  ",*", ",(#1,#2)", ",()", ",.UNSPECIFIED.",
                                       ",''", ",-1", ",0"};
    Replace(at, end - at, kOdd[Pick(std::size(kOdd))]);
  }
  void ChangeList() {
    const std::size_t at = Find("(");
    const std::size_t comma = std::min(text_.find(',', at), text_.size());
    switch (Pick(3)) {
    case 0:
      return Replace(at, 1, "((");
    case 1:
      return Replace(comma, 1, std::string(1 + Pick(2000), ','));
    default: {
      const std::string item = text_.substr(at, comma - at);
      std::string many;
      for (std::size_t i = Pick(3000); i > 0; --i)
        many += "," + item.substr(std::min<std::size_t>(1, item.size()));
      return Replace(comma, 0, many);
    }
    }
  }
  void ChangeEntity() {
    const auto [at, size] = AnyEntity();
    const auto [other, otherSize] = AnyEntity();
    switch (Pick(4)) {
    case 0:
      return Replace(at, size, "");
    case 1:
      return Replace(at, 0, text_.substr(other, otherSize));
    case 2:
      return Replace(at, size, text_.substr(other, otherSize));
    default: {  // the content of another one under its own number
      const std::size_t own = text_.find('=', at);
      const std::size_t others = text_.find('=', other);
      if (own < at + size && others < other + otherSize)
        Replace(own, at + size - own, text_.substr(others, other + otherSize - others));
    }
    }
  }
  void Change() {
    switch (Pick(16)) {
    case 0: {
      const std::size_t at = Pick(text_.size());
      return Replace(at, 1, std::string(Pick(3), static_cast<char>(Pick(256))));
    }
    case 1:
      return Replace(Pick(8) == 0 ? Pick(text_.size()) : text_.size(), std::string::npos, "");
    case 2: {
      const std::size_t at = std::min(text_.find('=', Find("\n")), text_.size() - 1) + 1;
      return Replace(at, SpanOf(at, IsOfType), AnyType());
    }
    case 3:
      return ChangeParameter();
    case 4:
      return ChangeList();
    case 5:
    case 6:
      return ChangeEntity();
    case 7:
    case 8:
    case 9:
    case 10:
      return ChangeReference();
    default:
      return ChangeNumber();
    }
  }

  std::string text_;
  std::mt19937 random_;
};

}  // namespace

std::string MakeStepMutant(const std::string& text, unsigned int number) {
  return Mutant(text, number).Make();
}

}  // namespace mirel
