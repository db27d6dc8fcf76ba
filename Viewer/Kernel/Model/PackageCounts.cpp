#include <Viewer/Kernel/Model/PackageCounts.h>

#include <rapidjson/reader.h>

#include <string_view>

namespace mirel {

namespace {

// Ends the parsing (by returning false) when "Metadata" of the root object does.
class MetadataHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, MetadataHandler> {
 public:
  explicit MetadataHandler(PackageCounts& counts) : counts_(counts) {}

  bool Key(const char* text, rapidjson::SizeType length, bool /*copy*/) {
    const std::string_view key(text, length);
    if (depth_ == 1) {
      inMetadata_ = key == "Metadata";
    }
    const bool isHere = inMetadata_ && depth_ == 2;
    count_ = isHere && key == "PkgShape"  ? &counts_.shapes
             : isHere && key == "PkgGRep" ? &counts_.greps
                                          : nullptr;
    return true;
  }
  bool Uint(unsigned int value) {
    if (count_ != nullptr) {
      *count_ = value;
    }
    return Default();
  }
  bool Default() {
    count_ = nullptr;
    return true;
  }
  bool StartObject() {
    ++depth_;
    return Default();
  }
  bool EndObject(rapidjson::SizeType /*members*/) {
    --depth_;
    return !(inMetadata_ && depth_ == 1);
  }
  bool StartArray() { return StartObject(); }
  bool EndArray(rapidjson::SizeType elements) { return EndObject(elements); }

 private:
  PackageCounts& counts_;
  std::uint32_t* count_ = nullptr;  // what the next value is
  std::uint64_t depth_ = 0;
  bool inMetadata_ = false;
};

}  // namespace

PackageCounts::PackageCounts(const char* index) {
  MetadataHandler handler(*this);
  rapidjson::StringStream text(index);
  // Iterative: how deep the text nests is not known.
  rapidjson::Reader().Parse<rapidjson::kParseIterativeFlag>(text, handler);
}

}  // namespace mirel
