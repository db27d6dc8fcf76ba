#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Viewer/Kernel/Host/Gzip/ogzstream.h>
#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Writer/AsideFolder.h>
#include <Viewer/Kernel/Writer/PkgSeries.h>
#include <Viewer/Kernel/Writer/PkgShapeWriter.h>

namespace mirel {

LiteModelWriter::LiteModelWriter(LiteModel& model) : model_(model) {}

LiteModelWriter::~LiteModelWriter() = default;

void LiteModelWriter::Save(const std::string& folder) {
  AsideFolder aside(folder);
  if (!aside.Make(!model_.GetShape().empty())) return;
  SaveShapes(aside.GetShapePath(), aside.GetGRepPath());
  SaveIndex(aside.GetIndexPath());
  aside.PutInPlace(static_cast<unsigned int>(pkgShape_), builder_.GetPkgCount());
}

void LiteModelWriter::SaveShapes(const std::string& shapeFolder, const std::string& grepFolder) {
  pkgShape_ = 0;
  builder_ = PkgGRepBuilder();
  if (model_.GetShape().empty()) return;

  PkgSeries<PkgShapeWriter> packages(shapeFolder);
  for (const auto& [id, shape] : model_.GetShape()) {
    if (!shape) {
      MIREL_FAILURE("Shape %s is not written: it is empty", id.toString().c_str());
      continue;
    }
    builder_.AddItem(id, shape);
    packages.AddItem(id, shape);
  }
  packages.Finish();
  pkgShape_ = static_cast<int>(packages.GetCount());

  builder_.Build();
  builder_.Write(grepFolder);
}

void LiteModelWriter::SaveIndex(const std::string& folder) {
  rapidjson::StringBuffer buffer;
  LiteModelItem::JsonWriter writer(buffer);
  writer.StartObject();
  writer.Key("Version");
  writer.Int(1);
  writer.Key("Author");
  writer.String("Orvane");

  writer.Key("Metadata");
  writer.StartObject();
  writer.Key("PkgShape");
  writer.Int(pkgShape_);
  writer.Key("PkgGRep");
  writer.Uint(builder_.GetPkgCount());
  writer.EndObject();

  writer.Key("Types");
  writer.StartArray();
  for (const auto& [id, type] : model_.GetTypes()) {
    if (type->GetTag() >= 2) WriteObject(type, writer, model_);
  }
  writer.EndArray();

  writer.Key("Items");
  writer.StartArray();
  for (const std::unique_ptr<LiteModelItem>& item : model_.GetItems())
    WriteObject(item, writer, model_);
  writer.EndArray();
  writer.EndObject();

  ogzstream stream((folder + "index.gz").c_str(), static_cast<int>(std::ios_base::out));
  stream.write(buffer.GetString(), static_cast<std::streamsize>(buffer.GetSize()));
}

}  // namespace mirel
