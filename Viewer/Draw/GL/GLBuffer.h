#pragma once

#include <epoxy/gl.h>

#include <cstddef>
#include <vector>

namespace mirel {

/// Memory on the graphics card. Made when something is written to it; given back by `Release`, not by the destructor,
/// since the context may be gone.
class GLBuffer {
 public:
  /// Makes room for so many bytes and keeps those that are there. Throws `GLError` when there is no such memory.
  void Reserve(std::size_t bytes);
  /// Writes where there is room.
  void Write(std::size_t offset, const void* data, std::size_t bytes);
  void Read(std::size_t offset, void* data, std::size_t bytes) const;

  template <typename T>
  void Store(const std::vector<T>& values) {
    Reserve(values.size() * sizeof(T));
    Write(0, values.data(), values.size() * sizeof(T));
  }

  /// For the shaders, under a number; as nothing when nothing was reserved.
  void BindStorage(GLuint binding) const { glBindBufferBase(GL_SHADER_STORAGE_BUFFER, binding, name_); }
  GLuint GetName() const { return name_; }

  void Release();
  void Forget() { *this = GLBuffer(); }

 private:
  GLuint name_ = 0;
  std::size_t size_ = 0;
};

}  // namespace mirel
