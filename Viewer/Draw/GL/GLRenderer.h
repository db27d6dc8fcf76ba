#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Draw/GL/DrawGLExport.h>
#include <Viewer/Draw/GL/GLError.h>
#include <Viewer/Draw/GL/GLViewOptions.h>
#include <Viewer/Draw/NodeVisibility.h>

#include <glm/vec3.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

class DrawScene;
class Selection;

/// Draws a scene with OpenGL (4.3 core) into whatever framebuffer a host has bound. It shows what `PictureRenderer`
/// shows of the same scene, camera and options, apart from what smooths the steps of lines and outlines, and from
/// `ambientOcclusion` and wires (`DrawScene::GetWires`), which it leaves out.
///
/// The scene is sent to the graphics card once, each body once however often it is placed. What changes from then on
/// (how bodies are drawn, colours, selection, offsets) takes a few bytes for each body that changes; and of another
/// scene, only bodies that were not in the one before are sent. A frame is a handful of calls, whatever the number of
/// bodies: the card itself finds out which are in view. Bodies below two pixels are drawn as points.
///
/// How a host uses it:
///
///     GLRenderer renderer;                       // anywhere
///     renderer.SetScene(scene);                  // anywhere: nothing happens yet
///     // in paintGL(), the widget's framebuffer bound:
///     const GLRenderer::Progress progress = renderer.Draw(camera, options);
///     if (!progress.isUploaded || !progress.isRefined) update();  // there is more to draw
///     // when the context goes, current for the last time:
///     renderer.Release();
///
/// Only `Draw`, `Pick` and `Release` need a current context, always the same one until `Release` or `Forget`.
///
/// OpenGL's state: `Draw` writes into the framebuffer that is bound for drawing, at the left lower corner of the
/// viewport, `options.width` by `options.height` pixels. It sets depth test, blending, scissor test, face culling, clip
/// distances, `GL_FRAMEBUFFER_SRGB` and the clip space as OpenGL has them at first, leaves no program, vertex array,
/// texture or buffer bound, and binds the framebuffers and sets the viewport that it found. The framebuffer's depth is
/// neither used nor changed.
///
/// Thread safety: as a standard container.
class MIREL_DRAW_GL_API GLRenderer {
 public:
  /// The least version of OpenGL that is enough.
  static constexpr int kMajor = 4, kMinor = 3;

  GLRenderer();
  /// Calls nothing of OpenGL: what `Release` has not given back goes with the context.
  ~GLRenderer();

  GLRenderer(const GLRenderer&) = delete;
  GLRenderer& operator=(const GLRenderer&) = delete;

  /// Why the current context cannot be drawn with, what is needed and what was found, for people; empty when it can.
  static std::string FindObstacle();

  /// Shows another scene, or none. All bodies are drawn as the scene says, without selection, colours of their own or
  /// offsets. Bodies that both scenes have (the same `GRepShape`) are not sent again.
  void SetScene(std::shared_ptr<const DrawScene> scene);
  const std::shared_ptr<const DrawScene>& GetScene() const;

  // What follows changes the scene that is shown, by the scene's numbers of placements; others are passed over.

  /// How placements are drawn, whatever the scene said.
  void SetLook(const std::vector<std::uint32_t>& placements, NodeVisibility::Look look);
  /// All as the scene said again.
  void ResetLooks();

  /// The colour (sRGB, 0 to 1) of whole placements, before those of their faces; nothing: the scene's again.
  void SetColor(const std::vector<std::uint32_t>& placements, const std::optional<glm::vec3>& color);

  /// What is drawn in the colour of what is selected. At most `kMaxFaces` single faces, the first ones; bodies without
  /// limit.
  void SetSelection(const Selection& selection);
  /// What is lit up, as what the mouse is over; with the same limit.
  void SetHover(const Selection& hover);
  static constexpr std::size_t kMaxFaces = 4096;

  /// Where each placement is moved to by `GLViewOptions::offsetFactor` 1, in mm, scene coordinates; empty: no
  /// offsets. Moving the factor costs nothing. See `Explosion`.
  void SetOffsets(std::vector<glm::vec3> offsets);

  /// What there is to draw yet.
  struct Progress {
    bool isUploaded = false;  ///< all bodies are there; what is not, is not drawn
    bool isRefined = false;   ///< all samples of each pixel are in the picture
  };

  /// Draws. The first call after a change draws one sample of each pixel, or `options.samplesAtOnce`; each further call
  /// with the same camera and options adds as many, until all are in the picture: steps get smooth while nothing moves.
  /// Without a background what is drawn is laid over what the framebuffer holds, by each call anew.
  ///
  /// A size below 1, as of a window that is folded up, draws nothing.
  ///
  /// Throws `GLError` when OpenGL is too old or its memory ends; then nothing, or a part, has been drawn, and the
  /// renderer is as after `Release`.
  Progress Draw(const Camera& camera, const GLViewOptions& options);

  /// What is seen at a point.
  struct Seen {
    FaceMap::Entry entry;   ///< `FaceMap::kNothing` where there is nothing
    glm::dvec3 point{0.0};  ///< where, in the scene, in mm
    bool IsHit() const { return entry.placement != FaceMap::kNothing; }
  };
  /// What the last `Draw` shows at a pixel, counted from the left upper corner. Ghosts are not seen. Answers in the time
  /// that the card needs to end what it has to do, whatever the size of the scene, and needs no `RayCaster`. Nothing
  /// outside of the picture, or before the first `Draw`.
  Seen Pick(int x, int y);

  /// Gives back all that is on the card. The scene and what was set stay: the next `Draw`, in any context, sends it anew.
  void Release();
  /// The same after the context was lost, without a call of OpenGL.
  void Forget();

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace mirel
