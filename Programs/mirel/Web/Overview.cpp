#include <Programs/mirel/Web/Overview.h>

#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Text/JsonText.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>

namespace mirel {

namespace {

// Single precision is enough to choose by and halves the text; the box must not get smaller by it.
float RoundTowards(double value, float limit) {
  const auto near = static_cast<float>(value);
  const bool beyond = limit < 0.0F ? static_cast<double>(near) <= value : static_cast<double>(near) >= value;
  return beyond ? near : std::nextafter(near, limit);
}

void AddBox(JsonText& json, const AABoxT<double>& box) {
  if (!box.IsFinite()) {
    return;
  }
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  json.Key("Box");
  json.BeginArray();
  for (int i = 0; i < 3; ++i) {
    json.Number(RoundTowards(box.GetMin()[i], -kInfinity));
  }
  for (int i = 0; i < 3; ++i) {
    json.Number(RoundTowards(box.GetMax()[i], kInfinity));
  }
  json.EndArray();
}

void AddBodies(JsonText& json, const ModelFolder& folder, const ModelFolder::File& package) {
  json.Key("Bodies");
  json.BeginArray();
  for (const ObjectId& id : package.bodies) {
    json.BeginObject();
    json.Key("SId");
    json.Text(id.toString());
    if (const std::shared_ptr<GRepShape> grep = folder.GetModel().FindGRepShape(id)) {
      AddBox(json, grep->GetBoundingBox());
    }
    json.EndObject();
  }
  json.EndArray();
}

void AddIds(JsonText& json, const ModelFolder::File& package) {
  json.Key("Bodies");
  json.BeginArray();
  for (const ObjectId& id : package.bodies) {
    json.Text(id.toString());
  }
  json.EndArray();
}

// `add` writes what there is to say of the package with a number, counted from 0. The place in the array is the number.
template <typename Add>
void AddPackages(JsonText& json, const ModelFolder& folder, const char* kind, const Add& add) {
  json.BeginArray();
  const std::vector<const ModelFolder::File*> packages = folder.GetPackages(kind);
  for (std::size_t i = 0; i < packages.size(); ++i) {
    json.BeginObject();
    if (!packages[i]->missing) {
      json.Key("Bytes");
      json.Unsigned(packages[i]->packedBytes);
      add(*packages[i], i);
    }
    json.EndObject();
  }
  json.EndArray();
}

}  // namespace

std::string Overview::ToJson(const ModelFolder& folder, const AABoxT<double>& box, bool withBodies,
                             const std::vector<std::string>& drawings) {
  JsonText json(false);
  json.BeginObject();
  json.Key("Version");
  json.Unsigned(1);
  AddBox(json, box);
  json.Key("Packages");
  AddPackages(json, folder, FolderFiles::kGReps, [&](const ModelFolder::File& file, std::size_t i) {
    if (i < drawings.size() && !drawings[i].empty()) {
      json.Key("Drawing");
      json.Unsigned(drawings[i].size());
    }
    AddBodies(json, folder, file);
  });
  if (withBodies) {
    json.Key("ShapePackages");
    AddPackages(json, folder, FolderFiles::kShapes,
                [&](const ModelFolder::File& file, std::size_t) { AddIds(json, file); });
  }
  json.EndObject();
  return json.GetText();
}

}  // namespace mirel
