#include <Programs/mirel/Picture/PictureArguments.h>

#include <Viewer/Draw/Picture.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

namespace mirel {

namespace {

template <typename Number>
bool ReadNumber(const std::string& text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

// Finite numbers with commas between them; none when something else is there.
std::vector<double> ReadNumbers(const std::string& text) {
  std::vector<double> numbers;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    double number = 0.0;
    if (!ReadNumber(text.substr(from, comma - from), number) || !std::isfinite(number)) {
      return {};
    }
    numbers.push_back(number);
    from = comma + 1;
  }
  return numbers;
}

}  // namespace

std::string PictureArguments::ReadSize(const std::string& text, PictureOptions& options) {
  const std::size_t cross = text.find('x');
  if (cross == std::string::npos || !ReadNumber(text.substr(0, cross), options.width) ||
      !ReadNumber(text.substr(cross + 1), options.height)) {
    return "\"" + text + "\" is no size such as 1600x1200";
  }
  if (options.width < 1 || options.height < 1 || options.width > Picture::kMaxSide ||
      options.height > Picture::kMaxSide ||
      std::int64_t{options.width} * options.height > Picture::kMaxPixels) {
    return "a picture has 1 to " + std::to_string(Picture::kMaxSide) + " pixels a side and at most " +
           std::to_string(Picture::kMaxPixels / 1000000) + " million in all";
  }
  return std::string();
}

std::string PictureArguments::ReadDirection(const std::string& text, glm::dvec3& direction) {
  const std::vector<double> numbers = ReadNumbers(text);
  if (numbers.size() != 3 || !(std::hypot(numbers[0], numbers[1], numbers[2]) > 0.0)) {
    return "\"" + text + "\" is no direction such as 1,-1,0.5";
  }
  direction = {numbers[0], numbers[1], numbers[2]};
  return std::string();
}

std::string PictureArguments::ReadSection(const std::string& text, PictureRequest::Section& section) {
  std::string wrong = "\"" + text + "\" is no plane such as y, -x=120 or 1,0,1,50";
  section = PictureRequest::Section();
  if (const std::vector<double> numbers = ReadNumbers(text); numbers.size() == 4) {
    section.normal = {numbers[0], numbers[1], numbers[2]};
    section.offset = numbers[3];
    const double length = std::hypot(numbers[0], numbers[1], numbers[2]);
    return length > 0.0 && std::isfinite(length) ? std::string() : wrong;
  }
  const bool hasSign = !text.empty() && (text[0] == '+' || text[0] == '-');
  const std::size_t at = hasSign ? 1 : 0;
  if (text.size() <= at || text[at] < 'x' || text[at] > 'z') {
    return wrong;
  }
  const double sign = hasSign && text[0] == '-' ? -1.0 : 1.0;
  section.normal[text[at] - 'x'] = sign;
  section.towardsViewer = !hasSign;
  if (text.size() > at + 1) {
    double place = 0.0;
    if (text[at + 1] != '=' || !ReadNumber(text.substr(at + 2), place) || !std::isfinite(place)) {
      return wrong;
    }
    section.offset = sign * place;
  }
  return std::string();
}

std::string PictureArguments::ReadBackground(const std::string& text, PictureOptions& options) {
  static const std::array<std::pair<const char*, const char*>, 4> names = {
      {{"white", "#ffffff"}, {"black", "#000000"}, {"gray", "#808080"}, {"grey", "#808080"}}};
  if (text == "none") {
    options.background = PictureOptions::Background::kNone;
    return std::string();
  }
  std::string code = text;
  for (const auto& [name, color] : names) {
    code = text == name ? color : code;
  }
  unsigned value = 0;
  const char* const end = code.data() + code.size();
  if (code.size() != 7 || code[0] != '#' || std::from_chars(code.data() + 1, end, value, 16).ptr != end) {
    return "\"" + text + "\" is no color such as #f0f4f8, white, black, gray or none";
  }
  options.background = PictureOptions::Background::kColor;
  for (int i = 0; i < 3; ++i) {
    options.backgroundColor[i] = static_cast<float>(value >> (16 - 8 * i) & 0xFFu) / 255.0F;
  }
  return std::string();
}

}  // namespace mirel
