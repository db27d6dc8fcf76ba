#include <Viewer/Kernel/Model/PackageCounts.h>

#include <rapidjson/reader.h>

#include <string_view>
#include <utility>

namespace mirel {

namespace {

// Ends the parsing (by returning false) when "Metadata" of the root object does.
class MetadataHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, MetadataHandler> {
 public:
  explicit MetadataHandler(PackageCounts& counts) : shapes_(&counts.shapes), greps_(&counts.greps) {}

  bool Key(const char* text, rapidjson::SizeType length, bool /*copy*/) {
    const std::string_view key(text, length);
    if (depth_ == 1) {
      if (inMetadata_) {
        return false;  // it was no object
      }
      inMetadata_ = key == "Metadata";
    }
    count_ = nullptr;
    if (inMetadata_ && depth_ == 2) {
      count_ = key == "PkgShape" ? TakeFirst(shapes_) : key == "PkgGRep" ? TakeFirst(greps_) : nullptr;
    }
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
  // Of members with one name the first counts, whatever it is; null for the later ones.
  static std::uint32_t* TakeFirst(std::uint32_t*& count) { return std::exchange(count, nullptr); }

  std::uint32_t* shapes_;
  std::uint32_t* greps_;
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
