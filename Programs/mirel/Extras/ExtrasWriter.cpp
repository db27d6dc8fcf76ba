#include <Programs/mirel/Extras/ExtrasWriter.h>

#include <Programs/mirel/Text/JsonText.h>

#include <Viewer/Kernel/Host/Gzip/ogzstream.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

#include <utility>

namespace mirel {

namespace {

// The values of what follows a key.
void Add(JsonText& json, const std::string& value) {
  json.Text(value);
}
void Add(JsonText& json, const ObjectId& id) {
  json.Text(id.toString());
}
void Add(JsonText& json, std::uint32_t index) {
  json.Unsigned(index);
}
void Add(JsonText& json, double value) {
  json.Number(value);
}
void Add(JsonText& json, float value) {
  json.Number(value);
}

template <typename Values, typename AddOne>
void AddArray(JsonText& json, const char* key, const Values& values, AddOne&& addOne) {
  if (values.empty()) {
    return;
  }
  json.Key(key);
  json.BeginArray();
  for (const auto& value : values) {
    addOne(value);
  }
  json.EndArray();
}

template <typename Values>
void AddList(JsonText& json, const char* key, const Values& values) {
  AddArray(json, key, values, [&](const auto& value) { Add(json, value); });
}

template <typename Vector>
void AddVector(JsonText& json, const char* key, const Vector& vector) {
  json.Key(key);
  json.BeginArray();
  for (int i = 0; i < 3; ++i) {
    Add(json, vector[i]);
  }
  json.EndArray();
}

template <typename Value>
void AddOptional(JsonText& json, const char* key, const std::optional<Value>& value) {
  if (value) {
    json.Key(key);
    Add(json, *value);
  }
}

void AddName(JsonText& json, const char* key, const std::string& value) {
  if (!value.empty()) {
    json.Key(key);
    json.Text(value);
  }
}

void AddTrue(JsonText& json, const char* key, bool value) {
  if (value) {
    json.Key(key);
    json.Bool(true);
  }
}

void AddCommon(JsonText& json, const Extras::Common& common) {
  AddList(json, "Layers", common.layers);
  if (common.material) {
    json.Key("Material");
    json.BeginObject();
    AddName(json, "Name", common.material->name);
    AddName(json, "Description", common.material->description);
    AddOptional(json, "Density", common.material->density);
    AddName(json, "DensityName", common.material->densityName);
    AddName(json, "DensityType", common.material->densityType);
    json.EndObject();
  }
  const Extras::Properties& properties = common.properties;
  if (properties.volume || properties.area || properties.centroid) {
    json.Key("Properties");
    json.BeginObject();
    AddOptional(json, "Volume", properties.volume);
    AddOptional(json, "Area", properties.area);
    if (properties.centroid) {
      AddVector(json, "Centroid", *properties.centroid);
    }
    json.EndObject();
  }
}

void AddPart(JsonText& json, const Extras::Part& part) {
  json.BeginObject();
  json.Key("Kind");
  json.Text(part.kind);
  json.Key("Index");
  json.Unsigned(part.index);
  AddName(json, "Name", part.name);
  AddCommon(json, part);
  json.EndObject();
}

void AddItem(JsonText& json, const Extras::Item& item) {
  json.BeginObject();
  AddList(json, "Ids", item.ids);
  AddArray(json, "Within", item.within, [&](const Extras::Ids& ids) {
    json.BeginArray();
    for (const ObjectId& id : ids) {
      Add(json, id);
    }
    json.EndArray();
  });
  AddTrue(json, "Hidden", item.hidden);
  AddOptional(json, "Alpha", item.alpha);
  if (item.curveColor) {
    AddVector(json, "CurveColor", *item.curveColor);
  }
  AddArray(json, "FAlpha", item.faceAlphas, [&](const auto& face) {
    json.BeginObject();
    json.Key("FId");
    json.Unsigned(face.first);
    json.Key("Alpha");
    json.Number(face.second);
    json.EndObject();
  });
  AddArray(json, "EColor", item.edgeColors, [&](const auto& edge) {
    json.BeginObject();
    json.Key("EId");
    json.Unsigned(edge.first);
    AddVector(json, "Color", edge.second);
    json.EndObject();
  });
  AddList(json, "HiddenFaces", item.hiddenFaces);
  AddList(json, "HiddenEdges", item.hiddenEdges);
  AddCommon(json, item);
  AddArray(json, "Parts", item.parts, [&](const Extras::Part& part) { AddPart(json, part); });
  json.EndObject();
}

}  // namespace

void ExtrasWriter::AddTo(JsonText& json, const Extras& extras) {
  json.BeginObject();
  json.Key("Version");
  json.Unsigned(1);
  if (!extras.header.empty()) {
    json.Key("Header");
    json.BeginObject();
    for (const auto& [key, values] : extras.header) {
      AddList(json, key.c_str(), values);
    }
    json.EndObject();
  }
  AddArray(json, "Layers", extras.layers, [&](const Extras::Layer& layer) {
    json.BeginObject();
    json.Key("Name");
    json.Text(layer.name);
    AddTrue(json, "Hidden", layer.hidden);
    json.EndObject();
  });
  AddArray(json, "Items", extras.items, [&](const Extras::Item& item) { AddItem(json, item); });
  json.EndObject();
}

std::string ExtrasWriter::ToJson(const Extras& extras) {
  JsonText json(false);
  AddTo(json, extras);
  return std::move(json.GetText());
}

void ExtrasWriter::Save(const std::string& content, const std::string& folder) {
  ogzstream stream((folder + FolderFiles::kExtras).c_str(), static_cast<int>(std::ios_base::out));
  stream.write_str(content);
}

}  // namespace mirel
