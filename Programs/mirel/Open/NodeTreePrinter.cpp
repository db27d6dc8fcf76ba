#include <Programs/mirel/Open/NodeTreePrinter.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Extras/ExtrasWriter.h>
#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Core/MathUtil.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <glm/gtc/type_ptr.hpp>

#include <charconv>
#include <vector>

namespace mirel {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{4} << 20;

std::size_t CountChildren(const SceneNode& node) {
  const auto* group = dynamic_cast<const GroupSceneNode*>(&node);
  return group != nullptr ? group->GetNodes().size() : 0;
}

void AppendNumber(std::string& out, float value) {
  char digits[32];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace

NodeTreePrinter::NodeTreePrinter(Console& console, bool json, std::uint64_t depth)
    : console_(console), json_(json), depth_(depth) {}

bool NodeTreePrinter::Flush(std::string& buffer, std::size_t limit) {
  if (buffer.size() < limit) {
    return true;
  }
  const bool written = console_.Data(buffer);
  buffer.clear();
  return written;
}

void NodeTreePrinter::AppendText(const SceneNode& node, std::uint64_t level, bool cut) {
  const auto* shape = dynamic_cast<const BrepSceneNode*>(&node);
  text_.append(static_cast<std::size_t>(level) * 2, ' ');
  text_ += shape != nullptr ? "shape " : "group ";
  Utf8::AppendQuoted(text_, node.GetName());
  text_ += " id ";
  text_ += std::to_string(node.GetUserId());
  if (shape != nullptr && shape->GetColor().r >= 0.0F) {
    text_ += " color";
    for (int i = 0; i < 3; ++i) {
      text_.push_back(' ');
      AppendNumber(text_, shape->GetColor()[i]);
    }
  }
  if (shape != nullptr && !shape->GetFaceColors().empty()) {
    text_ += " face-colors " + std::to_string(shape->GetFaceColors().size());
  }
  if (cut) {
    text_ += " children " + std::to_string(CountChildren(node));
  }
  text_.push_back('\n');
}

void NodeTreePrinter::BeginNode(const SceneNode& node, std::uint64_t level, bool cut, JsonText& json) {
  if (!json_) {
    AppendText(node, level, cut);
    return;
  }
  const auto* shape = dynamic_cast<const BrepSceneNode*>(&node);
  json.BeginObject();
  json.Key("kind");
  json.Text(shape != nullptr ? "shape" : "group");
  json.Key("name");
  json.Text(node.GetName());
  json.Key("id");
  json.Text(std::to_string(node.GetUserId()));
  if (!MathUtil::IsIdentity(node.GetTransform())) {
    json.Key("transform");
    json.Numbers(glm::value_ptr(node.GetTransform()), 16);
  }
  if (shape != nullptr && shape->GetColor().r >= 0.0F) {
    json.Key("color");
    json.Numbers(glm::value_ptr(shape->GetColor()), 3);
  }
  if (shape != nullptr && !shape->GetFaceColors().empty()) {
    json.Key("faceColors");
    json.BeginObject();
    for (const auto& face : shape->GetFaceColors()) {
      json.Key(std::to_string(face.first));
      json.Numbers(glm::value_ptr(face.second), 3);
    }
    json.EndObject();
  }
  if (cut) {
    json.Key("childCount");
    json.Unsigned(CountChildren(node));
  }
}

bool NodeTreePrinter::Print(const GroupSceneNode& root) {
  struct Open {
    const GroupSceneNode* group;
    std::size_t next;
  };
  JsonText json(false);
  std::string& buffer = json_ ? json.GetText() : text_;
  if (json_) {
    json.BeginObject();
    json.Key("nodes");
    json.BeginArray();
  }
  // Levels come from the file, so the way back up is kept in a list, not on the stack.
  std::vector<Open> open;
  if (depth_ > 0) {
    open.push_back({&root, 0});
  }
  while (!open.empty()) {
    if (open.back().next == open.back().group->GetNodes().size()) {
      open.pop_back();
      if (json_ && !open.empty()) {
        json.EndArray();
        json.EndObject();
      }
      continue;
    }
    const SceneNode& node = *open.back().group->GetNodes()[open.back().next++];
    const auto* group = dynamic_cast<const GroupSceneNode*>(&node);
    const bool goDown = group != nullptr && open.size() < depth_;
    const bool cut = group != nullptr && !goDown && !group->GetNodes().empty();
    BeginNode(node, open.size() - 1, cut, json);
    if (goDown) {
      if (json_) {
        json.Key("children");
        json.BeginArray();
      }
      open.push_back({group, 0});
    } else if (json_) {
      json.EndObject();
    }
    if (!Flush(buffer, kBufferBytes)) {
      return false;
    }
  }
  if (json_) {
    json.EndArray();
    if (extras_ != nullptr) {
      json.Key("extras");
      ExtrasWriter::AddTo(json, *extras_);
    }
    json.EndObject();
    buffer.push_back('\n');
  }
  return Flush(buffer, 0);
}

}  // namespace mirel
