#include <Programs/mirel/Check/IndexCheck.h>

#include <Programs/mirel/Check/FindingList.h>
#include <Programs/mirel/Text/Plural.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>
#include <Viewer/Kernel/Reader/ShallowDocument.h>

#include <glm/mat4x4.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace mirel {

namespace {

using rapidjson::Value;

constexpr std::size_t kNameShown = 60;
constexpr double kAffineTolerance = 1e-9;
// Of the determinant of a placement whose columns are scaled to length 1: less is flat for single precision.
constexpr double kMinDeterminant = 1e-6;

std::string_view TextOf(const Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

const Value* MemberOf(const Value& object, const char* name) {
  const auto member = object.FindMember(name);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

const char* KindOf(const Value& value) {
  static constexpr const char* kKinds[] = {"null",     "false",    "true",    "an object",
                                           "an array", "a string", "a number"};
  return kKinds[value.GetType()];
}

// What a walk through the unfolded content of an item meets; both saturate.
struct Extent {
  std::uint64_t items = 0;
  std::uint64_t levels = 0;

  void Add(const Extent& other) {
    items = std::min<std::uint64_t>(items + other.items, std::uint64_t{1} << 62);
    levels = std::max(levels, other.levels);
  }
};

class Checker {
 public:
  Checker(IndexCheck& result, const std::string& file, FindingList& findings)
      : result_(result), file_(file), findings_(findings) {}

  void CheckRoot(const Value& root) {
    if (!root.IsObject()) {
      Report(CheckCode::kIndexNoItems, std::string("is ") + KindOf(root) + " and not an object");
      return;
    }
    CheckMembers(root, "the root object", {"Version", "Author", "Metadata", "Types", "Items"});
    CheckHead(root);
    const Value* const types = FindList(root, "Types");
    const Value* const items = FindList(root, "Items");
    if (types != nullptr) {
      CheckTypes(*types);
    }
    if (items == nullptr || types == nullptr) {
      return;
    }
    for (rapidjson::SizeType i = 0; i < items->Size(); ++i) {
      roots_.emplace_back();
      CheckItem((*items)[i], "element " + std::to_string(i + 1) + " of Items", roots_.back());
    }
    CheckReferences();
    result_.opens = true;
  }

 private:
  // What the unfolding of an item needs to know: its own content, and which types are used how deep in it.
  struct Content {
    std::string name;
    Extent own;
    std::vector<std::pair<ObjectId, std::uint64_t>>
        types;  // and the level of the instance, 1 for the item itself
  };
  struct Type {
    Content content;
    bool used = false;
    enum { kNew, kOpen, kDone } state = kNew;
    Extent extent;
  };

  void Report(CheckCode code, const std::string& text) { findings_.Add(code, file_, text); }

  // Names what readers ignore: members that are unknown, or there for a second time.
  void CheckMembers(const Value& object, const std::string& where,
                    std::initializer_list<std::string_view> known) {
    // Of the few members that items have, a list is searched faster than a set.
    std::set<std::string_view> set;
    std::vector<std::string_view> list;
    const bool isSmall = object.MemberCount() <= 2 * known.size();
    for (const auto& member : object.GetObject()) {
      const std::string_view name = TextOf(member.name);
      const bool isNew =
          isSmall ? std::find(list.begin(), list.end(), name) == list.end() : set.insert(name).second;
      if (isSmall) {
        list.push_back(name);
      }
      if (!isNew) {
        Report(CheckCode::kMemberTwice, where + ": " + Quoted(name) + " is there again; the first counts");
      } else if (std::find(known.begin(), known.end(), name) == known.end()) {
        Report(CheckCode::kUnknownMember, where + ": " + Quoted(name) + " is not known and ignored");
      }
    }
  }

  static std::string Quoted(std::string_view text) {
    std::string shown = "\"";
    for (std::size_t at = 0; at < text.size();) {
      const Utf8::Character character = Utf8::Decode(text, at);
      if (shown.size() + character.length > kNameShown) {
        return shown + "...\"";
      }
      shown.append(text, at, character.length);
      at += character.length;
    }
    return shown + "\"";
  }

  void CheckHead(const Value& root) {
    const Value* const version = MemberOf(root, "Version");
    if (version == nullptr || !version->IsUint() || version->GetUint() != 1) {
      Report(CheckCode::kIndexVersion, "\"Version\" is not 1; readers take it for 1");
    }
    const Value* const author = MemberOf(root, "Author");
    if (author == nullptr || !author->IsString() || TextOf(*author) != "Orvane") {
      Report(CheckCode::kIndexVersion, "\"Author\" is not the one of this format");
    }
    const Value* const metadata = MemberOf(root, "Metadata");
    if (metadata == nullptr) {
      return;
    }
    if (!metadata->IsObject()) {
      Report(CheckCode::kWrongType, std::string("\"Metadata\" is ") + KindOf(*metadata) +
                                        " and not an object: no packages are looked for");
      return;
    }
    CheckMembers(*metadata, "\"Metadata\"", {"PkgShape", "PkgGRep"});
    const auto readCount = [&](const char* name, std::uint32_t& count) {
      const Value* const value = MemberOf(*metadata, name);
      if (value != nullptr && value->IsUint()) {
        count = value->GetUint();
      } else if (value != nullptr) {
        Report(CheckCode::kIndexCounts,
               std::string("\"") + name + "\" is not a number of packages and taken for 0");
      }
    };
    readCount("PkgShape", result_.shapePackages);
    readCount("PkgGRep", result_.grepPackages);
  }

  const Value* FindList(const Value& root, const char* name) {
    const Value* const list = MemberOf(root, name);
    if (list == nullptr || !list->IsArray()) {
      Report(CheckCode::kIndexNoItems,
             list == nullptr ? std::string("has no \"") + name + "\""
                             : std::string("\"") + name + "\" is " + KindOf(*list) + " and not an array");
      return nullptr;
    }
    return list;
  }

  void CheckTypes(const Value& types) {
    for (rapidjson::SizeType i = 0; i < types.Size(); ++i) {
      Content content;
      ObjectId id;
      const bool read = CheckItem(types[i], "element " + std::to_string(i + 1) + " of Types", content, &id);
      if (!read || id == ObjectId()) {
        continue;
      }
      ++result_.types;
      Type& type = types_[id];
      if (!type.content.name.empty()) {
        Report(CheckCode::kTypeTwice,
               content.name + " has the id of " + type.content.name + " and replaces it");
      }
      type.content = std::move(content);
    }
  }

  // An item at the top or in the list of types, with all below it.
  bool CheckItem(const Value& value, const std::string& place, Content& content, ObjectId* id = nullptr) {
    content_ = &content;
    const std::size_t uses = result_.uses.size();
    const bool read = CheckNested(value, place, 1, id);
    content_ = nullptr;
    if (!read) {
      content = Content();
      result_.uses.resize(uses);
    }
    return read;
  }

  // False when a reader leaves the item out. Recursion is bounded by the depth that the document may have.
  bool CheckNested(const Value& value, const std::string& place, std::uint64_t level, ObjectId* typeId) {
    if (!value.IsObject()) {
      Report(CheckCode::kNoItem, place + " is " + KindOf(value) + " and no item: it is left out");
      return false;
    }
    const Value* const type = MemberOf(value, "Type");
    const std::string_view kind = type != nullptr && type->IsString() ? TextOf(*type) : std::string_view();
    const bool isShape = kind == "Shape";
    const bool isGroup = kind == "Group";
    if (!isShape && !isGroup && kind != "Instance") {
      Report(CheckCode::kNoItem,
             Name("item", value, place) +
                 (type == nullptr ? " has no kind: it is left out" : " is of no known kind: it is left out"));
      return false;
    }
    const std::string name = Name(isShape ? "shape" : isGroup ? "group" : "instance", value, place);
    const Value* const children = isGroup ? MemberOf(value, "Children") : nullptr;
    if (isGroup && (children == nullptr || !children->IsArray())) {
      Report(CheckCode::kGroupWithoutChildren, name + " has no array \"Children\": it is left out");
      return false;
    }
    ++result_.items;
    content_->own.Add({CountAsWalkItems(NameLength(value), 0), level});
    if (level == 1) {
      content_->name = name;
    }
    const ObjectId id = CheckCommon(value, name, typeId);
    result_.bodyOf[id] = ObjectId();
    if (isShape) {
      result_.bodyOf[id] = CheckShape(value, name);
    } else if (isGroup) {
      CheckMembers(value, name, {"Type", "Id", "Name", "Color", "Transform", "Children"});
      // What lies deeper is not read; `CheckDepth` tells it.
      for (rapidjson::SizeType i = 0; i < children->Size() && level <= kMaxNesting; ++i) {
        CheckNested((*children)[i], "child " + std::to_string(i + 1) + " of " + name, level + 1, nullptr);
      }
    } else {
      CheckMembers(value, name, {"Type", "Id", "Name", "Color", "Transform", "TId"});
      ObjectId used;
      if (ReadId(value, name, "TId", true, used)) {
        content_->types.emplace_back(used, level);
        instances_.push_back({used, name});
      }
    }
    return true;
  }

  // Up to a NUL character, as readers take it.
  static std::size_t NameLength(const Value& item) {
    const Value* const name = MemberOf(item, "Name");
    return name != nullptr && name->IsString() ? std::strlen(name->GetString()) : 0;
  }

  static std::string Name(const char* kind, const Value& item, const std::string& place) {
    const Value* const id = MemberOf(item, "Id");
    const Value* const name = MemberOf(item, "Name");
    std::string text = kind;
    if (id != nullptr && id->IsString()) {
      text += " " + std::string(TextOf(*id).substr(0, 20));
    }
    if (name != nullptr && name->IsString() && name->GetStringLength() > 0) {
      text += " " + Quoted(TextOf(*name));
    }
    return text == kind ? text + " (" + place + ")" : text;
  }

  // False when there is no such member that a reader can take.
  bool CheckKind(const Value& item, const std::string& name, const char* member, bool good,
                 const char* wanted) {
    if (!good) {
      Report(CheckCode::kWrongType, name + ": \"" + member + "\" is " + KindOf(*MemberOf(item, member)) +
                                        " and not " + wanted + ": it is ignored");
    }
    return good;
  }

  bool ReadId(const Value& item, const std::string& name, const char* member, bool needed, ObjectId& id) {
    const Value* const value = MemberOf(item, member);
    if (value == nullptr) {
      Report(needed ? CheckCode::kBadId : CheckCode::kNoId, name + " has no \"" + member + "\"");
      return false;
    }
    if (!CheckKind(item, name, member, value->IsString(), "a string")) {
      return false;
    }
    id = ObjectId(std::string(TextOf(*value)));
    if (id == ObjectId()) {
      Report(CheckCode::kBadId,
             name + ": \"" + member + "\" is " + Quoted(TextOf(*value)) + ", which is no id");
      return false;
    }
    return true;
  }

  // The id of the item; 0 when it has none.
  ObjectId CheckCommon(const Value& item, const std::string& name, ObjectId* typeId) {
    ObjectId id;
    if (ReadId(item, name, "Id", typeId != nullptr, id) && typeId == nullptr) {
      const auto [place, isNew] = names_.emplace(id, name);
      if (!isNew) {
        Report(CheckCode::kItemTwice, name + " has the id of " + place->second);
      }
    }
    if (typeId != nullptr) {
      *typeId = id;
    }
    if (const Value* const text = MemberOf(item, "Name")) {
      if (CheckKind(item, name, "Name", text->IsString(), "a string")) {
        CheckName(TextOf(*text), name);
      }
    }
    if (const Value* const color = MemberOf(item, "Color")) {
      if (CheckKind(item, name, "Color", color->IsArray(), "an array")) {
        CheckColor(*color, name);
      }
    }
    if (const Value* const transform = MemberOf(item, "Transform")) {
      if (CheckKind(item, name, "Transform", transform->IsArray(), "an array")) {
        CheckTransform(*transform, name);
      }
    }
    return id;
  }

  void CheckName(std::string_view text, const std::string& name) {
    if (text.find('\0') != std::string_view::npos) {
      Report(CheckCode::kBadName, name + ": its name is cut at a NUL character");
    }
    for (std::size_t at = 0; at < text.size();) {
      const Utf8::Character character = Utf8::Decode(text, at);
      if (!character.valid) {
        Report(CheckCode::kBadName, name + ": its name is not UTF-8 at byte " + std::to_string(at));
        return;
      }
      at += character.length;
    }
  }

  void CheckColor(const Value& color, const std::string& owner) {
    bool good = color.Size() == 3;
    for (const Value& component : color.GetArray()) {
      good = good && component.IsNumber() && component.GetDouble() >= 0.0 && component.GetDouble() <= 1.0;
    }
    if (!good) {
      Report(CheckCode::kBadColor, owner + ": its colour is not three numbers from 0 to 1");
    }
  }

  void CheckTransform(const Value& transform, const std::string& name) {
    if (transform.Size() != 16) {
      Report(CheckCode::kNoTransform,
             name + ": its placement has " + Plural::Count(transform.Size(), "number|numbers") + ", not 16" +
                 (transform.Size() < 16 ? ", and is ignored" : ": the others are ignored"));
    }
    if (transform.Size() < 16) {
      return;
    }
    glm::dmat4 matrix;
    bool isNear = true;
    for (rapidjson::SizeType k = 0; k < 16; ++k) {
      if (!transform[k].IsNumber()) {
        Report(CheckCode::kNoTransform,
               name + ": its placement holds " + KindOf(transform[k]) + ", and is ignored");
        return;
      }
      double& element = matrix[static_cast<int>(k / 4)][static_cast<int>(k % 4)];
      element = transform[k].GetDouble();
      if (!std::isfinite(element)) {
        Report(CheckCode::kNoTransform,
               name + ": its placement holds a number beyond all bounds, and is ignored");
        return;
      }
      isNear = isNear && std::abs(element) <= kMaxMeshCoordinate;
    }
    const char* reason = nullptr;
    if (!isNear) {
      reason = "holds numbers beyond all bounds";
    } else if (std::abs(matrix[0][3]) + std::abs(matrix[1][3]) + std::abs(matrix[2][3]) +
                   std::abs(matrix[3][3] - 1.0) >
               kAffineTolerance) {
      reason = "is no placement: its last row is not 0 0 0 1";
    } else {
      glm::dmat3 axes(matrix);
      for (int column = 0; column < 3; ++column) {
        const double length = glm::length(axes[column]);
        axes[column] /= length > 0.0 ? length : 1.0;
      }
      if (!(std::abs(glm::determinant(axes)) >= kMinDeterminant)) {
        reason = "is flat: it cannot be undone";
      }
    }
    if (reason != nullptr) {
      Report(CheckCode::kBadTransform, name + ": its placement " + reason);
    }
  }

  // The id of the body; 0 when it has none.
  ObjectId CheckShape(const Value& item, const std::string& name) {
    CheckMembers(item, name, {"Type", "Id", "Name", "Color", "Transform", "SId", "FColor"});
    IndexCheck::Use use;
    use.item = name;
    if (const Value* const colors = MemberOf(item, "FColor")) {
      if (CheckKind(item, name, "FColor", colors->IsArray(), "an array")) {
        CheckFaceColors(*colors, name, use.faces);
        content_->own.Add({CountAsWalkItems(0, use.faces.size()) - 1, 0});
      }
    }
    if (!ReadId(item, name, "SId", true, use.body)) {
      return ObjectId();
    }
    result_.uses.push_back(std::move(use));
    return result_.uses.back().body;
  }

  void CheckFaceColors(const Value& colors, const std::string& name, std::vector<std::uint32_t>& faces) {
    std::set<std::uint32_t> seen;
    for (rapidjson::SizeType i = 0; i < colors.Size(); ++i) {
      const Value& entry = colors[i];
      const std::string place = name + ": face colour " + std::to_string(i + 1);
      const Value* const face = entry.IsObject() ? MemberOf(entry, "FId") : nullptr;
      if (face == nullptr || (!face->IsInt64() && !face->IsUint64())) {
        Report(CheckCode::kBadFaceColor, place + " has no face index and is ignored");
        continue;
      }
      CheckMembers(entry, place, {"FId", "Color"});
      // The low 32 bits, as readers take them.
      const std::uint32_t index = static_cast<std::uint32_t>(
          face->IsUint64() ? face->GetUint64() : static_cast<std::uint64_t>(face->GetInt64()));
      faces.push_back(index);
      if (!seen.insert(index).second) {
        Report(CheckCode::kFaceColorTwice,
               name + ": face " + std::to_string(index) + " has more than one colour; the last counts");
      }
      const Value* const color = MemberOf(entry, "Color");
      if (color == nullptr || !color->IsArray()) {
        Report(CheckCode::kBadColor, place + " has no array \"Color\": the face is white");
      } else {
        CheckColor(*color, place);
      }
    }
  }

  void CheckReferences() {
    for (const auto& [id, name] : instances_) {
      const auto type = types_.find(id);
      if (type == types_.end()) {
        Report(CheckCode::kTypeMissing,
               name + " is of the type " + id.toString() + ", which is not there: it shows nothing");
      } else {
        type->second.used = true;
      }
    }
    // In the order of the file.
    std::vector<std::pair<const ObjectId, Type>*> ordered;
    for (auto& type : types_) {
      ordered.push_back(&type);
    }
    std::sort(ordered.begin(), ordered.end(),
              [](const auto* a, const auto* b) { return a->first.GetInteger() < b->first.GetInteger(); });
    for (auto* const type : ordered) {
      if (!type->second.used) {
        Report(CheckCode::kTypeUnused, type->second.content.name + " is a type without an instance");
      }
      CheckDepth(type->second.content, type->second.content.own);
      Measure(type->second);
    }
    Extent all;
    for (const Content& root : roots_) {
      const Extent extent = Unfold(root);
      all.Add(extent);
      CheckDepth(root, extent);
    }
    if (all.items > kMaxWalkItems) {
      Report(CheckCode::kTooMany,
             "the items unfold into more than " + std::to_string(kMaxWalkItems) + ": the rest is left out");
    }
  }

  void CheckDepth(const Content& content, const Extent& extent) {
    if (extent.levels > kMaxNesting) {
      Report(CheckCode::kTooDeep, content.name + " has more than " + std::to_string(kMaxNesting) +
                                      " levels: what is deeper is left out");
    }
  }

  Extent Unfold(const Content& content) {
    Extent extent = content.own;
    for (const auto& [id, level] : content.types) {
      const auto type = types_.find(id);
      if (type != types_.end() && type->second.state == Type::kDone) {
        extent.Add({type->second.extent.items, type->second.extent.levels + level});
      }
    }
    return extent;
  }

  // The extent of a type and of those it is made of; a list of open types, not recursion, as there may be millions.
  void Measure(Type& start) {
    if (start.state != Type::kNew) {
      return;
    }
    std::vector<std::pair<Type*, std::size_t>> open = {{&start, 0}};
    start.state = Type::kOpen;
    while (!open.empty()) {
      Type& type = *open.back().first;
      if (open.back().second == type.content.types.size()) {
        type.extent = Unfold(type.content);
        type.state = Type::kDone;
        open.pop_back();
        continue;
      }
      const auto used = types_.find(type.content.types[open.back().second++].first);
      if (used == types_.end()) {
        continue;
      }
      if (used->second.state == Type::kOpen) {
        Report(CheckCode::kTypeInItself,
               used->second.content.name + " contains itself" +
                   (&used->second == &type ? "" : ", through " + type.content.name) +
                   ": that instance is left out");
      } else if (used->second.state == Type::kNew) {
        used->second.state = Type::kOpen;
        open.emplace_back(&used->second, 0);
      }
    }
  }

  struct Instance {
    ObjectId type;
    std::string name;
  };

  IndexCheck& result_;
  const std::string& file_;
  FindingList& findings_;
  Content* content_ = nullptr;  // of the item that is being read
  std::vector<Content> roots_;
  std::unordered_map<ObjectId, Type, SecretIdHash> types_;
  std::unordered_map<ObjectId, std::string, SecretIdHash> names_;
  std::vector<Instance> instances_;
};

}  // namespace

void IndexCheck::Run(std::string&& content, const std::string& file, FindingList& findings) {
  const std::size_t end = content.find('\0');
  if (end != std::string::npos) {
    findings.Add(CheckCode::kIndexBehindEnd, file,
                 "has " + Plural::Count(content.size() - end,
                                        "byte|bytes from a NUL character on, which is|are not read"));
  }
  ShallowDocument document;
  if (!document.ParseText(std::move(content))) {
    findings.Add(CheckCode::kIndexNoJson, file,
                 "is no JSON from byte " + std::to_string(document.GetErrorOffset()) + " on");
    return;
  }
  Checker(*this, file, findings).CheckRoot(document);
}

}  // namespace mirel
