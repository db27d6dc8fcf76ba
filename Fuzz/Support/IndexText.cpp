#include <Fuzz/Support/IndexText.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace mirel::fuzz {

namespace {

using rapidjson::Document;
using rapidjson::Value;

/// Deeper text is not taken apart: the library recurses.
constexpr int kMaxDepth = 2000;

/// The names that the reader looks for, and values to stand in for others.
constexpr const char* kNames[] = {"Metadata", "PkgShape", "PkgGRep", "Types",    "Items",
                                  "Type",     "Id",       "Name",    "Color",    "Transform",
                                  "SId",      "FColor",   "FId",     "Children", "TId"};
constexpr const char* kValues =
    R"([null, true, 0, -1, 1, 0.5, -0.0, 1e308, -1e308, 1e39, 1e-320, 4294967295, 4294967296,)"
    R"( 18446744073709551615, -9223372036854775808, "", "1", "2", "7", "18446744073709551615", "Shape", "Group",)"
    R"( "Instance", "a\u0000b", [], {}, [1,0,0], [0.5,null,"x",4], [1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1],)"
    R"( [2,0,0,0,0,2,0,0,0,0,2,0,5,6,7,1], {"Type":"Shape","SId":"7","FColor":[{"FId":-1,"Color":[1]}]},)"
    R"( {"Type":"Instance","TId":"1"}, {"Type":"Group","Id":"1","Children":[]}])";

int MeasureDepth(const std::string& text) {
  int depth = 0;
  int greatest = 0;
  for (const char c : text) {
    if (c == '[' || c == '{') greatest = std::max(greatest, ++depth);
    if (c == ']' || c == '}') --depth;
  }
  return greatest;
}

/// The text as JSON; null when it is none.
void Parse(Document& document, const std::string& text) {
  document.Parse<rapidjson::kParseIterativeFlag>(text.c_str());
  if (document.HasParseError()) document.SetNull();
}

void Collect(Value& value, std::vector<Value*>& values) {
  values.push_back(&value);
  if (value.IsArray()) {
    for (Value& element : value.GetArray())
      Collect(element, values);
  } else if (value.IsObject()) {
    for (auto& member : value.GetObject())
      Collect(member.value, values);
  }
}

class Mutator {
 public:
  Mutator(Document& document, Random& random) : allocator_(document.GetAllocator()), random_(random) {
    Collect(document, values_);
  }

  void Change() {
    Value& value = *values_[Pick(random_, values_.size())];
    const std::size_t kind = Pick(random_, 8);
    if (kind == 1) {
      Nest(value);
    } else if (value.IsObject() && kind != 0) {
      ChangeObject(value);
    } else if (value.IsArray() && kind != 0) {
      ChangeArray(value);
    } else if (value.IsString() && (kind == 2 || kind == 3)) {
      const std::string text = MutateBytes(value.GetString(), 40);
      value.SetString(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator_);
    } else {
      value = PickValue();
    }
  }

 private:
  /// A copy of a value of the document, or one of those above.
  Value PickValue() {
    if (random_() % 2 == 0) return Value(*values_[Pick(random_, values_.size())], allocator_);
    Document others;
    others.Parse(kValues);
    return Value(others[static_cast<rapidjson::SizeType>(Pick(random_, others.Size()))], allocator_);
  }

  /// Puts groups around an item.
  void Nest(Value& item) {
    for (std::size_t levels = random_() % 8 == 0 ? 490 + Pick(random_, 20) : 1; levels > 0; --levels) {
      Value children(rapidjson::kArrayType);
      children.PushBack(item, allocator_);  // leaves the item null
      item.SetObject();
      item.AddMember("Type", "Group", allocator_);
      item.AddMember("Children", children, allocator_);
    }
  }

  void ChangeObject(Value& object) {
    const auto member =
        object.MemberBegin() + static_cast<std::ptrdiff_t>(Pick(random_, object.MemberCount()));
    const auto name = rapidjson::StringRef(kNames[Pick(random_, std::size(kNames))]);
    switch (Pick(random_, 4)) {
    case 0:
      if (!object.ObjectEmpty()) object.EraseMember(member);
      break;
    case 1:
      if (!object.ObjectEmpty()) member->name.SetString(name);
      break;
    case 2:
      if (!object.ObjectEmpty()) member->value = PickValue();
      break;
    default:
      object.AddMember(name, PickValue(), allocator_);
      break;
    }
  }

  void ChangeArray(Value& array) {
    const auto element = array.Begin() + Pick(random_, array.Size());
    switch (Pick(random_, 4)) {
    case 0:
      if (!array.Empty()) array.Erase(element);
      break;
    case 1:
      if (!array.Empty()) element->Swap(array[static_cast<rapidjson::SizeType>(Pick(random_, array.Size()))]);
      break;
    default: {
      const Value value = array.Empty() || random_() % 2 == 0 ? PickValue() : Value(*element, allocator_);
      for (std::size_t count = random_() % 8 == 0 ? 30 : 1; count > 0; --count)
        array.PushBack(Value(value, allocator_), allocator_);
      break;
    }
    }
  }

  Document::AllocatorType& allocator_;
  Random& random_;
  std::vector<Value*> values_;
};

}  // namespace

std::string MutateIndex(const std::string& text, Random& random, std::size_t maxSize) {
  if (random() % 8 == 0 || MeasureDepth(text) > kMaxDepth) return MutateBytes(text, maxSize);
  Document document;
  Parse(document, text);
  if (document.IsNull()) {
    if (random() % 4 != 0) return MutateBytes(text, maxSize);
    Parse(document, "{\"Types\":[],\"Items\":[]}");
  }
  Mutator(document, random).Change();
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return buffer.GetString();
}

}  // namespace mirel::fuzz
