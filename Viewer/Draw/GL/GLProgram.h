#pragma once

#include <epoxy/gl.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace mirel {

/// Shaders that work together. Given back by `Release`, not by the destructor, since the context may be gone.
class GLProgram {
 public:
  /// Each is a kind of shader, such as GL_VERTEX_SHADER, and its text. Throws `GLError` with the driver's words when it
  /// does not take them.
  void Build(std::initializer_list<std::pair<GLenum, std::string>> shaders);
  bool IsBuilt() const { return name_ != 0; }
  void Use() const { glUseProgram(name_); }

  void Release();

 private:
  GLuint name_ = 0;
};

}  // namespace mirel
