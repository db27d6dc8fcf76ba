#include <Viewer/Draw/GL/RenderTargets.h>

#include <Viewer/Draw/GL/GLError.h>

#include <string>

namespace mirel {

namespace {

GLuint MakeTexture(GLenum format, int width, int height) {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  glTexStorage2D(GL_TEXTURE_2D, 1, format, width, height);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glBindTexture(GL_TEXTURE_2D, 0);
  return name;
}

}  // namespace

void RenderTargets::Prepare(int width, int height, bool withGhosts, bool withCuts) {
  if (width != width_ || height != height_) {
    Release();
    width_ = width;
    height_ = height;
  }
  Make(kSolid, GL_RGBA32UI, true);
  Make(kLight, GL_RGBA32F, false);
  if (withGhosts) Make(kGhost, GL_RGBA32UI, true);
  if (withCuts) Make(kCut, GL_RGBA32F, false);
}

void RenderTargets::Make(Target target, GLenum format, bool withDepth) {
  if (framebuffers_[target] != 0) return;
  glGenFramebuffers(1, &framebuffers_[target]);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffers_[target]);
  colors_[target] = MakeTexture(format, width_, height_);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, colors_[target], 0);
  if (withDepth) {
    depths_[target] = MakeTexture(GL_DEPTH_COMPONENT32F, width_, height_);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, depths_[target], 0);
  }
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
    throw GLError("the graphics card has no memory for a picture of " + std::to_string(width_) + " x " +
                  std::to_string(height_) + " pixels");
}

void RenderTargets::Release() {
  glDeleteFramebuffers(kTargets, framebuffers_.data());  // 0 is passed over
  glDeleteTextures(kTargets, colors_.data());
  glDeleteTextures(kTargets, depths_.data());
  Forget();
}

}  // namespace mirel
