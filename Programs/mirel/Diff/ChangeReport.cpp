#include <Programs/mirel/Diff/ChangeReport.h>

#include <Programs/mirel/Diff/Changes.h>
#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Plural.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <vector>

namespace mirel {

namespace {

using Side = BodyClasses::Side;
using Kind = Change::Kind;

constexpr double kDegrees = 180.0 / 3.14159265358979323846;

// To so many digits, and whole numbers to the last one; without zeros that say nothing.
std::string Format(double value, int digits) {
  const double size = std::abs(value);
  const int before = size >= 1.0 ? static_cast<int>(std::log10(size)) + 1 : 0;
  const int after = size < 1.0 && size > 0.0 ? digits - static_cast<int>(std::floor(std::log10(size))) - 1
                                             : std::max(0, digits - before);
  char text[400];
  std::string result(text, std::to_chars(text, text + sizeof text, value + 0.0, std::chars_format::fixed,
                                         std::min(after, 12))
                               .ptr);
  if (result.find('.') != std::string::npos) {
    result.erase(result.find_last_not_of('0') + 1);
    result.erase(result.find_last_not_of('.') + 1);
  }
  return result;
}

// The faces of two bodies.
struct FaceCounts {
  std::size_t same = 0;
  std::vector<std::uint32_t> gone, added;
};

FaceCounts CompareFaces(const Changes& changes, std::uint32_t oldBody, std::uint32_t newBody) {
  FaceCounts counts;
  const BodyFigures* const newer = changes.GetBodies().FindFigures(BodyClasses::kNew, newBody);
  std::vector<bool> isOld(newer != nullptr ? newer->faces.size() : 0, false);
  const std::vector<std::uint32_t>& match = changes.GetBodies().MatchFaces(oldBody, newBody);
  for (std::uint32_t face = 0; face < match.size(); ++face) {
    if (match[face] == BodyFigures::kNone || match[face] >= isOld.size()) {
      counts.gone.push_back(face);
    } else {
      ++counts.same;
      isOld[match[face]] = true;
    }
  }
  for (std::uint32_t face = 0; face < isOld.size(); ++face) {
    if (!isOld[face]) {
      counts.added.push_back(face);
    }
  }
  return counts;
}

// What both reports are made of: one change, and where to look things up.
class Teller {
 public:
  Teller(const Changes& changes, const Change& change) : changes_(changes), change_(change) {}

 protected:
  const Change::Place& GetPlace() const { return change_.places.front(); }
  const ComparedModel& GetModel(Side side) const { return changes_.GetModel(side); }
  static std::uint32_t GetNumber(const Change::Place& place, Side side) {
    return side == BodyClasses::kOld ? place.older : place.newer;
  }
  const ComparedNode& GetNode(Side side) const { return GetModel(side).GetNode(GetNumber(GetPlace(), side)); }
  const std::string& GetName(Side side) const { return GetNode(side).node->GetName(); }
  // The side on which the changed thing is there; the old one when it is on both.
  Side GetSide() const { return GetPlace().older == kNothing ? BodyClasses::kNew : BodyClasses::kOld; }
  const BodyFigures* FindFigures(Side side) const {
    return changes_.GetBodies().FindFigures(side, GetNode(side).bodyNumber);
  }
  FaceCounts CompareFaces() const {
    return mirel::CompareFaces(changes_, GetNode(BodyClasses::kOld).bodyNumber,
                               GetNode(BodyClasses::kNew).bodyNumber);
  }

  const Changes& changes_;
  const Change& change_;
};

class TextTeller : private Teller {
 public:
  using Teller::Teller;

  std::string Tell() {
    constexpr std::size_t kColumn = 15;
    text_ = kChangeKinds[static_cast<std::size_t>(change_.kind)].text;
    text_.resize(std::max(text_.size() + 1, kColumn), ' ');
    AppendName(GetSide());
    AppendDetails();
    return text_ + "\n";
  }

  // All but the kind and the name.
  std::string TellDetails() {
    AppendDetails();
    return text_.substr(std::min(text_.find_first_not_of(" :,\n"), text_.size()));
  }

 private:
  void AppendDetails() {
    switch (change_.kind) {
    case Kind::kAdded:
      AppendParent(" to ", BodyClasses::kNew);
      break;
    case Kind::kRemoved:
      AppendParent(" from ", BodyClasses::kOld);
      break;
    case Kind::kReparented:
      AppendParent(" from ", BodyClasses::kOld);
      AppendParent(" to ", BodyClasses::kNew);
      break;
    case Kind::kRenamed:
      text_ += " to ";
      AppendName(BodyClasses::kNew);
      break;
    case Kind::kMoved:
      AppendParent(" in ", BodyClasses::kOld);
      AppendMotion();
      break;
    case Kind::kRecolored:
      AppendColors();
      break;
    case Kind::kReshaped:
      break;
    }
    if (change_.places.size() > 1) {
      text_ += ", " + std::to_string(change_.places.size()) + " places";
    }
    if (change_.kind == Kind::kReshaped) {
      AppendShapes();
    }
  }

  void AppendName(Side side) { Utf8::AppendQuoted(text_, GetName(side)); }

  void AppendParent(const char* word, Side side) {
    const std::uint32_t parent = GetNode(side).parent;
    if (parent != kNothing && parent != 0) {
      text_ += word;
      Utf8::AppendQuoted(text_, GetModel(side).GetNode(parent).node->GetName());
    } else {
      text_ += word + std::string("the top level");
    }
  }

  void AppendMotion() {
    constexpr int kDigits = 4;
    if (change_.distance > 0.0) {
      text_ += " by " + Format(change_.distance, kDigits) + " mm";
    }
    if (change_.angle > 0.0) {
      text_ += std::string(change_.distance > 0.0 ? "," : "") + " turned by " +
               Format(change_.angle * kDegrees, kDigits) + "°";
    }
    if (change_.distance == 0.0 && change_.angle == 0.0) {
      text_ += " scaled, mirrored or sheared";
    }
  }

  void AppendColors() {
    const std::size_t faceCount =
        changes_.GetBodies()
            .MatchFaces(GetNode(BodyClasses::kOld).bodyNumber, GetNode(BodyClasses::kNew).bodyNumber)
            .size();
    const char* separator = ": ";
    for (const Change::Recoloring& one : change_.recolorings) {
      text_ += separator + std::to_string(one.faceCount) + " of " + Plural::Count(faceCount, "face|faces") +
               " " + ToHex(one.from) + " to " + ToHex(one.to);
      separator = ", ";
    }
  }

  static std::string ToHex(const glm::vec3& color) {
    const glm::ivec3 bytes(glm::clamp(color, 0.0f, 1.0f) * 255.0f + 0.5f);
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<unsigned>(bytes.r) & 0xFFu,
                  static_cast<unsigned>(bytes.g) & 0xFFu, static_cast<unsigned>(bytes.b) & 0xFFu);
    return text;
  }

  void AppendShapes() {
    const BodyFigures* const older = FindFigures(BodyClasses::kOld);
    const BodyFigures* const newer = FindFigures(BodyClasses::kNew);
    if (older == nullptr || newer == nullptr) {
      text_ += "\n    one of the bodies cannot be decoded";
      return;
    }
    AppendNumbers("volume", older->volume, newer->volume, " mm³");
    AppendNumbers("area", older->area, newer->area, " mm²");
    AppendPair("box", FormatBox(older->box), FormatBox(newer->box), "");
    const FaceCounts faces = CompareFaces();
    text_ += "\n    faces   " + std::to_string(faces.same) + " the same, " +
             std::to_string(faces.gone.size()) + " gone, " + std::to_string(faces.added.size()) + " new";
  }

  void AppendNumbers(const char* title, double older, double newer, const char* unit) {
    constexpr int kDigits = 7, kDigitsOfStep = 4;
    const double step = newer - older;
    AppendPair(title, Format(older, kDigits) + unit, Format(newer, kDigits) + unit,
               std::string(" (") + (step > 0.0 ? "+" : "") + Format(step, kDigitsOfStep) + ")");
  }

  void AppendPair(std::string title, const std::string& older, const std::string& newer,
                  const std::string& step) {
    constexpr std::size_t kColumn = 8;
    title.resize(kColumn, ' ');
    text_ += "\n    " + title + (older == newer ? older + ", as before" : older + " -> " + newer + step);
  }

  static std::string FormatBox(const AABoxT<double>& box) {
    if (!box.IsFinite()) {
      return box.IsEmpty() ? "none" : "without bounds";
    }
    const glm::dvec3 size = box.GetMax() - box.GetMin();
    constexpr int kDigits = 6;
    return Format(size.x, kDigits) + " x " + Format(size.y, kDigits) + " x " + Format(size.z, kDigits) +
           " mm";
  }

  std::string text_;
};

class JsonTeller : private Teller {
 public:
  JsonTeller(const Changes& changes, const Change& change, JsonText& json)
      : Teller(changes, change), json_(json) {}

  void Tell() {
    json_.BeginObject();
    json_.Key("kind");
    json_.Text(kChangeKinds[static_cast<std::size_t>(change_.kind)].key);
    json_.Key("name");
    json_.Text(GetName(GetSide()));
    json_.Key("isPart");
    json_.Bool(GetNode(GetSide()).body != nullptr);
    switch (change_.kind) {
    case Kind::kRenamed:
      json_.Key("newName");
      json_.Text(GetName(BodyClasses::kNew));
      break;
    case Kind::kMoved:
      json_.Key("distance");
      json_.Number(change_.distance);
      json_.Key("angle");
      json_.Number(change_.angle * kDegrees);
      json_.Key("vector");
      json_.Numbers(&change_.vector[0], 3);
      break;
    case Kind::kRecolored:
      AddColors();
      break;
    case Kind::kReshaped:
      AddShapes();
      break;
    case Kind::kAdded:
    case Kind::kRemoved:
    case Kind::kReparented:
      break;
    }
    json_.Key("text");
    json_.Text(TextTeller(changes_, change_).TellDetails());
    json_.Key("places");
    json_.BeginArray();
    for (const Change::Place& place : change_.places) {
      json_.BeginObject();
      AddNode("old", BodyClasses::kOld, place.older);
      AddNode("new", BodyClasses::kNew, place.newer);
      json_.EndObject();
    }
    json_.EndArray();
    json_.EndObject();
  }

 private:
  void AddNode(const char* key, Side side, std::uint32_t node) {
    if (node == kNothing) {
      return;
    }
    json_.Key(key);
    json_.BeginObject();
    json_.Key("path");
    json_.BeginArray();
    for (const std::string& name : GetModel(side).GetPath(node)) {
      json_.Text(name);
    }
    json_.EndArray();
    json_.Key("ids");
    json_.BeginArray();
    for (const std::uint64_t id : GetModel(side).GetIds(node)) {
      json_.Text(std::to_string(id));
    }
    json_.EndArray();
    json_.Key("positions");
    json_.BeginArray();
    for (const std::uint32_t position : GetModel(side).GetPositions(node)) {
      json_.Unsigned(position);
    }
    json_.EndArray();
    json_.EndObject();
  }

  void AddColors() {
    json_.Key("colors");
    json_.BeginArray();
    for (const Change::Recoloring& one : change_.recolorings) {
      json_.BeginObject();
      json_.Key("faces");
      json_.Unsigned(one.faceCount);
      json_.Key("firstFace");
      json_.Unsigned(one.oldFace);
      json_.Key("from");
      json_.Numbers(&one.from[0], 3);
      json_.Key("to");
      json_.Numbers(&one.to[0], 3);
      json_.EndObject();
    }
    json_.EndArray();
  }

  void AddShapes() {
    for (const auto& [key, side] : {std::make_pair("old", BodyClasses::kOld), {"new", BodyClasses::kNew}}) {
      const BodyFigures* const figures = FindFigures(side);
      if (figures == nullptr) {
        continue;
      }
      json_.Key(key);
      json_.BeginObject();
      json_.Key("body");
      json_.Text(GetModel(side).GetBodies()[GetNode(side).bodyNumber].id.toString());
      json_.Key("volume");
      json_.Number(figures->volume);
      json_.Key("area");
      json_.Number(figures->area);
      if (figures->box.IsFinite()) {
        json_.Key("box");
        json_.BeginArray();
        json_.Numbers(&figures->box.GetMin()[0], 3);
        json_.Numbers(&figures->box.GetMax()[0], 3);
        json_.EndArray();
      }
      json_.EndObject();
    }
    if (FindFigures(BodyClasses::kOld) == nullptr || FindFigures(BodyClasses::kNew) == nullptr) {
      return;
    }
    const FaceCounts faces = CompareFaces();
    json_.Key("faces");
    json_.BeginObject();
    json_.Key("same");
    json_.Unsigned(faces.same);
    for (const auto& [key, numbers] : {std::make_pair("gone", &faces.gone), {"new", &faces.added}}) {
      json_.Key(key);
      json_.BeginArray();
      for (const std::uint32_t number : *numbers) {
        json_.Unsigned(number);
      }
      json_.EndArray();
    }
    json_.EndObject();
  }

  JsonText& json_;
};

std::size_t CountOf(const Changes& changes, Kind kind) {
  return static_cast<std::size_t>(
      std::count_if(changes.GetAll().begin(), changes.GetAll().end(),
                    [kind](const Change& change) { return change.kind == kind; }));
}

}  // namespace

std::string ChangeReport::MakeText(const std::string& oldPath, const std::string& newPath,
                                   const Changes& changes) {
  const std::size_t oldParts = changes.GetModel(BodyClasses::kOld).GetParts().size();
  const std::size_t newParts = changes.GetModel(BodyClasses::kNew).GetParts().size();
  std::string text = oldPath + " -> " + newPath + "\n\n";
  for (const Change& change : changes.GetAll()) {
    text += TextTeller(changes, change).Tell();
  }
  text += changes.GetAll().empty() ? "nothing is different\n" : "\n";
  const char* separator = "";
  for (const ChangeKindName& name : kChangeKinds) {
    if (const std::size_t count = CountOf(changes, name.kind)) {
      text += separator + std::to_string(count) + " " + name.text;
      separator = ", ";
    }
  }
  text += changes.GetAll().empty() ? "" : "\n";
  text += Plural::Count(oldParts, "part|parts") + " before, " + std::to_string(newParts) + " after, " +
          std::to_string(changes.CountEqualParts()) + " equal\n";
  if (const std::size_t rewritten = changes.GetBodies().CountRewritten()) {
    text += Plural::Count(rewritten, "body|bodies is|are") + " written in other bytes and the same within " +
            Format(BodyFigures::kTolerance, 1) + " mm\n";
  }
  return text;
}

std::string ChangeReport::MakeJson(const std::string& oldPath, const std::string& newPath,
                                   const Changes& changes) {
  JsonText json(true);
  json.BeginObject();
  json.Key("old");
  json.Text(oldPath);
  json.Key("new");
  json.Text(newPath);
  json.Key("equal");
  json.Bool(changes.GetAll().empty());
  json.Key("oldParts");
  json.Unsigned(changes.GetModel(BodyClasses::kOld).GetParts().size());
  json.Key("newParts");
  json.Unsigned(changes.GetModel(BodyClasses::kNew).GetParts().size());
  json.Key("equalParts");
  json.Unsigned(changes.CountEqualParts());
  json.Key("rewrittenBodies");
  json.Unsigned(changes.GetBodies().CountRewritten());
  json.Key("changes");
  json.BeginArray();
  for (const Change& change : changes.GetAll()) {
    JsonTeller(changes, change, json).Tell();
  }
  json.EndArray();
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace mirel
