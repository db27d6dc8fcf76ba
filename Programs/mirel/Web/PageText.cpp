#include <Programs/mirel/Web/PageText.h>

#include <Programs/mirel/Text/Utf8.h>
#include <Programs/mirel/Web/WebScript.h>

#include <nettle/base64.h>
#include <nettle/sha2.h>

#include <cstdint>
#include <utility>

namespace mirel {

namespace {

// Characters of a title; nobody reads more.
constexpr std::size_t kMaxTitle = 120;

constexpr const char* kStyle = "html,body{height:100%;margin:0}mirel-viewer{display:block;height:100%}";

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

// Everything up to the viewer. What the page may run and fetch is said before anything else comes.
std::string MakeHead(const std::string& title, const std::string& scripts, const std::string& connections) {
  return std::string("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n") +
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src " + scripts +
         "; style-src " + HashOf(kStyle) + "; img-src data: blob:; connect-src " + connections +
         "; worker-src blob:; base-uri 'none'; form-action 'none'\">\n" +
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
         "<meta name=\"referrer\" content=\"no-referrer\">\n<link rel=\"icon\" href=\"data:,\">\n<title>" +
         PageText::Escape(title) + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n" +
         "<noscript>This page shows a model, and needs JavaScript for it.</noscript>\n";
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

std::string PageText::MakeSitePage(const std::string& title) {
  return MakeHead(title, "'self'", "'self'") + "<mirel-viewer src=\".\" overview></mirel-viewer>\n" +
         "<script type=\"module\" src=\"" + WebScript::kName + "\"></script>\n</body>\n</html>\n";
}

PageText::SelfContained::SelfContained(const std::string& title, std::string script)
    : text_(MakeHead(title, HashOf(script), "'none'") + "<mirel-viewer src=\"#model\"></mirel-viewer>\n"),
      script_(std::move(script)) {}

void PageText::SelfContained::AddFile(const std::string& name, std::string_view content) {
  text_ += "<script type=\"application/octet-stream\" data-folder=\"model\" data-file=\"" + Escape(name) +
           "\">" + ToBase64(content) + "</script>\n";
}

std::string PageText::SelfContained::Finish() {
  text_ += "<script type=\"module\">" + script_ + "</script>\n</body>\n</html>\n";
  return std::move(text_);
}

}  // namespace mirel
