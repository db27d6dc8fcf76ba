#pragma once

#include <Viewer/Draw/Picture.h>

#include <glm/vec3.hpp>

#include <string>

namespace mirel {

/// An OpenGL context without a window or a display, and a framebuffer in it that pictures are read from.
///
/// Thread safety: for one thread.
class OffscreenGL {
 public:
  OffscreenGL();
  ~OffscreenGL();

  OffscreenGL(const OffscreenGL&) = delete;
  OffscreenGL& operator=(const OffscreenGL&) = delete;

  /// Why there is no context; empty when there is one.
  const std::string& GetObstacle() const { return obstacle_; }

  /// Makes it the current one, with an empty framebuffer of this size bound, black and transparent.
  void Begin(int width, int height);
  /// Fills the framebuffer, and lets the viewport begin somewhere else than at the left lower corner.
  void Fill(const glm::vec3& color);
  void SetViewport(int left, int bottom);
  Picture Read() const;
  /// The errors of OpenGL since the last call.
  static int CountErrors();
  static bool IsMesa();
  /// Waits until all that was asked for is drawn.
  static void Finish();

 private:
  void Make();

  std::string obstacle_;
  void* display_ = nullptr;
  void* context_ = nullptr;
  unsigned framebuffer_ = 0, color_ = 0;
  int width_ = 0, height_ = 0;
};

}  // namespace mirel
