#include <Programs/mirel-viewer/Tree/PartsList.h>

#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <tuple>

namespace mirel {

namespace {

using Key = std::tuple<unsigned long long, std::string, const void*>;

Key MakeKey(const BrepSceneNode& node) {
  const void* const graphics = node.GetUserId() == 0 ? node.GetGRep().get() : nullptr;
  return {node.GetUserId(), node.GetName(), graphics};
}

void ForEachBody(const SceneNode* root, const std::function<void(const BrepSceneNode&)>& action) {
  std::vector<const SceneNode*> waiting = {root};
  while (!waiting.empty()) {
    const SceneNode* const node = waiting.back();
    waiting.pop_back();
    if (node->GetKind() == SceneNodeKind::kBrep) {
      action(static_cast<const BrepSceneNode&>(*node));
    }
    for (const std::shared_ptr<SceneNode>& child : node->GetNodes()) {
      waiting.push_back(child.get());
    }
  }
}

QString Quote(const QString& cell, QChar separator) {
  if (separator != ',') {
    return QString(cell).replace(separator, ' ').replace('\n', ' ');
  }
  return cell.contains('"') || cell.contains(',') || cell.contains('\n')
             ? '"' + QString(cell).replace("\"", "\"\"") + '"'
             : cell;
}

}  // namespace

PartsList::PartsList(const std::vector<std::shared_ptr<SceneNode>>& roots,
                     const std::unordered_set<const SceneNode*>& within) {
  std::map<Key, Part> found;
  const auto add = [&](const BrepSceneNode& node) {
    Part& part = found[MakeKey(node)];
    if (part.count++ == 0) {
      part.name = SceneTreeModel::GetTitle(node);
      part.id = node.GetUserId();
      part.first = &node;
    }
    ++count_;
  };
  if (within.empty()) {
    for (const std::shared_ptr<SceneNode>& root : roots) {
      ForEachBody(root.get(), add);
    }
  }
  for (const SceneNode* node : within) {
    // What lies below another of them is counted with that one.
    const std::vector<const SceneNode*> path = node->GetPath();
    if (std::none_of(path.begin(), path.end() - 1,
                     [&](const SceneNode* above) { return within.count(above) > 0; })) {
      ForEachBody(node, add);
    }
  }
  for (const auto& [key, part] : found) {
    parts_.push_back(part);
  }
  std::sort(parts_.begin(), parts_.end(),
            [](const Part& a, const Part& b) { return a.name.localeAwareCompare(b.name) < 0; });
}

std::unordered_set<const SceneNode*>
PartsList::FindEqual(const std::vector<std::shared_ptr<SceneNode>>& roots, const SceneNode& node) {
  std::unordered_set<const SceneNode*> equal = {&node};
  if (node.GetKind() != SceneNodeKind::kBrep) {
    return equal;
  }
  const Key key = MakeKey(static_cast<const BrepSceneNode&>(node));
  for (const std::shared_ptr<SceneNode>& root : roots) {
    ForEachBody(root.get(), [&](const BrepSceneNode& other) {
      if (MakeKey(other) == key) {
        equal.insert(&other);
      }
    });
  }
  return equal;
}

QString PartsList::MakeTable(QChar separator) const {
  const QString end = separator == ',' ? "\r\n" : "\n";
  QString table = QString("Name") + separator + "Id" + separator + "Count" + end;
  for (const Part& part : parts_) {
    table += Quote(part.name, separator) + separator + QString::number(part.id) + separator +
             QString::number(part.count) + end;
  }
  return table;
}

}  // namespace mirel
