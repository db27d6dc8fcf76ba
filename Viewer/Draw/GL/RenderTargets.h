#pragma once

#include <epoxy/gl.h>

#include <array>

namespace mirel {

/// The pictures that a frame is made of: what is seen at each pixel, of solid bodies and of ghosts; what is cut; and the
/// sum of the light of all samples.
class RenderTargets {
 public:
  enum Target { kSolid, kGhost, kCut, kLight, kTargets };

  /// Makes sure that targets have a size. Throws `GLError` when there is no memory for them.
  void Prepare(int width, int height, bool withGhosts, bool withCuts);

  void BindFor(Target target) const { glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_[target]); }
  GLuint GetColor(Target target) const { return colors_[target]; }
  GLuint GetDepth(Target target) const { return depths_[target]; }
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }

  void Release();
  void Forget() { *this = RenderTargets(); }

 private:
  void Make(Target target, GLenum format, bool withDepth);

  int width_ = 0, height_ = 0;
  std::array<GLuint, kTargets> framebuffers_{}, colors_{}, depths_{};
};

}  // namespace mirel
