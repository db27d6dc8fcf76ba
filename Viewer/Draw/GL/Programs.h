#pragma once

#include <Viewer/Draw/GL/GLProgram.h>
#include <Viewer/Draw/GL/Shaders.h>

#include <array>
#include <map>

namespace mirel {

/// All programs, each built when it is used for the first time: drivers take long for it, and a first picture needs few.
class Programs {
 public:
  enum Kind { kBodies, kPoints, kCuts, kCullCount, kCullSum, kCullList, kCullCommands, kShow, kKinds };

  void Use(Kind kind);
  void UseLight(const Shaders::Parts& parts);
  void UsePick(const Shaders::Parts& parts);

  void Release();
  void Forget() { *this = Programs(); }

 private:
  std::array<GLProgram, kKinds> programs_;
  std::map<Shaders::Parts, GLProgram> lights_, picks_;
};

}  // namespace mirel
