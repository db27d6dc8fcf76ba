#include <Programs/mirel/Web/PageText.h>

#include <Programs/mirel/Text/Utf8.h>
#include <Programs/mirel/Web/PageTemplate.h>

#include <nettle/base64.h>
#include <nettle/sha2.h>

#include <algorithm>
#include <cstdint>
#include <map>

namespace mirel {

namespace {

// Characters of a title; nobody reads more.
constexpr std::size_t kMaxTitle = 120;

std::string ToBase64(std::string_view bytes) {
  std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(text.data(), bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
  return text;
}

// What a policy calls a script or style that stands in the page.
std::string HashOf(std::string_view text) {
  sha256_ctx context = {};
  sha256_init(&context);
  sha256_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
  std::uint8_t digest[SHA256_DIGEST_SIZE];
  sha256_digest(&context, sizeof digest, digest);
  return "'sha256-" + ToBase64({reinterpret_cast<const char*>(digest), sizeof digest}) + "'";
}

// The hashes of all styles that stand in a page.
std::string HashStyles(std::string_view html) {
  const std::string_view begin = "<style>";
  std::string hashes;
  for (std::size_t at = html.find(begin); at != std::string_view::npos; at = html.find(begin, at)) {
    at += begin.size();
    const std::size_t end = std::min(html.find("</style>", at), html.size());
    hashes += " " + HashOf(html.substr(at, end - at));
    at = end;
  }
  return hashes.empty() ? " 'none'" : hashes;
}

// What the browser is to run, and from where to fetch: said in the page itself.
std::string MakePolicy(const PageTemplate& form, const std::string& scripts, const std::string& connections) {
  return "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src " + scripts +
         "; style-src" + HashStyles(form.html) + "; img-src data: blob:; connect-src " + connections +
         "; base-uri 'none'; form-action 'none'\"><meta name=\"referrer\" content=\"no-referrer\">" +
         "<link rel=\"icon\" href=\"data:,\">";
}

using Values = std::map<std::string_view, std::string>;

// Puts values in the place of the comments that have their names.
std::string Fill(std::string_view html, const Values& values) {
  const std::string_view begin = "<!--", end = "-->";
  std::string result;
  std::size_t at = 0;
  for (std::size_t next = 0; (next = html.find(begin, at)) != std::string_view::npos;) {
    const std::size_t name = next + begin.size();
    const std::size_t after = html.find(end, name);
    const auto value = values.find(html.substr(name, after == std::string_view::npos ? after : after - name));
    if (value == values.end()) {
      result += html.substr(at, name - at);
      at = name;
    } else {
      result += html.substr(at, next - at);
      result += value->second;
      at = after + end.size();
    }
  }
  result += html.substr(at);
  return result;
}

}  // namespace

std::string PageText::CutTitle(const std::string& whole) {
  std::size_t end = 0;
  for (std::size_t count = 0; end < whole.size() && count < kMaxTitle; ++count) {
    end += Utf8::Decode(whole, end).length;
  }
  return end < whole.size() ? whole.substr(0, end) + "…" : whole;
}

std::string PageText::Escape(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const Utf8::Character character = Utf8::Decode(text, at);
    const std::string_view bytes = text.substr(at, character.length);
    at += character.length;
    if (!character.valid) {
      Utf8::Append(result, 0xFFFD);
    } else if (character.code == '&') {
      result += "&amp;";
    } else if (character.code == '<') {
      result += "&lt;";
    } else if (character.code == '>') {
      result += "&gt;";
    } else if (character.code == '"') {
      result += "&quot;";
    } else if (character.code == '\'') {
      result += "&#39;";
    } else if (!Utf8::IsControl(character.code)) {
      result += bytes;
    }
  }
  return result;
}

std::string PageText::MakeFile(const char* model, const std::string& name, std::string_view content) {
  return std::string("<script type=\"application/octet-stream\" data-folder=\"") + model + "\" data-file=\"" +
         Escape(name) + "\">" + ToBase64(content) + "</script>\n";
}

std::string PageText::MakeWholePage(const PageTemplate& form, const std::string& title,
                                    const std::string& files, bool isComparison) {
  return Fill(form.html, {{"title", Escape(title)},
                          {"src", std::string("#") + kModel},
                          {"compare", isComparison ? std::string("#") + kOlder : std::string()},
                          {"policy", MakePolicy(form, HashOf(form.script), "'none'")},
                          {"files", files},
                          {"script", "<script>" + form.script + "</script>"}});
}

std::string PageText::MakeSitePage(const PageTemplate& form, const std::string& title) {
  return Fill(form.html,
              {{"title", Escape(title)},
               {"src", "."},
               {"compare", ""},
               {"policy", MakePolicy(form, "'self'", "'self'")},
               {"files", ""},
               {"script", std::string("<script src=\"") + PageTemplate::kScript + "\"></script>"}});
}

}  // namespace mirel
