#include <Programs/mirel-viewer/Application/SavedState.h>

#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <glm/glm.hpp>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <cmath>

namespace mirel {

namespace {

constexpr qsizetype kMaxNodes = 10000;

QString GetFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + "/views";
}

QString GetFile(const QString& model) {
  const QByteArray hash = QCryptographicHash::hash(model.toUtf8(), QCryptographicHash::Sha256);
  return GetFolder() + "/" + QString::fromLatin1(hash.toHex()) + ".json";
}

QJsonArray ToJson(const glm::dvec3& vector) {
  return {vector.x, vector.y, vector.z};
}

bool FromJson(const QJsonValue& value, glm::dvec3& vector) {
  const QJsonArray numbers = value.toArray();
  for (int i = 0; i < 3; ++i) {
    vector[i] = numbers.at(i).toDouble(NAN);
  }
  return numbers.size() == 3 && std::isfinite(vector.x) && std::isfinite(vector.y) && std::isfinite(vector.z);
}

// A node as its positions from the root down, and its id, which tells whether it is still the same.
QJsonArray NodeToJson(const SceneNode& node) {
  QJsonArray steps = {QString::number(node.GetUserId())};
  const std::vector<const SceneNode*> path = node.GetPath();
  for (std::size_t i = 1; i < path.size(); ++i) {
    const std::vector<std::shared_ptr<SceneNode>>& siblings = path[i - 1]->GetNodes();
    const auto found =
        std::find_if(siblings.begin(), siblings.end(),
                     [&](const std::shared_ptr<SceneNode>& child) { return child.get() == path[i]; });
    steps.append(static_cast<int>(found - siblings.begin()));
  }
  return steps;
}

const SceneNode* NodeFromJson(const QJsonArray& steps, const SceneNode& root) {
  const SceneNode* node = &root;
  for (qsizetype i = 1; i < steps.size(); ++i) {
    const int step = steps[i].toInt(-1);
    if (step < 0 || static_cast<std::size_t>(step) >= node->GetNodes().size()) {
      return nullptr;
    }
    node = node->GetNodes()[static_cast<std::size_t>(step)].get();
  }
  return steps.at(0).toString() == QString::number(node->GetUserId()) ? node : nullptr;
}

QJsonArray NodesToJson(const ViewState::Nodes& nodes, const SceneNode* root) {
  QJsonArray array;
  for (const SceneNode* node : nodes) {
    if (node->GetPath().front() == root && array.size() < kMaxNodes) {
      array.append(NodeToJson(*node));
    }
  }
  return array;
}

void NodesFromJson(const QJsonValue& value, const SceneNode& root, ViewState::Nodes& nodes) {
  for (const QJsonValue& steps : value.toArray()) {
    if (const SceneNode* node = NodeFromJson(steps.toArray(), root)) {
      nodes.insert(node);
    }
  }
}

QJsonObject CameraToJson(const Camera& camera) {
  QJsonObject json;
  json["target"] = ToJson(camera.GetTarget());
  json["eye"] = ToJson(camera.GetEye());
  json["up"] = ToJson(camera.GetUp());
  json["parallel"] = camera.GetProjection() == Camera::Projection::kParallel;
  return json;
}

bool CameraFromJson(const QJsonObject& json, Camera& camera) {
  glm::dvec3 target, eye, up;
  if (!FromJson(json["target"], target) || !FromJson(json["eye"], eye) || !FromJson(json["up"], up) ||
      !camera.SetDirection(eye - target, up)) {
    return false;
  }
  camera.SetProjection(json["parallel"].toBool() ? Camera::Projection::kParallel
                                                 : Camera::Projection::kPerspective);
  camera.Fit({target}, 1.0);
  camera.Zoom(glm::length(camera.GetEye() - camera.GetTarget()) / glm::length(eye - target),
              camera.GetTarget());
  return true;
}

QJsonArray SectionsToJson(const std::vector<SectionPlane>& sections) {
  QJsonArray array;
  for (const SectionPlane& plane : sections) {
    array.append(QJsonObject{{"normal", ToJson(plane.normal)}, {"offset", plane.offset}});
  }
  return array;
}

void SectionsFromJson(const QJsonValue& value, std::vector<SectionPlane>& sections) {
  for (const QJsonValue& entry : value.toArray()) {
    SectionPlane plane;
    plane.offset = entry["offset"].toDouble(NAN);
    if (sections.size() < ViewState::kMaxSections && FromJson(entry["normal"], plane.normal) &&
        std::abs(glm::length(plane.normal) - 1.0) < 1e-6 && std::isfinite(plane.offset)) {
      sections.push_back(plane);
    }
  }
}

void RemoveOldest() {
  const QFileInfoList files = QDir(GetFolder()).entryInfoList({"*.json"}, QDir::Files, QDir::Time);
  for (qsizetype i = SavedState::kMaxModels; i < files.size(); ++i) {
    QFile::remove(files[i].filePath());
  }
}

}  // namespace

void SavedState::Save(const Document& document, const ModelView& view) {
  QDir().mkpath(GetFolder());
  for (const std::shared_ptr<SceneNode>& root : document.GetRoots()) {
    const QString path = document.GetFile(root.get()).path;
    if (path.isEmpty()) {
      continue;
    }
    const ViewState& state = document.GetState();
    QJsonObject json;
    json["model"] = path;
    json["camera"] = CameraToJson(view.GetCamera());
    json["hidden"] = NodesToJson(state.hidden, root.get());
    json["ghosts"] = NodesToJson(state.ghosts, root.get());
    json["alone"] = NodesToJson(state.alone, root.get());
    json["sections"] = SectionsToJson(state.sections);
    QSaveFile file(GetFile(path));
    if (file.open(QIODevice::WriteOnly)) {
      file.write(QJsonDocument(json).toJson(QJsonDocument::Compact));
      file.commit();
    }
  }
  RemoveOldest();
}

void SavedState::Restore(const QString& path, Document& document, ModelView& view) {
  QFile file(GetFile(path));
  if (!file.open(QIODevice::ReadOnly)) {
    return;
  }
  const QJsonObject json = QJsonDocument::fromJson(file.readAll()).object();
  const bool isAlone = document.GetRoots().size() == 1;
  const SceneNode& root = *document.GetRoots().back();
  document.ReplaceState([&](ViewState& state) {
    NodesFromJson(json["hidden"], root, state.hidden);
    NodesFromJson(json["ghosts"], root, state.ghosts);
    NodesFromJson(json["alone"], root, state.alone);
    if (isAlone) {
      SectionsFromJson(json["sections"], state.sections);
    }
  });
  Camera camera;
  if (isAlone && CameraFromJson(json["camera"].toObject(), camera)) {
    view.SetCamera(camera);
  }
}

}  // namespace mirel
