#include <Bench/GeneratedModel.h>
#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace mirel::bench {

namespace {

void Generate(LiteModel& model, const TaskInput& input) {
  if (input.kind == "flat") return GeneratedModel::AddFlat(model, input.count, 1);
  if (input.kind == "deep") return GeneratedModel::AddDeep(model, input.count, kMaxNesting);
  if (input.kind == "shared") {
    return GeneratedModel::AddShared(model, input.count, std::max<std::size_t>(1, input.count / 10000));
  }
  throw std::runtime_error("no kind of generated model: " + input.kind);
}

/// The generated model saved whole: text, gzip and file.
Figures IndexSave(const TaskInput& input) {
  LiteModel model;
  Generate(model, input);
  Figures figures;
  const Meter meter;
  LiteModelWriter(model).Save(ModelFolder(input.work));
  meter.Stop(figures);
  figures.Set("items", static_cast<double>(input.count));
  figures.Set("bytes", static_cast<double>(BytesOnDisk(IndexFile(input.work))));
  return figures;
}

/// The text of the index, as the writer makes it, into memory.
Figures IndexWrite(const TaskInput& input) {
  LiteModel model;
  Generate(model, input);
  Figures figures;
  const Meter meter;
  rapidjson::StringBuffer buffer;
  LiteModelItem::JsonWriter writer(buffer);
  const auto write = [&](const LiteModelItem& item) {
    writer.StartObject();
    item.Write(writer, model);
    writer.EndObject();
  };
  writer.StartObject();
  writer.Key("Types");
  writer.StartArray();
  for (const auto& [id, type] : model.GetTypes())
    write(*type);
  writer.EndArray();
  writer.Key("Items");
  writer.StartArray();
  for (const auto& item : model.GetItems())
    write(*item);
  writer.EndArray();
  writer.EndObject();
  meter.Stop(figures);
  figures.Set("items", static_cast<double>(input.count));
  figures.Set("textBytes", static_cast<double>(buffer.GetSize()));
  return figures;
}

std::shared_ptr<RawBuffer> Inflate(const TaskInput& input) {
  std::shared_ptr<RawBuffer> text = GzBuffer::FromFile(IndexFile(input.work));
  if (!text) throw std::runtime_error("cannot inflate " + IndexFile(input.work));
  return text;
}

/// The text of the index into a model.
Figures IndexRead(const TaskInput& input) {
  const std::shared_ptr<RawBuffer> content = Inflate(input);
  std::string text(content->GetData(), content->GetSize());
  const std::size_t size = text.size();
  Figures figures;
  LiteModel model;
  const Meter meter;
  const bool loaded = LiteModelReader(model).Load(std::move(text));
  meter.Stop(figures);
  if (!loaded) throw std::runtime_error("cannot read the index");
  figures.Set("items", static_cast<double>(input.count));
  figures.Set("topLevelItems", static_cast<double>(model.GetItems().size()));
  figures.Set("textBytes", static_cast<double>(size));
  return figures;
}

/// The same text into a document of the JSON library's own, the way it is usually asked for.
Figures IndexDom(const TaskInput& input) {
  const std::shared_ptr<RawBuffer> content = Inflate(input);
  const std::string text(content->GetData(), content->GetSize());
  Figures figures;
  const Meter meter;
  rapidjson::Document document;
  document.Parse(text.c_str());
  meter.Stop(figures);
  if (document.HasParseError()) throw std::runtime_error("cannot parse the index");
  figures.Set("items", static_cast<double>(input.count));
  figures.Set("topLevelItems", static_cast<double>(document["Items"].Size()));
  figures.Set("textBytes", static_cast<double>(text.size()));
  return figures;
}

}  // namespace

std::vector<Task> IndexTasks() {
  return {{"index-save", "save a generated model of --count items: text, gzip, file", IndexSave},
          {"index-write", "write the index text of a generated model into memory", IndexWrite},
          {"index-read", "read the index text of a saved generated model", IndexRead},
          {"index-dom", "parse the same text with the JSON library alone", IndexDom}};
}

}  // namespace mirel::bench
