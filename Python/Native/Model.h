#pragma once

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Measure/PartMeasures.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace mirel {
class BrepSceneNode;
class GRepShape;
}  // namespace mirel

namespace mirel::python {

using NodeList = std::vector<const SceneNode*>;

/// The nodes of an opened model, which nobody changes. Thread safe.
class Model {
 public:
  /// `source` is what the user called the model.
  Model(std::shared_ptr<SceneNode> root, std::string source)
      : root_(std::move(root)), source_(std::move(source)) {}

  const SceneNode& GetRoot() const { return *root_; }
  const std::string& GetSource() const { return source_; }

  /// All nodes that place a body, in the order of the tree. Gathered by the first call.
  const std::shared_ptr<const NodeList>& GetShapes() const;

  /// What is known of exact bodies, in their own coordinates. Only to be touched with the interpreter's lock.
  std::unordered_map<const GRepShape*, BodyMeasure>& GetMeasures() const { return measures_; }

 private:
  const std::shared_ptr<SceneNode> root_;
  const std::string source_;
  mutable std::once_flag gathered_;
  mutable std::shared_ptr<const NodeList> shapes_;
  mutable std::unordered_map<const GRepShape*, BodyMeasure> measures_;
};

/// A node of a model, which it keeps. The root of the model is none.
struct Part {
  std::shared_ptr<const Model> model;
  const SceneNode* node = nullptr;

  bool IsShape() const { return node->GetKind() == SceneNodeKind::kBrep; }
  /// The node as what it is; null for a group.
  const BrepSceneNode* GetShape() const;
};

/// Some nodes of a model, which they keep.
struct Parts {
  std::shared_ptr<const Model> model;
  std::shared_ptr<const NodeList> nodes;

  std::size_t GetSize() const { return nodes->size(); }
};

/// Calls `visit` for a node and all below it, in the order of the tree. Takes no stack: the depth comes from a file.
template <typename Visit>
void VisitNodes(const SceneNode& top, const Visit& visit) {
  NodeList rest{&top};
  while (!rest.empty()) {
    const SceneNode& node = *rest.back();
    rest.pop_back();
    visit(node);
    const auto& children = node.GetNodes();
    for (auto child = children.rbegin(); child != children.rend(); ++child)
      rest.push_back(child->get());
  }
}

}  // namespace mirel::python
