#include <Viewer/Kernel/Model/LiteModelItem.h>

#include <Viewer/Kernel/Host/Core/MathUtil.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <cmath>

namespace mirel {

namespace {

bool IsFinite(const glm::dmat4& matrix) {
  for (int column = 0; column < 4; ++column) {
    for (int row = 0; row < 4; ++row) {
      if (!std::isfinite(matrix[column][row])) return false;
    }
  }
  return true;
}

/// All sixteen numbers, or nothing: a placement has no sensible default for a part of it. A number may be too large for a
/// double.
void ReadTransform(const rapidjson::Value& array, glm::dmat4& transform) {
  if (array.Size() < 16) return;
  glm::dmat4 matrix;
  for (rapidjson::SizeType k = 0; k < 16; ++k) {
    if (!array[k].IsNumber()) return;
    matrix[static_cast<glm::dmat4::length_type>(k / 4)][static_cast<glm::dvec4::length_type>(k % 4)] =
        array[k].GetDouble();
  }
  if (IsFinite(matrix)) transform = matrix;
}

}  // namespace

LiteModelItem::LiteModelItem() : id_(ObjectId::NewId()) {}

LiteModelItem::~LiteModelItem() = default;

std::unique_ptr<LiteModelItem> LiteModelItem::CreateItem(const std::string& type) {
  if (type == "Shape") return std::make_unique<ShapeItem>();
  if (type == "Group") return std::make_unique<GroupItem>();
  if (type == "Instance") return std::make_unique<InstanceItem>();
  Logger::Instance().Message(1, "Invalid type %s", type.c_str());
  return nullptr;
}

std::unique_ptr<LiteModelItem> LiteModelItem::CreateItem(rapidjson::Value& value) {
  if (!value.IsObject()) {
    MIREL_FAILURE("Not Object!");
    return nullptr;
  }
  const rapidjson::Value* const type = FindString(value, "Type");
  if (!type) {
    MIREL_FAILURE("Type is null");
    return nullptr;
  }
  std::unique_ptr<LiteModelItem> item = CreateItem(std::string(type->GetString()));
  if (item && !item->Read(value)) item.reset();
  return item;
}

void LiteModelItem::Write(JsonWriter& writer, const LiteModel&) const {
  writer.Key("Type");
  writer.String(type_.c_str());
  writer.Key("Id");
  writer.String(id_.toString().c_str());
  writer.Key("Name");
  writer.String(name_.c_str());
  if (color_.r >= 0.0F) {
    if (mirel::IsFinite(color_)) {
      writer.Key("Color");
      WriteColor(writer, color_);
    } else {
      MIREL_FAILURE("The colour of item %s is not finite and is left out", id_.toString().c_str());
    }
  }
  if (!MathUtil::IsIdentity(transform_)) {
    if (IsFinite(transform_)) {
      writer.Key("Transform");
      writer.StartArray();
      for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row)
          writer.Double(transform_[column][row]);
      }
      writer.EndArray();
    } else {
      MIREL_FAILURE("The transform of item %s is not finite and is left out", id_.toString().c_str());
    }
  }
}

bool LiteModelItem::Read(rapidjson::Value& value) {
  if (const rapidjson::Value* const id = FindString(value, "Id")) id_ = ObjectId(id->GetString());
  if (const rapidjson::Value* const name = FindString(value, "Name")) name_ = name->GetString();
  if (const rapidjson::Value* const color = FindArray(value, "Color")) ReadColor(*color, color_);
  if (const rapidjson::Value* const transform = FindArray(value, "Transform"))
    ReadTransform(*transform, transform_);
  return true;
}

}  // namespace mirel
