#include <Programs/mirel/Web/WebModel.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Save/InputFolder.h>
#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Web/DrawingPackages.h>
#include <Programs/mirel/Web/LzipFile.h>
#include <Programs/mirel/Web/Overview.h>
#include <Programs/mirel/Web/PageText.h>
#include <Programs/mirel/Web/TightGzip.h>

#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <utility>

namespace fs = std::filesystem;

namespace mirel {

bool WebModel::Open(Console& console, const std::string& path) {
  const std::string refusal = ModelPath::Check(path);
  if (!refusal.empty()) {
    console.Error(path, refusal);
    return false;
  }
  const LogRecorder log(console, path);
  ModelFolder model;
  if (!model.Load(path)) {
    if (log.GetFailureCount() == 0) {
      console.Error(path, "is not a model folder: its index has no types and items");
    }
    return false;
  }
  const auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visitor(model.GetModel(), nullptr, root);
  model.GetModel().Apply(&visitor);
  complete_ = log.GetFailureCount() == 0;
  const AABoxT<double> box = GetNodeBox(*root);
  visible_ = box.IsFinite();
  std::vector<std::string> drawings;
  if (contents_.drawings) {
    drawings = DrawingPackages::Make(model);
  }
  overview_ = Overview::ToJson(model, box, contents_.bodies, drawings);
  const LiteModel::ItemList& items = model.GetModel().GetItems();
  name_ = items.size() == 1 && items.front() ? items.front()->GetName() : std::string();

  const std::string index = ModelPath::FindIndex(path);
  const std::string folder = PathUtil::GetFolderPath(index);
  const std::string bodies = std::string(FolderFiles::kShapes) + "/";
  for (const ModelFolder::File& file : model.GetFiles()) {
    const bool isBody = file.name.compare(0, bodies.size(), bodies) == 0;
    if (!file.missing && (contents_.bodies || !isBody)) {
      files_.push_back({file.name, file.name == FolderFiles::kIndex ? index : folder + file.name, ""});
    }
  }
  for (std::size_t i = 0; i < drawings.size(); ++i) {
    if (!drawings[i].empty()) {
      const auto number = static_cast<std::uint32_t>(i + 1);
      files_.push_back({std::string(FolderFiles::kDrawings) + "/" +
                            FolderFiles::GetPackageName(number, FolderFiles::kDrawings),
                        "", std::move(drawings[i])});
    }
  }
  const std::shared_ptr<RawBuffer> text = contents_.drawings ? GzBuffer::FromFile(index) : nullptr;
  std::string tight = text ? LzipFile::Pack({text->GetData(), text->GetSize()}) : std::string();
  if (!tight.empty()) {
    files_.push_back({FolderFiles::kTightIndex, "", std::move(tight)});
  }
  std::error_code failure;
  if (fs::is_regular_file(fs::u8path(folder + FolderFiles::kExtras), failure)) {
    files_.push_back({FolderFiles::kExtras, folder + FolderFiles::kExtras, ""});
  }
  return true;
}

std::string WebModel::MakeTitle(const std::string& input) const {
  return PageText::CutTitle(name_.empty() ? InputFolder::GetName(input) : name_);
}

ExitCode WebModel::Conclude(Console& console, const std::string& input, bool isStrict) const {
  if (!visible_) {
    console.Note(input + ": nothing is to be seen; the page is empty");
  }
  if (!complete_) {
    return ExitCode::kInputUnread;
  }
  return isStrict && !visible_ ? ExitCode::kLosses : ExitCode::kDone;
}

bool WebModel::Read(const File& file, std::string& content, std::string& reason) {
  content = file.content;
  const auto take = [&](const char* bytes, std::size_t size) { content.append(bytes, size); };
  if (!file.path.empty() &&
      !FileBytes::Read(file.path, std::numeric_limits<std::uint32_t>::max(), take, reason)) {
    return false;
  }
  if (file.name == FolderFiles::kIndex || file.name == FolderFiles::kExtras) {
    content = TightGzip::Repack(std::move(content));
  }
  return true;
}

}  // namespace mirel
