#include <Programs/mirel/Text/Utf8.h>

#include <cstdio>

namespace mirel {

Utf8::Character Utf8::Decode(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) {
    return {lead, 1, true};
  }
  std::size_t length = 0;
  char32_t code = 0;
  char32_t least = 0;
  if ((lead & 0xE0) == 0xC0) {
    length = 2, code = lead & 0x1F, least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, code = lead & 0x0F, least = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, code = lead & 0x07, least = 0x10000;
  }
  if (length == 0 || text.size() - at < length) {
    return {lead, 1, false};
  }
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      return {lead, 1, false};
    }
    code = (code << 6) | (byte(at + i) & 0x3F);
  }
  if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    return {lead, 1, false};
  }
  return {code, length, true};
}

void Utf8::Append(std::string& out, char32_t code) {
  if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    code = 0xFFFD;
  }
  const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6)), put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12)), put(0x80 | ((code >> 6) & 0x3F)), put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18)), put(0x80 | ((code >> 12) & 0x3F)), put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

std::string Utf8::MakeValid(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Character c = Decode(text, at);
    Append(out, c.valid ? c.code : 0xFFFD);
    at += c.length;
  }
  return out;
}

std::string Utf8::FromUtf16(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    const bool high = code >= 0xD800 && code < 0xDC00;
    if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    Append(out, code == 0 ? char32_t{0xFFFD} : code);
  }
  return out;
}

bool Utf8::IsControl(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x061C || code == 0x200E || code == 0x200F ||
         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

namespace {

// Appends a character that must not reach a terminal as it is. False when it may.
bool AppendEscape(std::string& out, const Utf8::Character& c) {
  char buffer[16];
  if (!c.valid) {
    std::snprintf(buffer, sizeof buffer, "\\x%02x", static_cast<unsigned>(c.code));
    out += buffer;
  } else if (c.code == '\n') {
    out += "\\n";
  } else if (c.code == '\t') {
    out += "\\t";
  } else if (c.code == '\r') {
    out += "\\r";
  } else if (Utf8::IsControl(c.code)) {
    std::snprintf(buffer, sizeof buffer, "\\u{%x}", static_cast<unsigned>(c.code));
    out += buffer;
  } else {
    return false;
  }
  return true;
}

}  // namespace

void Utf8::AppendPrintable(std::string& out, std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const Character c = Decode(text, at);
    if (c.valid && c.code == '\\') {
      out += "\\\\";
    } else if (!AppendEscape(out, c)) {
      out.append(text.substr(at, c.length));
    }
    at += c.length;
  }
}

std::string Utf8::ForTerminal(std::string_view text, bool isLines) {
  std::string out;
  out.reserve(text.size());
  std::string escape;
  std::size_t copied = 0;  // most text is good: it goes over in long pieces
  for (std::size_t at = 0; at < text.size();) {
    const Character c = Decode(text, at);
    if (!(isLines && c.code == '\n') && AppendEscape(escape, c)) {
      out.append(text.substr(copied, at - copied)).append(escape);
      escape.clear();
      copied = at + c.length;
    }
    at += c.length;
  }
  return out.append(text.substr(copied));
}

void Utf8::AppendQuoted(std::string& out, std::string_view text) {
  out.push_back('"');
  std::size_t mark = 0;
  while ((mark = text.find('"')) != std::string_view::npos) {
    AppendPrintable(out, text.substr(0, mark));
    out += "\\\"";
    text.remove_prefix(mark + 1);
  }
  AppendPrintable(out, text);
  out.push_back('"');
}

std::string Utf8::Printable(std::string_view text) {
  std::string out;
  AppendPrintable(out, text);
  return out;
}

void Utf8::AppendJson(std::string& out, std::string_view text) {
  char buffer[16];
  out.push_back('"');
  for (std::size_t at = 0; at < text.size();) {
    const Character c = Decode(text, at);
    if (!c.valid) {
      Append(out, 0xFFFD);
    } else if (c.code == '"' || c.code == '\\') {
      out.push_back('\\');
      out.push_back(static_cast<char>(c.code));
    } else if (IsControl(c.code)) {
      std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(c.code));
      out += buffer;
    } else {
      out.append(text.substr(at, c.length));
    }
    at += c.length;
  }
  out.push_back('"');
}

}  // namespace mirel
