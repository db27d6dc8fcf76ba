#include <Viewer/Kernel/Model/ShapeItem.h>

#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/LogFailure.h>

namespace mirel {

namespace {

/// The low 32 bits of an integer of any size; false for anything else.
bool ReadFaceIndex(const rapidjson::Value& value, std::uint32_t& face) {
  if (value.IsInt64()) {
    face = static_cast<std::uint32_t>(value.GetInt64());
    return true;
  }
  if (value.IsUint64()) {
    face = static_cast<std::uint32_t>(value.GetUint64());
    return true;
  }
  return false;
}

/// Makes room for one face more where many meet. False when there are too many.
bool MakeRoom(ShapeItem::FaceColorMap& colors, std::uint32_t face) {
  if (colors.empty()) return true;
  const std::size_t met = colors.bucket_size(colors.bucket(face));
  if (met < kCrowdedFaceColors) return true;
  if (colors.bucket_count() < kMaxBucketsPerFaceColor * colors.size()) {
    colors.rehash(2 * colors.bucket_count());
    return true;
  }
  return met < kMaxFaceColorsPerBucket || colors.count(face) > 0;
}

}  // namespace

ShapeItem::ShapeItem() {
  SetType("Shape");
}

ShapeItem::~ShapeItem() = default;

void ShapeItem::Apply(LiteModelVisitor* v) {
  v->Visit(this);
}

void ShapeItem::Write(JsonWriter& writer, const LiteModel& model) const {
  LiteModelItem::Write(writer, model);
  writer.Key("SId");
  writer.String(shapeId_.toString().c_str());
  writer.Key("FColor");
  writer.StartArray();
  for (const auto& [face, color] : faceColors_) {
    if (!IsFinite(color)) {
      MIREL_FAILURE("The colour of face %u of item %s is not finite and is left out", face,
                    GetId().toString().c_str());
      continue;
    }
    writer.StartObject();
    writer.Key("FId");
    writer.Int(static_cast<std::int32_t>(face));
    writer.Key("Color");
    WriteColor(writer, color);
    writer.EndObject();
  }
  writer.EndArray();
}

bool ShapeItem::Read(rapidjson::Value& value) {
  LiteModelItem::Read(value);
  if (const rapidjson::Value* const id = FindString(value, "SId")) shapeId_ = ObjectId(id->GetString());
  if (rapidjson::Value* const colors = FindArray(value, "FColor")) {
    std::size_t leftOut = 0;
    for (rapidjson::Value& entry : colors->GetArray()) {
      const rapidjson::Value* const index = FindMember(entry, "FId");
      std::uint32_t face = 0;
      if (!index || !ReadFaceIndex(*index, face)) continue;
      if (!MakeRoom(faceColors_, face)) {
        ++leftOut;
        continue;
      }
      glm::vec3 color(1.0F);
      if (const rapidjson::Value* const components = FindArray(entry, "Color")) ReadColor(*components, color);
      faceColors_[face] = color;
    }
    if (leftOut > 0) {
      MIREL_FAILURE(
          "%llu face colours of item %s are left out: their numbers are chosen to meet in one place",
          static_cast<unsigned long long>(leftOut), GetId().toString().c_str());
    }
  }
  return true;
}

}  // namespace mirel
