#include <Programs/mirel/Extras/ExtrasReader.h>

#include <Programs/mirel/Extras/ExtrasWriter.h>

#include <Viewer/Kernel/Reader/ShallowDocument.h>

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

namespace fs = std::filesystem;

namespace mirel {

namespace {

using rapidjson::Value;
using Fault = ExtrasReader::Fault;

// Inflates gzip members one behind the other, but no more than there may be. False with a reason.
bool Inflate(const std::string& bytes, std::string& content, std::string& reason) {
  z_stream stream = {};
  if (inflateInit2(&stream, MAX_WBITS + 16) != Z_OK) {
    reason = "out of memory";
    return false;
  }
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  int status = Z_BUF_ERROR;
  do {
    if (status == Z_STREAM_END) {
      inflateReset(&stream);
    }
    char block[1 << 16];
    stream.next_out = reinterpret_cast<Bytef*>(block);
    stream.avail_out = sizeof block;
    status = inflate(&stream, Z_NO_FLUSH);
    content.append(block, sizeof block - stream.avail_out);
  } while (content.size() <= ExtrasWriter::kMaxBytes &&
           (status == Z_OK || (status == Z_STREAM_END && stream.avail_in > 0)));
  inflateEnd(&stream);
  const bool isTooLarge = content.size() > ExtrasWriter::kMaxBytes;
  if (isTooLarge || status != Z_STREAM_END) {
    reason = isTooLarge ? "holds more than " + std::to_string(ExtrasWriter::kMaxBytes >> 20) + " MiB"
                        : "is no gzip file, or damaged";
    return false;
  }
  return true;
}

bool TakeText(const Value& value, std::string& text) {
  if (value.IsString()) {
    text.assign(value.GetString(), value.GetStringLength());
  }
  return value.IsString();
}

bool TakeBool(const Value& value, bool& flag) {
  flag = value.IsTrue();
  return value.IsBool();
}

bool TakeIndex(const Value& value, std::uint32_t& index) {
  if (value.IsUint()) {
    index = value.GetUint();
  }
  return value.IsUint();
}

template <typename Number>
bool TakeNumber(const Value& value, std::optional<Number>& number) {
  if (!value.IsNumber() || !(std::abs(value.GetDouble()) <= std::numeric_limits<float>::max())) {
    return false;
  }
  number = static_cast<Number>(value.GetDouble());
  return true;
}

// A component of a colour, or its opacity.
bool TakeShare(const Value& value, std::optional<float>& share) {
  std::optional<float> number;
  if (!TakeNumber(value, number) || *number < 0.0F || *number > 1.0F) {
    return false;
  }
  share = number;
  return true;
}

template <typename Vector, typename Take>
bool TakeVector(const Value& value, std::optional<Vector>& vector, Take&& take) {
  if (!value.IsArray() || value.Size() != 3) {
    return false;
  }
  Vector read(0);
  for (int i = 0; i < 3; ++i) {
    std::optional<typename Vector::value_type> number;
    if (!take(value[static_cast<rapidjson::SizeType>(i)], number)) {
      return false;
    }
    read[i] = *number;
  }
  vector = read;
  return true;
}

bool TakeColor(const Value& value, std::optional<glm::vec3>& color) {
  return TakeVector(value, color, TakeShare);
}

// An array each of whose elements is taken; false when one is not.
template <typename Take>
bool TakeAll(const Value& value, Take&& take) {
  return value.IsArray() && std::all_of(value.Begin(), value.End(), take);
}

bool TakeTexts(const Value& value, std::vector<std::string>& texts) {
  return TakeAll(value, [&](const Value& element) { return TakeText(element, texts.emplace_back()); });
}

bool TakeIds(const Value& value, Extras::Ids& ids) {
  return TakeAll(value, [&](const Value& element) {
    ids.emplace_back(element.IsString() ? std::string(element.GetString()) : std::string());
    return ids.back() != ObjectId();
  });
}

bool TakeIndices(const Value& value, std::set<std::uint32_t>& indices) {
  return TakeAll(value, [&](const Value& element) {
    std::uint32_t index = 0;
    return TakeIndex(element, index) && indices.insert(index).second;
  });
}

class Parser {
 public:
  Parser(Extras& extras, const ExtrasReader::Listener& listener) : extras_(extras), listener_(listener) {}

  void ReadRoot(const Value& root) {
    std::optional<double> version;
    ReadMembers(root, "the root object",
                {{"Version", [&](const Value& value) { return TakeNumber(value, version); }},
                 {"Header", [&](const Value& value) { return ReadHeader(value); }},
                 {"Layers", [&](const Value& value) { return ReadLayers(value); }},
                 {"Items", [&](const Value& value) { return ReadItems(value); }}});
    if (version != 1.0) {
      Say(Fault::kVersion, "\"Version\" is not 1; it is read as 1");
    }
  }

 private:
  struct Member {
    std::string_view name;
    std::function<bool(const Value&)> take;  // false for a value that it cannot have
  };

  void Say(Fault fault, const std::string& text) const {
    if (listener_) {
      listener_(fault, text);
    }
  }

  // Hands each member to the one that takes it.
  void ReadMembers(const Value& object, const std::string& where, const std::vector<Member>& members) {
    std::vector<bool> seen(members.size());
    for (const auto& entry : object.GetObject()) {
      const std::string_view name(entry.name.GetString(), entry.name.GetStringLength());
      const auto member =
          std::find_if(members.begin(), members.end(), [&](const Member& m) { return m.name == name; });
      const std::string told = where + ": \"" + std::string(name.substr(0, 60)) + "\"";
      if (member == members.end()) {
        Say(Fault::kUnknownMember, told + " is not known and ignored");
        continue;
      }
      const auto place = static_cast<std::size_t>(member - members.begin());
      if (seen[place]) {
        Say(Fault::kMemberTwice, told + " is there again; the first counts");
      } else if (!member->take(entry.value)) {
        Say(Fault::kBadMember, told + " has a value that it cannot have; what is wrong is ignored");
      }
      seen[place] = true;
    }
  }

  // Calls for each object of an array; what is none is passed over with a message.
  template <typename Read>
  bool ReadObjects(const Value& value, const std::string& where, Read&& read) {
    if (!value.IsArray()) {
      return false;
    }
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
      const std::string place = "element " + std::to_string(i + 1) + " of " + where;
      if (!value[i].IsObject()) {
        Say(Fault::kBadMember, place + " is no object and ignored");
      } else {
        read(value[i], place);
      }
    }
    return true;
  }

  bool ReadHeader(const Value& value) {
    if (!value.IsObject()) {
      return false;
    }
    bool good = true;
    for (const auto& member : value.GetObject()) {
      std::vector<std::string> texts;
      good &= TakeTexts(member.value, texts);
      extras_.header.try_emplace(std::string(member.name.GetString(), member.name.GetStringLength()), texts);
    }
    return good;
  }

  bool ReadLayers(const Value& value) {
    return ReadObjects(value, "Layers", [&](const Value& object, const std::string& place) {
      Extras::Layer& layer = extras_.layers.emplace_back();
      ReadMembers(object, place,
                  {{"Name", [&](const Value& name) { return TakeText(name, layer.name); }},
                   {"Hidden", [&](const Value& hidden) { return TakeBool(hidden, layer.hidden); }}});
    });
  }

  bool ReadItems(const Value& value) {
    return ReadObjects(value, "Items", [&](const Value& object, const std::string& place) {
      Extras::Item item;
      ReadItem(object, place, item);
      if (item.ids.empty()) {
        Say(Fault::kBadMember, place + " names no item in \"Ids\" and is ignored");
      } else {
        extras_.items.push_back(std::move(item));
      }
    });
  }

  bool ReadMaterial(const Value& value, const std::string& place, Extras::Common& common) {
    if (!value.IsObject()) {
      return false;
    }
    Extras::Material& material = common.material.emplace();
    ReadMembers(value, place,
                {{"Name", [&](const Value& v) { return TakeText(v, material.name); }},
                 {"Description", [&](const Value& v) { return TakeText(v, material.description); }},
                 {"Density", [&](const Value& v) { return TakeNumber(v, material.density); }},
                 {"DensityName", [&](const Value& v) { return TakeText(v, material.densityName); }},
                 {"DensityType", [&](const Value& v) { return TakeText(v, material.densityType); }}});
    return true;
  }

  bool ReadProperties(const Value& value, const std::string& place, Extras::Properties& properties) {
    if (!value.IsObject()) {
      return false;
    }
    ReadMembers(value, place,
                {{"Volume", [&](const Value& v) { return TakeNumber(v, properties.volume); }},
                 {"Area", [&](const Value& v) { return TakeNumber(v, properties.area); }},
                 {"Centroid",
                  [&](const Value& v) { return TakeVector(v, properties.centroid, TakeNumber<double>); }}});
    return true;
  }

  // Reads the members that items and parts have alike, and those of their own.
  void ReadCommon(const Value& object, const std::string& place, Extras::Common& common,
                  std::vector<Member> own) {
    own.push_back({"Layers", [&](const Value& v) { return TakeTexts(v, common.layers); }});
    own.push_back({"Material", [&](const Value& v) { return ReadMaterial(v, place, common); }});
    own.push_back(
        {"Properties", [&](const Value& v) { return ReadProperties(v, place, common.properties); }});
    ReadMembers(object, place, own);
  }

  void ReadItem(const Value& object, const std::string& place, Extras::Item& item) {
    ReadCommon(object, place, item,
               {{"Ids", [&](const Value& v) { return TakeIds(v, item.ids); }},
                {"Within",
                 [&](const Value& v) {
                   return TakeAll(v,
                                  [&](const Value& ids) { return TakeIds(ids, item.within.emplace_back()); });
                 }},
                {"Hidden", [&](const Value& v) { return TakeBool(v, item.hidden); }},
                {"Alpha", [&](const Value& v) { return TakeShare(v, item.alpha); }},
                {"CurveColor", [&](const Value& v) { return TakeColor(v, item.curveColor); }},
                {"FAlpha", [&](const Value& v) { return ReadFaceAlphas(v, place, item); }},
                {"EColor", [&](const Value& v) { return ReadEdgeColors(v, place, item); }},
                {"HiddenFaces", [&](const Value& v) { return TakeIndices(v, item.hiddenFaces); }},
                {"HiddenEdges", [&](const Value& v) { return TakeIndices(v, item.hiddenEdges); }},
                {"Parts", [&](const Value& v) { return ReadParts(v, place, item); }}});
  }

  bool ReadFaceAlphas(const Value& value, const std::string& where, Extras::Item& item) {
    return ReadObjects(value, "FAlpha, " + where, [&](const Value& object, const std::string& place) {
      std::uint32_t face = kNone;
      std::optional<float> alpha;
      ReadMembers(object, place,
                  {{"FId", [&](const Value& v) { return TakeIndex(v, face); }},
                   {"Alpha", [&](const Value& v) { return TakeShare(v, alpha); }}});
      Keep(item.faceAlphas, face, alpha, place);
    });
  }

  bool ReadEdgeColors(const Value& value, const std::string& where, Extras::Item& item) {
    return ReadObjects(value, "EColor, " + where, [&](const Value& object, const std::string& place) {
      std::uint32_t edge = kNone;
      std::optional<glm::vec3> color;
      ReadMembers(object, place,
                  {{"EId", [&](const Value& v) { return TakeIndex(v, edge); }},
                   {"Color", [&](const Value& v) { return TakeColor(v, color); }}});
      Keep(item.edgeColors, edge, color, place);
    });
  }

  template <typename Value>
  void Keep(std::map<std::uint32_t, Value>& values, std::uint32_t index, const std::optional<Value>& value,
            const std::string& place) {
    if (index == kNone || !value || !values.emplace(index, *value).second) {
      Say(Fault::kBadMember, place + " is incomplete, or there is one for the same part; it is ignored");
    }
  }

  bool ReadParts(const Value& value, const std::string& where, Extras::Item& item) {
    return ReadObjects(value, "Parts, " + where, [&](const Value& object, const std::string& place) {
      Extras::Part part;
      part.index = kNone;
      ReadCommon(object, place, part,
                 {{"Kind", [&](const Value& v) { return TakeText(v, part.kind); }},
                  {"Index", [&](const Value& v) { return TakeIndex(v, part.index); }},
                  {"Name", [&](const Value& v) { return TakeText(v, part.name); }}});
      if (part.index == kNone || std::find(std::begin(Extras::kKinds), std::end(Extras::kKinds), part.kind) ==
                                     std::end(Extras::kKinds)) {
        Say(Fault::kBadMember, place + " names no part of a body and is ignored");
      } else {
        item.parts.push_back(std::move(part));
      }
    });
  }

  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

  Extras& extras_;
  const ExtrasReader::Listener& listener_;
};

}  // namespace

bool ExtrasReader::Fail(const std::string& reason) {
  error_ = reason;
  return false;
}

bool ExtrasReader::ReadFile(const std::string& path, const Listener& listener) {
  std::error_code failure;
  const fs::path file = fs::u8path(path);
  // Nothing else can be read to an end for sure.
  if (!fs::is_regular_file(file, failure)) {
    return Fail("is not a regular file");
  }
  const std::uintmax_t size = fs::file_size(file, failure);
  if (failure || size > ExtrasWriter::kMaxBytes) {
    return Fail(failure ? failure.message() : "is larger than extras may be");
  }
  std::string bytes(static_cast<std::size_t>(size), '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return stream ? ReadGzip(bytes, listener) : Fail("cannot be read to its end");
}

bool ExtrasReader::ReadGzip(const std::string& bytes, const Listener& listener) {
  std::string content;
  std::string reason;
  return Inflate(bytes, content, reason) ? ReadJson(std::move(content), listener) : Fail(reason);
}

bool ExtrasReader::ReadJson(std::string text, const Listener& listener) {
  isNoJson_ = true;
  ShallowDocument document;
  if (!document.ParseText(std::move(text))) {
    return Fail("is no JSON from byte " + std::to_string(document.GetErrorOffset()) +
                " on, or nests too deep");
  }
  if (!document.IsObject()) {
    return Fail("holds no JSON object");
  }
  isNoJson_ = false;
  Parser(extras_, listener).ReadRoot(document);
  return true;
}

}  // namespace mirel
