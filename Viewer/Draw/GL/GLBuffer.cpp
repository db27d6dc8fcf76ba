#include <Viewer/Draw/GL/GLBuffer.h>

#include <Viewer/Draw/GL/GLError.h>

#include <algorithm>
#include <string>

namespace mirel {

void GLBuffer::Reserve(std::size_t bytes) {
  if (bytes <= size_) return;
  GLuint larger = 0;
  glGenBuffers(1, &larger);
  glBindBuffer(GL_COPY_WRITE_BUFFER, larger);
  while (glGetError() != GL_NO_ERROR) {
  }
  glBufferData(GL_COPY_WRITE_BUFFER, static_cast<GLsizeiptr>(bytes), nullptr, GL_DYNAMIC_DRAW);
  if (glGetError() != GL_NO_ERROR) {
    glDeleteBuffers(1, &larger);
    throw GLError("the graphics card has no " + std::to_string(bytes >> 20) + " MB left");
  }
  if (size_ > 0) {
    glBindBuffer(GL_COPY_READ_BUFFER, name_);
    glCopyBufferSubData(GL_COPY_READ_BUFFER, GL_COPY_WRITE_BUFFER, 0, 0, static_cast<GLsizeiptr>(size_));
    glBindBuffer(GL_COPY_READ_BUFFER, 0);
    glDeleteBuffers(1, &name_);
  }
  glBindBuffer(GL_COPY_WRITE_BUFFER, 0);
  name_ = larger;
  size_ = bytes;
}

void GLBuffer::Write(std::size_t offset, const void* data, std::size_t bytes) {
  if (bytes == 0) return;
  glBindBuffer(GL_COPY_WRITE_BUFFER, name_);
  glBufferSubData(GL_COPY_WRITE_BUFFER, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes), data);
  glBindBuffer(GL_COPY_WRITE_BUFFER, 0);
}

void GLBuffer::Read(std::size_t offset, void* data, std::size_t bytes) const {
  glBindBuffer(GL_COPY_READ_BUFFER, name_);
  glGetBufferSubData(GL_COPY_READ_BUFFER, static_cast<GLintptr>(offset), static_cast<GLsizeiptr>(bytes),
                     data);
  glBindBuffer(GL_COPY_READ_BUFFER, 0);
}

void GLBuffer::Release() {
  if (name_ != 0) glDeleteBuffers(1, &name_);
  Forget();
}

}  // namespace mirel
