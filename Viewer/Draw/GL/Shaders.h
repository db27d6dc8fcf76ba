#pragma once

#include <string>
#include <tuple>

namespace mirel {

/// The texts of all shaders, in GLSL 4.30. The numbers of `Look.h` are in them as constants of the same names.
class Shaders {
 public:
  /// What a picture has beside solid bodies. Shaders leave out what it has not: processors that stand in for a graphics
  /// card go through all of a shader for every pixel.
  struct Parts {
    bool edges = false;
    bool ghosts = false;
    bool sections = false;
    bool faces = false;  ///< that are selected or lit up by themselves

    bool operator<(const Parts& other) const {
      return std::tie(edges, ghosts, sections, faces) <
             std::tie(other.edges, other.ghosts, other.sections, other.faces);
    }
  };

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
  static std::string GetAreaVertex();
  static std::string GetLightFragment(const Parts& parts);
  static std::string GetScreenVertex();
  static std::string GetShowFragment();

  // What is seen at one pixel, for the processor.
  static std::string GetPick(const Parts& parts);
};

}  // namespace mirel
