// The library that draws pictures for the program. It has nothing of its own: it keeps what needs Embree out of the
// program.
#include <Programs/mirel/Picture/DrawPictures.h>
#include <Programs/mirel/Picture/PictureMaker.h>

#include <utility>

namespace mirel {

void MirelDrawPictures(std::shared_ptr<const SceneNode>& root, const PictureRequest& request,
                       PictureReply& reply) {
  PictureMaker(std::move(root), request).Make(reply);
}

}  // namespace mirel
