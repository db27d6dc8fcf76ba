#include <Programs/mirel/Import/BRepFile.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace mirel {

namespace {

constexpr std::string_view kDrawHeader = "DBRep_DrawableShape";
constexpr std::string_view kVersion1 = "CASCADE Topology V1, (c) Matra-Datavision";
constexpr std::string_view kVersion2 = "CASCADE Topology V2, (c) Matra-Datavision";
constexpr std::string_view kVersion3 = "CASCADE Topology V3, (c) Open Cascade";
constexpr std::string_view kTriangulations = "\nTriangulations ";
constexpr std::string_view kBlanks = " \t\n";

// Walks over the tokens of a text.
class Tokens {
 public:
  Tokens(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  std::string_view Next() {
    const std::size_t begin = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
    at_ = std::min(text_.find_first_of(kBlanks, begin), text_.size());
    return text_.substr(begin, at_ - begin);
  }

  // False when the token is no number that can count tokens of this text.
  bool NextCount(std::size_t& count) {
    const std::string_view token = Next();
    const auto result = std::from_chars(token.data(), token.data() + token.size(), count);
    return result.ec == std::errc() && result.ptr == token.data() + token.size() && count <= text_.size();
  }

  bool Skip(std::size_t count) {
    for (; count > 0; --count) {
      if (Next().empty()) return false;
    }
    return true;
  }

  std::size_t GetPosition() const { return at_; }

 private:
  std::string_view text_;
  std::size_t at_;
};

// Version 3 has a flag for normals behind the flag for parameters of each triangulation.
void AddNormalFlags(std::string& text) {
  const std::size_t section = text.find(kTriangulations);
  if (section == std::string::npos) return;
  Tokens tokens(text, section + kTriangulations.size());
  std::string rewritten;
  std::size_t copied = 0;
  std::size_t count = 0;
  if (!tokens.NextCount(count)) return;
  for (; count > 0; --count) {
    std::size_t nodes = 0;
    std::size_t triangles = 0;
    std::size_t hasParameters = 0;
    if (!tokens.NextCount(nodes) || !tokens.NextCount(triangles) || !tokens.NextCount(hasParameters)) return;
    rewritten.append(text, copied, tokens.GetPosition() - copied);
    rewritten += " 0";
    copied = tokens.GetPosition();
    if (!tokens.Skip(1 + nodes * (hasParameters != 0 ? 5 : 3) + triangles * 3)) return;
  }
  rewritten.append(text, copied, std::string::npos);
  text = std::move(rewritten);
}

}  // namespace

bool BRepFile::MakeVersion3(std::string& text, std::string& reason) {
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  if (text.compare(0, kDrawHeader.size(), kDrawHeader) == 0) text.erase(0, kDrawHeader.size() + 1);
  const std::size_t header = text.find_first_not_of(kBlanks);
  if (header == std::string::npos) return true;
  if (text.compare(header, kVersion2.size(), kVersion2) == 0) {
    reason = "is a BRep file of format version 2; versions 1 and 3 can be read";
    return false;
  }
  if (text.compare(header, kVersion1.size(), kVersion1) == 0) {
    text.replace(header, kVersion1.size(), kVersion3);
    AddNormalFlags(text);
  }
  return true;
}

}  // namespace mirel
