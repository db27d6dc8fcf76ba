#include <Programs/mirel-viewer/Compare/Difference.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <iterator>

namespace mirel {

namespace {

// Null when the way leads nowhere.
const SceneNode* FindNode(const QJsonObject& place, const char* side, const SceneNode& root) {
  const SceneNode* node = &root;
  for (const QJsonValue& step : place[side]["positions"].toArray()) {
    const auto position = static_cast<std::size_t>(step.toInteger(-1));
    if (position >= node->GetNodes().size()) {
      return nullptr;
    }
    node = node->GetNodes()[position].get();
  }
  return place.contains(side) ? node : nullptr;
}

bool ReadDifference(const QJsonObject& json, const SceneNode& older, const SceneNode& newer,
                    Difference& difference) {
  const QString key = json["kind"].toString();
  const auto kind = std::find_if(std::begin(kChangeKinds), std::end(kChangeKinds),
                                 [&](const ChangeKindName& name) { return key == QLatin1String(name.key); });
  if (kind == std::end(kChangeKinds)) {
    return false;
  }
  difference.kind = kind->kind;
  difference.isPart = json["isPart"].toBool();
  difference.name = json["name"].toString();
  difference.text = json["text"].toString();
  for (const QJsonValue& value : json["places"].toArray()) {
    const QJsonObject place = value.toObject();
    difference.places.push_back({FindNode(place, "old", older), FindNode(place, "new", newer)});
    if (difference.places.back().Get() == nullptr) {
      return false;
    }
  }
  return !difference.places.empty();
}

}  // namespace

bool DifferenceReport::Read(const QByteArray& json, const SceneNode& older, const SceneNode& newer) {
  const QJsonObject report = QJsonDocument::fromJson(json).object();
  oldParts = static_cast<std::uint64_t>(report["oldParts"].toInteger());
  newParts = static_cast<std::uint64_t>(report["newParts"].toInteger());
  equalParts = static_cast<std::uint64_t>(report["equalParts"].toInteger());
  const QJsonArray changes = report["changes"].toArray();
  differences.clear();
  differences.reserve(static_cast<std::size_t>(changes.size()));
  for (const QJsonValue& change : changes) {
    if (!ReadDifference(change.toObject(), older, newer, differences.emplace_back())) {
      return false;
    }
  }
  return report["changes"].isArray();
}

}  // namespace mirel
