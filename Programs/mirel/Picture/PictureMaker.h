#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>

namespace mirel {

class SceneNode;

/// Draws what is asked for of the nodes below a root, and writes the files.
class PictureMaker {
 public:
  /// Keeps references to both.
  PictureMaker(const SceneNode& root, const PictureRequest& request) : root_(root), request_(request) {}

  void Make(PictureReply& reply) const;

 private:
  const SceneNode& root_;
  const PictureRequest& request_;
};

}  // namespace mirel
