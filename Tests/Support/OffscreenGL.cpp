#include <Tests/Support/OffscreenGL.h>

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <algorithm>
#include <cstddef>

namespace mirel {

OffscreenGL::OffscreenGL() {
  Make();
}

OffscreenGL::~OffscreenGL() {
  if (display_ == nullptr) return;
  eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  // The display stays: all of a process have one.
  if (context_ != nullptr) eglDestroyContext(display_, context_);
}

void OffscreenGL::Make() {
  const char* const extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  if (extensions == nullptr ||
      std::string(extensions).find("EGL_MESA_platform_surfaceless") == std::string::npos) {
    obstacle_ = "EGL has no platform without a display";
    return;
  }
  // The name without EXT is of a version that is known only when there is a display.
  display_ = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (display_ == nullptr || eglInitialize(display_, nullptr, nullptr) == EGL_FALSE) {
    obstacle_ = "EGL has no display without a screen";
    return;
  }
  eglBindAPI(EGL_OPENGL_API);
  const EGLint wanted[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
  context_ = eglCreateContext(display_, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, wanted);
  if (context_ == nullptr || eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_FALSE)
    obstacle_ = "EGL makes no context of OpenGL's core profile";
}

void OffscreenGL::Begin(int width, int height) {
  eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_);
  if (width != width_ || height != height_) {
    glDeleteFramebuffers(1, &framebuffer_);
    glDeleteRenderbuffers(1, &color_);
    glGenRenderbuffers(1, &color_);
    glBindRenderbuffer(GL_RENDERBUFFER, color_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    glGenFramebuffers(1, &framebuffer_);
    width_ = width;
    height_ = height;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color_);
  glViewport(0, 0, width, height);
  constexpr GLfloat kClear[] = {0.0f, 0.0f, 0.0f, 0.0f};
  glClearBufferfv(GL_COLOR, 0, kClear);
}

void OffscreenGL::Fill(const glm::vec3& color) {
  const GLfloat opaque[] = {color.r, color.g, color.b, 1.0f};
  glClearBufferfv(GL_COLOR, 0, opaque);
}

void OffscreenGL::SetViewport(int left, int bottom) {
  glViewport(left, bottom, width_, height_);
}

int OffscreenGL::CountErrors() {
  int count = 0;
  while (glGetError() != GL_NO_ERROR)
    ++count;
  return count;
}

bool OffscreenGL::IsMesa() {
  return std::string(reinterpret_cast<const char*>(glGetString(GL_VERSION))).find("Mesa") !=
         std::string::npos;
}

Picture OffscreenGL::Read() const {
  Picture picture(width_, height_);
  glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, picture.pixels.data());
  const std::size_t row = 4 * static_cast<std::size_t>(width_);
  for (int y = 0; y < height_ / 2; ++y)
    std::swap_ranges(picture.GetPixel(0, y), picture.GetPixel(0, y) + row,
                     picture.GetPixel(0, height_ - 1 - y));
  return picture;
}

void OffscreenGL::Finish() {
  glFinish();
}

}  // namespace mirel
