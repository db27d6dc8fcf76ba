// The library that draws pictures for the program. It has nothing of its own: it keeps what needs Embree out of the
// program.
#include <Programs/mirel/Picture/DrawPictures.h>
#include <Programs/mirel/Picture/PictureMaker.h>

namespace mirel {

void MirelDrawPictures(const SceneNode& root, const PictureRequest& request, PictureReply& reply) {
  PictureMaker(root, request).Make(reply);
}

}  // namespace mirel
