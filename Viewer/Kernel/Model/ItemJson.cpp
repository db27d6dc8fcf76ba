#include <Viewer/Kernel/Model/ItemJson.h>

#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LogFailure.h>

#include <cmath>
#include <limits>

namespace mirel {

rapidjson::Value* FindMember(rapidjson::Value& object, const char* name) {
  if (!object.IsObject()) return nullptr;
  const rapidjson::Value::MemberIterator member = object.FindMember(name);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

rapidjson::Value* FindString(rapidjson::Value& object, const char* name) {
  rapidjson::Value* const member = FindMember(object, name);
  return member && member->IsString() ? member : nullptr;
}

rapidjson::Value* FindArray(rapidjson::Value& object, const char* name) {
  rapidjson::Value* const member = FindMember(object, name);
  return member && member->IsArray() ? member : nullptr;
}

void ReadColor(const rapidjson::Value& array, glm::vec3& color) {
  for (rapidjson::SizeType i = 0; i < array.Size() && i < 3; ++i) {
    if (!array[i].IsNumber()) continue;
    const double component = array[i].GetDouble();
    if (std::fabs(component) > std::numeric_limits<float>::max()) continue;
    color[static_cast<glm::vec3::length_type>(i)] = static_cast<float>(component);
  }
}

bool IsFinite(const glm::vec3& color) {
  return std::isfinite(color.x) && std::isfinite(color.y) && std::isfinite(color.z);
}

void WriteColor(LiteModelItem::JsonWriter& writer, const glm::vec3& color) {
  writer.StartArray();
  writer.Double(color.r);
  writer.Double(color.g);
  writer.Double(color.b);
  writer.EndArray();
}

ItemWalk& WritingWalk() {
  thread_local ItemWalk walk;
  // A thread may write any number of items one after another; each top-level one is a walk of its own.
  if (walk.IsAtTop()) walk = ItemWalk();
  return walk;
}

void WriteObject(const std::unique_ptr<LiteModelItem>& item, LiteModelItem::JsonWriter& writer,
                 const LiteModel& model) {
  if (!item) {
    MIREL_FAILURE("An empty item is not written");
    return;
  }
  writer.StartObject();
  item->Write(writer, model);
  writer.EndObject();
}

}  // namespace mirel
