#pragma once

#include <Viewer/Draw/GL/DrawGLExport.h>

#include <stdexcept>

namespace mirel {

/// OpenGL cannot draw: it is too old, has no memory left, or its driver refuses what it should take. `what()` is for
/// people: what is needed, and what was found.
class MIREL_DRAW_GL_API GLError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~GLError() override;
};

}  // namespace mirel
