#include <Programs/mirel/Open/BoxVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/App/LiteBBoxVisitor.h>
#include <Viewer/Kernel/Model/GroupItem.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <vector>

namespace mirel {

namespace {

// An item and what its placement is relative to.
struct Found {
  LiteModelItem* item = nullptr;
  const LiteModelItem* parent = nullptr;  // null for a top-level item and a type
  bool isType = false;
};

// The item of this id among these and all below them, from top to bottom.
bool Search(const ObjectId& id, const std::vector<LiteModelItem*>& items, Found& found) {
  // Levels come from the file, so the way is kept in a list, not on the stack.
  std::vector<Found> open;
  for (auto item = items.rbegin(); item != items.rend(); ++item) {
    open.push_back({*item});
  }
  while (!open.empty()) {
    const Found next = open.back();
    open.pop_back();
    if (next.item->GetId() == id) {
      found = next;
      return true;
    }
    if (auto* group = dynamic_cast<GroupItem*>(next.item)) {
      for (auto child = group->GetChildren().rbegin(); child != group->GetChildren().rend(); ++child) {
        if (*child) {
          open.push_back({child->get(), group});
        }
      }
    }
  }
  return false;
}

bool Search(const std::string& text, LiteModel& model, Found& found) {
  const ObjectId id(text);
  if (id.toString() != text) {
    return false;  // no id at all
  }
  std::vector<LiteModelItem*> items;
  for (const auto& item : model.GetItems()) {
    if (item) {
      items.push_back(item.get());
    }
  }
  if (Search(id, items, found)) {
    return true;
  }
  if (LiteModelItem* const type = model.FindType(id)) {
    found = {type, nullptr, true};
    return true;
  }
  std::vector<LiteModelItem*> types;
  for (const auto& entry : model.GetTypes()) {
    types.push_back(entry.second.get());
  }
  std::sort(types.begin(), types.end(), [](const LiteModelItem* a, const LiteModelItem* b) {
    return a->GetId().GetInteger() < b->GetId().GetInteger();
  });
  return Search(id, types, found);
}

std::string Name(const LiteModelItem& item) {
  std::string text = item.GetType() + " ";
  text[0] = static_cast<char>(text[0] - 'A' + 'a');
  Utf8::AppendQuoted(text, item.GetName());
  return text + " id " + item.GetId().toString();
}

void AddLine(std::string& text, const char* title, const glm::dvec3& values) {
  text += title;
  for (int axis = 0; axis < 3; ++axis) {
    char digits[32];
    text.push_back(' ');
    text.append(digits, std::to_chars(digits, digits + sizeof digits, values[axis] + 0.0).ptr);  // no -0
  }
  text.push_back('\n');
}

std::string ToText(const Found& found, const AABoxT<double>& box) {
  std::string text = "box of the model, in its coordinates, in mm\n";
  if (found.item != nullptr) {
    text = "box of " + Name(*found.item) + ", in the coordinates of ";
    text += found.parent != nullptr ? Name(*found.parent) : found.isType ? "its instances" : "the model";
    text += ", in mm\n";
  }
  if (!box.IsFinite()) {
    return text + (box.IsEmpty() ? "empty\n" : "infinite\n");
  }
  AddLine(text, "min", box.GetMin());
  AddLine(text, "max", box.GetMax());
  AddLine(text, "size", box.GetMax() - box.GetMin());
  return text;
}

std::string ToJson(const std::string& path, const Found& found, const AABoxT<double>& box) {
  JsonText json(true);
  json.BeginObject();
  json.Key("path");
  json.Text(path);
  if (found.item != nullptr) {
    json.Key("id");
    json.Text(found.item->GetId().toString());
    json.Key("name");
    json.Text(found.item->GetName());
  }
  json.Key("coordinates");
  json.Text(found.parent != nullptr ? "parent" : found.isType ? "instance" : "model");
  json.Key("unit");
  json.Text("mm");
  json.Key("state");
  json.Text(box.IsFinite() ? "finite" : box.IsEmpty() ? "empty" : "infinite");
  if (box.IsFinite()) {
    for (const auto& [key, corner] : {std::make_pair("min", box.GetMin()), {"max", box.GetMax()}}) {
      json.Key(key);
      const glm::dvec3 numbers = corner + 0.0;  // no -0
      json.Numbers(&numbers[0], 3);
    }
  }
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace

CLI::App* BoxVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("box", "Tell the bounding box of a model, or of one item with all below it");
  verb->add_option("FOLDER", folder_, "Model folder, or its index file")->required();
  verb->add_option("--id", id_, "Id of the item, wherever it stands; its own placement is included")
      ->type_name("ID");
  verb->add_flag("--json", json_, "Print as JSON");
  return verb;
}

ExitCode BoxVerb::Run(Console& console) {
  const std::string refusal = ModelPath::Check(folder_);
  if (!refusal.empty()) {
    console.Error(folder_, refusal);
    return ExitCode::kInputUnread;
  }
  ModelFolder folder;
  Found found;
  AABoxT<double> box;
  bool complete = false;
  {
    const LogRecorder log(console, folder_);
    if (!folder.Load(folder_)) {
      if (log.GetFailureCount() == 0) {
        console.Error(folder_, "is not a model folder: its index has no types and items");
      }
      return ExitCode::kInputUnread;
    }
    LiteBBoxVisitor visitor(folder.GetModel());
    if (!id_) {
      folder.GetModel().Apply(&visitor);
    } else if (Search(*id_, folder.GetModel(), found)) {
      found.item->Apply(&visitor);
    } else {
      console.Error(folder_, "has no item with the id " + *id_);
      return ExitCode::kInputUnread;
    }
    box = visitor.GetBox();
    complete = log.GetFailureCount() == 0;
  }
  if (!console.Data(json_ ? ToJson(folder_, found, box) : ToText(found, box))) {
    console.Error("", "the box could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return complete ? ExitCode::kDone : ExitCode::kInputUnread;
}

}  // namespace mirel
