#include <Viewer/Kernel/Reader/LiteModelReader.h>

#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LogFailure.h>

namespace mirel {

namespace {

/// Whether objects and arrays nest no deeper than they may. The JSON parser recurses, so this is asked first. Text that
/// is no JSON may get any answer that the parser then rejects; counting can only go wrong upwards behind its error.
bool IsShallow(const char* text) {
  int depth = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    switch (*p) {
      case '{':
      case '[':
        if (++depth > kMaxIndexDepth) return false;
        break;
      case '}':
      case ']':
        --depth;
        break;
      case '"':
        for (++p; *p != '"'; ++p) {
          if (*p == '\\') ++p;
          if (*p == '\0') return true;  // an open string: the parser says so
        }
        break;
      default:
        break;
    }
  }
  return true;
}

void ReadCount(rapidjson::Value& metadata, const char* name, unsigned int& count) {
  const rapidjson::Value* const value = FindMember(metadata, name);
  if (value && value->IsUint()) count = value->GetUint();
}

}  // namespace

LiteModelReader::LiteModelReader(LiteModel& model) : model_(model) {}

bool LiteModelReader::Load(const std::string& text) { return LoadIndex(text); }

bool LiteModelReader::LoadIndex(const std::string& text) {
  if (!IsShallow(text.c_str())) {
    MIREL_FAILURE("The index nests deeper than %d levels of objects and arrays", kMaxIndexDepth);
    return false;
  }
  rapidjson::Document document;
  document.Parse(text.c_str());
  if (document.HasParseError()) {
    MIREL_FAILURE("Failed to parse json content!");
    return false;
  }
  if (rapidjson::Value* const metadata = FindMember(document, "Metadata")) {
    ReadCount(*metadata, "PkgShape", pkgShape_);
    ReadCount(*metadata, "PkgGRep", pkgGRep_);
  }
  rapidjson::Value* const types = FindArray(document, "Types");
  if (!types) return false;
  for (rapidjson::Value& value : types->GetArray()) {
    if (std::unique_ptr<LiteModelItem> type = LiteModelItem::CreateItem(value)) model_.AddType(std::move(type));
  }
  rapidjson::Value* const items = FindArray(document, "Items");
  if (!items) return false;
  for (rapidjson::Value& value : items->GetArray()) {
    if (std::unique_ptr<LiteModelItem> item = LiteModelItem::CreateItem(value)) model_.AddItem(std::move(item));
  }
  return true;
}

}  // namespace mirel
