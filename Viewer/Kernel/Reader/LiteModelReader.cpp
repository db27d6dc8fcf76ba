#include <Viewer/Kernel/Reader/LiteModelReader.h>

#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Reader/ShallowDocument.h>

#include <utility>

namespace mirel {

namespace {

void ReadCount(rapidjson::Value& metadata, const char* name, unsigned int& count) {
  const rapidjson::Value* const value = FindMember(metadata, name);
  if (value && value->IsUint()) count = value->GetUint();
}

}  // namespace

LiteModelReader::LiteModelReader(LiteModel& model) : model_(model) {}

bool LiteModelReader::Load(const std::string& text) {
  return LoadIndex(std::string(text));
}

bool LiteModelReader::Load(std::string&& text) {
  return LoadIndex(std::move(text));
}

bool LiteModelReader::LoadIndex(std::string&& text) {
  ShallowDocument document;
  if (!document.ParseText(std::move(text))) {
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
    if (std::unique_ptr<LiteModelItem> type = LiteModelItem::CreateItem(value))
      model_.AddType(std::move(type));
  }
  rapidjson::Value* const items = FindArray(document, "Items");
  if (!items) return false;
  for (rapidjson::Value& value : items->GetArray()) {
    if (std::unique_ptr<LiteModelItem> item = LiteModelItem::CreateItem(value))
      model_.AddItem(std::move(item));
  }
  return true;
}

}  // namespace mirel
