#pragma once

#include <string>

namespace mirel {

/// The texts of all shaders, in GLSL 4.30. The numbers of `Look.h` are in them as constants of the same names.
class Shaders {
 public:
  // Bodies: which body, which face and which normals are seen at each pixel.
  static std::string GetBodyVertex();
  static std::string GetBodyFragment();

  // What is too small for triangles.
  static std::string GetPointVertex();
  static std::string GetPointFragment();

  // Behind section planes: which body's material each line of sight enters there, see `GetSurface`.
  static std::string GetCutFragment();

  // What is in view, in four steps with a thread for each placement, group of placements, placement, and batch.
  static std::string GetCullCount();
  static std::string GetCullSum();
  static std::string GetCullList();
  static std::string GetCullCommands();

  // The light of what is seen at each pixel; and of all samples, with what is behind, as a picture.
  static std::string GetScreenVertex();
  static std::string GetLightFragment();
  static std::string GetShowFragment();

  // What is seen at one pixel, for the processor.
  static std::string GetPick();
};

}  // namespace mirel
