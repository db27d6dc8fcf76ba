#include <Viewer/Kernel/Host/Core/StringUtil.h>

namespace mirel {

namespace {

void AppendUtf8(std::string& out, unsigned long codePoint) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0 | (codePoint >> 6));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0 | (codePoint >> 12));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (codePoint >> 18));
    out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (codePoint & 0x3F));
  }
}

bool IsHighSurrogate(unsigned long unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(unsigned long unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

std::string StringUtil::WStr2AStr(const std::wstring& text) {
  constexpr unsigned long kReplacement = 0xFFFD;
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned long codePoint = static_cast<unsigned long>(text[i]);
    if constexpr (sizeof(wchar_t) == 2) {
      codePoint &= 0xFFFF;
      const unsigned long next = i + 1 < text.size() ? static_cast<unsigned long>(text[i + 1]) & 0xFFFF : 0;
      if (IsHighSurrogate(codePoint) && IsLowSurrogate(next)) {
        codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (next - 0xDC00);
        ++i;
      }
    }
    const bool valid = codePoint <= 0x10FFFF && !IsHighSurrogate(codePoint) && !IsLowSurrogate(codePoint);
    AppendUtf8(out, valid ? codePoint : kReplacement);
  }
  return out;
}

}  // namespace mirel
