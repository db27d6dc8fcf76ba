#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>

#include <memory>
#include <utility>

namespace mirel {

class SceneNode;

/// Draws what is asked for of the nodes below a root, and writes the files.
class PictureMaker {
 public:
  /// Takes the nodes, and keeps a reference to the request.
  PictureMaker(std::shared_ptr<const SceneNode> root, const PictureRequest& request)
      : root_(std::move(root)), request_(request) {}

  /// Once.
  void Make(PictureReply& reply);

 private:
  void Draw(PictureReply& reply);

  std::shared_ptr<const SceneNode> root_;  // until they are not needed any more
  const PictureRequest& request_;
};

}  // namespace mirel
