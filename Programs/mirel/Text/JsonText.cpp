#include <Programs/mirel/Text/JsonText.h>

#include <Programs/mirel/Text/Utf8.h>

#include <charconv>
#include <cmath>

namespace mirel {

void JsonText::NewLine() {
  if (indent_) {
    text_.push_back('\n');
    text_.append(static_cast<std::size_t>(depth_) * 2, ' ');
  }
}

void JsonText::BeforeValue() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (!first_) {
    text_.push_back(',');
  }
  if (depth_ > 0) {
    NewLine();
  }
  first_ = false;
}

void JsonText::Open(char bracket) {
  BeforeValue();
  text_.push_back(bracket);
  ++depth_;
  first_ = true;
}

void JsonText::Close(char bracket) {
  --depth_;
  if (!first_) {
    NewLine();
  }
  text_.push_back(bracket);
  first_ = false;
}

void JsonText::Key(std::string_view key) {
  BeforeValue();
  Utf8::AppendJson(text_, key);
  text_ += indent_ ? ": " : ":";
  afterKey_ = true;
}

void JsonText::Text(std::string_view value) {
  BeforeValue();
  Utf8::AppendJson(text_, value);
}

template <typename Real>
void JsonText::AppendReal(Real value) {
  BeforeValue();
  if (!std::isfinite(value)) {
    text_ += "null";
    return;
  }
  char buffer[40];
  const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof buffer, value);
  text_.append(buffer, end.ptr);
}

void JsonText::Number(double value) {
  AppendReal(value);
}

void JsonText::Number(float value) {
  AppendReal(value);
}

void JsonText::Integer(std::int64_t value) {
  BeforeValue();
  text_ += std::to_string(value);
}

void JsonText::Unsigned(std::uint64_t value) {
  BeforeValue();
  char buffer[24];
  const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof buffer, value);
  text_.append(buffer, end.ptr);
}

void JsonText::Bool(bool value) {
  BeforeValue();
  text_ += value ? "true" : "false";
}

}  // namespace mirel
