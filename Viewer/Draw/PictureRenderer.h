#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawExport.h>
#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Draw/Picture.h>
#include <Viewer/Draw/PictureOptions.h>

#include <memory>

namespace mirel {

class RayCaster;

/// Draws pictures of a scene with rays, on the processor alone: no window, display or graphics card is needed.
///
/// Time grows with the pixels, hardly with the scene; memory is that of the picture and a few MB for each thread. The
/// same scene, camera and options give the same picture, byte by byte on one machine, whatever the number of threads.
///
/// Thread safety: any number of threads may draw at once.
class MIREL_DRAW_API PictureRenderer {
 public:
  explicit PictureRenderer(std::shared_ptr<const RayCaster> caster);
  ~PictureRenderer();

  /// The picture; an empty one when the size is beyond the limits of `Picture`.
  Picture Draw(const Camera& camera, const PictureOptions& options) const;

  /// What is seen in the middle of each pixel; ghosts are not. Of the options, size, sections and threads count. Empty
  /// when the size is beyond the limits of `Picture`.
  FaceMap DrawFaces(const Camera& camera, const PictureOptions& options) const;

 private:
  std::shared_ptr<const RayCaster> caster_;
};

}  // namespace mirel
