#pragma once

#include <Viewer/Kernel/Model/LiteLimits.h>

#include <rapidjson/document.h>
#include <rapidjson/reader.h>

#include <cstddef>

namespace mirel {

/// A document that stops its parser where objects and arrays nest deeper than they may: the parser recurses.
class ShallowDocument : public rapidjson::Document {
 public:
  /// Parses text up to its first NUL character. False when it is no JSON, or nests too deep.
  bool ParseText(const char* text) {
    rapidjson::ParseResult result;
    auto parse = [&](rapidjson::Document&) {
      rapidjson::StringStream stream(text);
      // Default flags, but numbers to the last bit: a placement must not drift each time a model is loaded and saved.
      constexpr unsigned int kFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseFullPrecisionFlag;
      result = rapidjson::Reader().Parse<kFlags>(stream, *this);
      return !result.IsError();
    };
    Populate(parse);
    errorOffset_ = result.Offset();
    return !result.IsError();
  }
  /// Of text that is no JSON: where it goes wrong, in bytes.
  std::size_t GetErrorOffset() const { return errorOffset_; }
  bool IsTooDeep() const { return depth_ > kMaxIndexDepth; }

  // The parser's events.
  bool StartObject() { return ++depth_ <= kMaxIndexDepth && rapidjson::Document::StartObject(); }
  bool StartArray() { return ++depth_ <= kMaxIndexDepth && rapidjson::Document::StartArray(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return rapidjson::Document::EndObject(members);
  }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return rapidjson::Document::EndArray(elements);
  }

 private:
  int depth_ = 0;
  std::size_t errorOffset_ = 0;
};

}  // namespace mirel
