#include <Viewer/Draw/GL/GLProgram.h>

#include <Viewer/Draw/GL/GLError.h>

#include <vector>

namespace mirel {

namespace {

template <typename GetParameter, typename GetLog>
void ThrowIfRefused(GLuint name, GLenum status, const GetParameter& getParameter, const GetLog& getLog) {
  GLint isFine = GL_FALSE, length = 0;
  getParameter(name, status, &isFine);
  if (isFine == GL_TRUE) return;
  getParameter(name, GL_INFO_LOG_LENGTH, &length);
  std::vector<GLchar> log(static_cast<std::size_t>(length) + 1);
  getLog(name, length, nullptr, log.data());
  throw GLError(std::string("the OpenGL driver refuses a shader: ") + log.data());
}

}  // namespace

void GLProgram::Build(std::initializer_list<std::pair<GLenum, std::string>> shaders) {
  Release();
  name_ = glCreateProgram();
  for (const auto& [kind, text] : shaders) {
    const GLuint shader = glCreateShader(kind);
    const GLchar* const start = text.c_str();
    glShaderSource(shader, 1, &start, nullptr);
    glCompileShader(shader);
    glAttachShader(name_, shader);
    glDeleteShader(shader);  // goes with the program
    ThrowIfRefused(
        shader, GL_COMPILE_STATUS, [](auto... a) { glGetShaderiv(a...); },
        [](auto... a) { glGetShaderInfoLog(a...); });
  }
  glLinkProgram(name_);
  ThrowIfRefused(
      name_, GL_LINK_STATUS, [](auto... a) { glGetProgramiv(a...); },
      [](auto... a) { glGetProgramInfoLog(a...); });
}

void GLProgram::Release() {
  if (name_ != 0) glDeleteProgram(name_);
  name_ = 0;
}

}  // namespace mirel
