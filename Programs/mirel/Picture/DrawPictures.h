#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>

#include <memory>

#if defined(_WIN32)
#define MIREL_PICTURE_API extern "C" __declspec(dllexport)
#else
#define MIREL_PICTURE_API extern "C" __attribute__((visibility("default")))
#endif

namespace mirel {

class SceneNode;

/// The one function of the library that draws pictures for the program, which is loaded only then: draws what is asked for
/// of the nodes below `root`, writes the files and says in `reply` how it went. Lets go of the nodes as soon as it can, since
/// those of a million bodies take more memory than drawing them: `root` is empty afterwards. Throws what runs out of
/// memory throws.
MIREL_PICTURE_API void MirelDrawPictures(std::shared_ptr<const SceneNode>& root,
                                         const PictureRequest& request, PictureReply& reply);

}  // namespace mirel
