#include <Bench/CopiesFolder.h>

#include <Bench/WorkFolder.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Gzip/ogzstream.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <filesystem>
#include <stdexcept>

namespace mirel::bench {

namespace {

constexpr const char* kTypeId = "1";  // of the whole model; ids of real items are not that small

rapidjson::Value MakeType(rapidjson::Value& items, rapidjson::Document::AllocatorType& memory) {
  rapidjson::Value type(rapidjson::kObjectType);
  type.AddMember("Type", "Group", memory);
  type.AddMember("Id", rapidjson::StringRef(kTypeId), memory);
  type.AddMember("Name", "model", memory);
  type.AddMember("Children", items, memory);
  return type;
}

rapidjson::Value MakeInstance(std::size_t number, const glm::dvec2& place,
                              rapidjson::Document::AllocatorType& memory) {
  rapidjson::Value instance(rapidjson::kObjectType);
  instance.AddMember("Type", "Instance", memory);
  instance.AddMember("Id", rapidjson::Value(std::to_string(number + 2).c_str(), memory), memory);
  instance.AddMember("Name", rapidjson::Value(("copy " + std::to_string(number)).c_str(), memory), memory);
  rapidjson::Value transform(rapidjson::kArrayType);
  for (int i = 0; i < 16; ++i)
    transform.PushBack(i == 12 ? place.x : i == 13 ? place.y : i % 5 == 0 ? 1.0 : 0.0, memory);
  instance.AddMember("Transform", transform, memory);
  instance.AddMember("TId", rapidjson::StringRef(kTypeId), memory);
  return instance;
}

}  // namespace

std::string MakeCopies(const std::string& work, std::size_t copies) {
  namespace fs = std::filesystem;
  const std::string folder = work + "copies-" + std::to_string(copies) + "/";
  if (fs::exists(folder + "index.gz")) return folder;
  const std::shared_ptr<RawBuffer> text = GzBuffer::FromFile(IndexFile(work));
  const std::shared_ptr<SceneNode> model = LiteSceneReader().Load(IndexFile(work), nullptr);
  rapidjson::Document index;
  if (!text || !model || index.Parse(text->GetData()).HasParseError())
    throw std::runtime_error("cannot open " + IndexFile(work));

  const AABoxT<double> box = GetNodeBox(*model);
  const glm::dvec2 pitch = (box.GetMax() - box.GetMin()) * 1.1;
  const auto side = static_cast<std::size_t>(std::ceil(std::sqrt(copies)));
  rapidjson::Value items(rapidjson::kArrayType);
  for (std::size_t i = 0; i < copies; ++i)
    items.PushBack(MakeInstance(i, glm::dvec2(i % side, i / side) * pitch, index.GetAllocator()),  // NOLINT
                   index.GetAllocator());
  index["Types"].PushBack(MakeType(index["Items"], index.GetAllocator()), index.GetAllocator());
  index["Items"] = items;

  fs::create_directories(folder);
  for (const char* const kind : {"grep", "model"})
    fs::copy(ModelFolder(work) + kind, folder + kind);
  rapidjson::StringBuffer json;
  rapidjson::Writer<rapidjson::StringBuffer> writer(json);
  index.Accept(writer);
  ogzstream((folder + "index.gz").c_str(), std::ios_base::out).write_str(json.GetString());
  return folder;
}

std::size_t CountCopies(const std::string& work, std::size_t bodies) {
  const std::shared_ptr<SceneNode> model = LiteSceneReader().Load(IndexFile(work), nullptr);
  const std::size_t count = model ? DrawScene(*model).GetPlacementCount() : 0;
  if (count == 0) throw std::runtime_error("nothing is drawn of the model");
  return bodies / count + 1;
}

}  // namespace mirel::bench
