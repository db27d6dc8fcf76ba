#include <Programs/mirel/Import/Part21/SectionScanner.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace mirel {

namespace {

enum CharacterClass : unsigned char {
  kDigit = 1,
  kUpper = 2,
  kLower = 4,
  kLetter = kUpper | kLower,
  kBlank = 8,
  kHexadecimal = 16
};

constexpr std::array<unsigned char, 256> MakeClasses() {
  std::array<unsigned char, 256> classes{};
  for (int c = '0'; c <= '9'; ++c)
    classes[c] = kDigit | kHexadecimal;
  for (int c = 'A'; c <= 'Z'; ++c)
    classes[c] = kUpper;
  for (int c = 'A'; c <= 'F'; ++c)
    classes[c] |= kHexadecimal;
  for (int c = 'a'; c <= 'z'; ++c)
    classes[c] = kLower;
  classes['_'] = kUpper;
  for (const char c : {' ', '\t', '\n', '\r'})
    classes[c] = kBlank;
  return classes;
}

constexpr std::array<unsigned char, 256> kClasses = MakeClasses();

bool Is(char c, unsigned classes) {
  return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

char* Skip(char* at, unsigned classes) {
  while (Is(*at, classes))
    ++at;
  return at;
}

// The letters of a word are those of `upper`, small or capital.
bool StartsWithWord(const char* text, const char* upper) {
  for (; *upper != '\0'; ++text, ++upper) {
    const char c = Is(*text, kLower) ? static_cast<char>(*text - 'a' + 'A') : *text;
    if (c != *upper) {
      return false;
    }
  }
  return true;
}

// Lists are counted in decimal digits, in a buffer of ten bytes.
constexpr std::uint32_t kMaxLists = 9'999'999;

}  // namespace

SectionScanner::SectionScanner(char* begin, char* end) : at_(begin), end_(end) {
  section_.text = begin;
}

std::uint32_t SectionScanner::OffsetOf(const char* token) const {
  return static_cast<std::uint32_t>(token - section_.text);
}

// The next character that is neither blank nor in a comment; 0 at the end.
char SectionScanner::Next() {
  for (;;) {
    at_ = Skip(at_, kBlank);
    const char c = *at_;
    if (c == '\0') {
      return '\0';
    }
    ++at_;
    if (c != '/') {
      return c;
    }
    if (!SkipComment()) {
      return '\0';
    }
  }
}

// The same behind a token, which a zero byte ends from now on.
char SectionScanner::NextBehind(char* tokenEnd) {
  const char c = *tokenEnd;
  if (c == '\0' || tokenEnd - token_ > kMaxTokenBytes) {
    return '\0';
  }
  *tokenEnd = '\0';
  at_ = tokenEnd + 1;
  if (Is(c, kBlank)) {
    return Next();
  }
  if (c == '/') {
    return SkipComment() ? Next() : '\0';
  }
  return c;
}

// Behind the slash that begins a comment.
bool SectionScanner::SkipComment() {
  if (*at_ != '*') {
    return false;
  }
  const char* const limit = at_ + std::min(end_ - at_, kMaxTokenBytes);
  for (char* star = at_ + 1; star < limit; ++star) {
    star = static_cast<char*>(std::memchr(star, '*', static_cast<std::size_t>(limit - star)));
    if (star == nullptr) {
      return false;
    }
    if (star[1] == '/') {
      at_ = star + 2;
      return at_ <= end_;
    }
  }
  return false;
}

// The rest of a word whose first letter was read.
bool SectionScanner::TakeWord(const char* rest) {
  if (!StartsWithWord(at_, rest)) {
    return false;
  }
  at_ += std::strlen(rest);
  return true;
}

// The same, with the number of a standard and a semicolon behind it.
bool SectionScanner::TakeWordWithNumbers(const char* rest) {
  if (!TakeWord(rest)) {
    return false;
  }
  const char* const begin = at_;
  while (Is(*at_, kDigit) || *at_ == '-') {
    ++at_;
  }
  return at_ - begin < kMaxTokenBytes && *at_++ == ';';
}

bool SectionScanner::ScanHeader() {
  char c = Next();
  if ((c != 'I' && c != 'i') || !TakeWordWithNumbers("SO")) {
    return false;
  }
  c = Next();
  if ((c != 'H' && c != 'h') || !TakeWord("EADER;")) {
    return false;
  }
  for (c = Next(); (c != 'E' && c != 'e') || !TakeWord("NDSEC;"); c = Next()) {
    Part21Record record{Part21Record::Kind::kPart, 0, 0, 0};
    if (!ScanKeyword(c, record.keyword) || !ScanParameters(record) || Next() != ';') {
      return false;
    }
  }
  c = Next();
  return !section_.records.empty() && (c == 'D' || c == 'd') && TakeWord("ATA;");
}

bool SectionScanner::ScanEntities() {
  for (;;) {
    const char c = Next();
    if (c == '#') {
      if (at_ > end_) {
        return true;
      }
      if (!ScanEntity()) {
        return false;
      }
    } else if ((c == 'E' || c == 'e') && TakeWord("NDSEC;")) {
      const char last = Next();
      isStructureEnd_ = (last == 'E' || last == 'e') && TakeWordWithNumbers("ND-ISO");
      return isStructureEnd_;
    } else {
      return false;
    }
  }
}

// Behind the # of its name.
bool SectionScanner::ScanEntity() {
  char* const name = at_ - 1;
  char* const nameEnd = Skip(at_, kDigit);
  char* equals = nameEnd;
  while (*equals == ' ' || *equals == '\t') {
    ++equals;
  }
  if (nameEnd == at_ || *equals != '=' || equals - name > kMaxTokenBytes) {
    return false;
  }
  *nameEnd = '\0';
  at_ = equals + 1;

  Part21Record record{Part21Record::Kind::kEntity, OffsetOf(name), 0, 0};
  char c = Next();
  if (c != '(') {
    return ScanKeyword(c, record.keyword) && ScanParameters(record) && Next() == ';';
  }
  for (c = Next(); c != ')' || record.kind == Part21Record::Kind::kEntity; c = Next()) {
    if (!ScanKeyword(c, record.keyword) || !ScanParameters(record)) {
      return false;
    }
    record.kind = Part21Record::Kind::kPart;
    record.name = 0;
  }
  return Next() == ';';
}

// A keyword whose first character was read, and the parenthesis behind it.
bool SectionScanner::ScanKeyword(char first, std::uint32_t& keyword) {
  token_ = at_ - 1;
  if (!Is(first, kLetter) && (first != '!' || !Is(*at_, kLetter | kDigit))) {
    return false;
  }
  char* const tokenEnd = Skip(at_, kLetter | kDigit);
  if (tokenEnd - token_ == 8 && StartsWithWord(token_, "ENDSCOPE")) {
    return false;
  }
  keyword = OffsetOf(token_);
  return NextBehind(tokenEnd) == '(';
}

// Behind the opening parenthesis. A list becomes a record when it ends, so that it comes before the one that it is in.
bool SectionScanner::ScanParameters(const Part21Record& record) {
  listCount_ = 0;
  openLists_.clear();
  values_.clear();
  char c = Next();
  bool mayEnd = true;
  for (;;) {
    if (c == ')' && mayEnd) {
      if (openLists_.empty()) {
        AddRecord(record, 0);
        return true;
      }
      EndList();
      c = Next();
    } else if (c == '(' || c == '!' || Is(c, kLetter)) {
      if (!BeginList(c)) {
        return false;
      }
      c = Next();
      mayEnd = true;
      continue;
    } else {
      c = ScanValue(c);
    }
    if (c == ',') {
      c = Next();
      mayEnd = false;
    } else if (c == ')') {
      mayEnd = true;
    } else {
      return false;
    }
  }
}

// A list within others, or a typed parameter, which is one with a keyword.
bool SectionScanner::BeginList(char first) {
  OpenList list{++listCount_, Part21Record::kNoKeyword, values_.size()};
  openLists_.push_back(list);
  return listCount_ <= kMaxLists && (first == '(' || ScanKeyword(first, openLists_.back().keyword));
}

void SectionScanner::EndList() {
  const OpenList list = openLists_.back();
  openLists_.pop_back();
  AddRecord({Part21Record::Kind::kList, list.number, list.keyword, 0}, list.firstValue);
  values_.push_back({Part21Parameter::Kind::kList, list.number});
  section_.listCount = std::max(section_.listCount, list.number);
}

void SectionScanner::AddRecord(Part21Record record, std::size_t firstValue) {
  const auto first = values_.begin() + static_cast<std::ptrdiff_t>(firstValue);
  section_.parameters.insert(section_.parameters.end(), first, values_.end());
  values_.erase(first, values_.end());
  record.parametersEnd = static_cast<std::uint32_t>(section_.parameters.size());
  section_.records.push_back(record);
}

// A value whose first character was read; returns the next character behind it.
char SectionScanner::ScanValue(char first) {
  token_ = at_ - 1;
  switch (first) {
  case '#':
    return ScanReference();
  case '\'':
    return ScanString();
  case '.':
    return ScanEnumeration();
  case '"':
    return ScanBinary();
  case '$':
    values_.push_back({Part21Parameter::Kind::kOmitted, 0});
    return Next();
  case '*':
    values_.push_back({Part21Parameter::Kind::kDerived, 0});
    return Next();
  default:
    return ScanNumber();
  }
}

char SectionScanner::ScanReference() {
  char* const tokenEnd = Skip(at_, kDigit);
  return tokenEnd == at_ ? '\0' : AddValue(Part21Parameter::Kind::kReference, tokenEnd);
}

char SectionScanner::ScanNumber() {
  char* const digits = *token_ == '+' || *token_ == '-' ? at_ : token_;
  char* at = Skip(digits, kDigit);
  if (at == digits) {
    return '\0';
  }
  if (*at != '.') {
    return AddValue(Part21Parameter::Kind::kInteger, at);
  }
  at = Skip(at + 1, kDigit);
  if (*at == 'E') {
    ++at;
    char* const exponent = *at == '+' || *at == '-' ? at + 1 : at;
    at = Skip(exponent, kDigit);
    if (at == exponent) {
      return '\0';
    }
  }
  return AddValue(Part21Parameter::Kind::kReal, at);
}

// The quotation mark is among what may stand before the comma for flex's rule of strings, but not for the grammar.
char SectionScanner::ScanString() {
  for (char* from = at_;;) {
    char* const apostrophe =
        static_cast<char*>(std::memchr(from, '\'', static_cast<std::size_t>(end_ - from)));
    if (apostrophe == nullptr) {
      return '\0';
    }
    char* behind = apostrophe + 1;
    while (*behind == ' ' || *behind == '\n' || *behind == '\r' || *behind == '"') {
      ++behind;
    }
    if (*behind == ',' || *behind == ')') {
      return behind - token_ > kMaxTokenBytes ? '\0'
                                              : AddValue(Part21Parameter::Kind::kString, apostrophe + 1);
    }
    from = apostrophe + 1;
  }
}

char SectionScanner::ScanEnumeration() {
  if (!Is(*at_, kUpper)) {
    return '\0';
  }
  char* const dot = Skip(at_, kUpper | kDigit);
  return *dot == '.' ? AddValue(Part21Parameter::Kind::kEnumeration, dot + 1) : '\0';
}

char SectionScanner::ScanBinary() {
  char* const quote = Skip(at_, kHexadecimal);
  return *quote == '"' && quote != at_ ? AddValue(Part21Parameter::Kind::kBinary, quote + 1) : '\0';
}

char SectionScanner::AddValue(Part21Parameter::Kind kind, char* tokenEnd) {
  values_.push_back({kind, OffsetOf(token_)});
  return NextBehind(tokenEnd);
}

}  // namespace mirel
