#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>

#include <glm/vec3.hpp>

#include <string>

namespace mirel {

/// Reads the texts that say what a picture is to look like. Each gives what is wrong with the text, or nothing.
class PictureArguments {
 public:
  /// WIDTHxHEIGHT in pixels, within the limits of a picture.
  static std::string ReadSize(const std::string& text, PictureOptions& options);
  /// X,Y,Z, not all zero.
  static std::string ReadDirection(const std::string& text, glm::dvec3& direction);
  /// A plane: x, y or z, with + or - to say which side goes, and =MM for its place; or X,Y,Z,MM.
  static std::string ReadSection(const std::string& text, PictureRequest::Section& section);
  /// #rrggbb, "none", or one of a few names.
  static std::string ReadBackground(const std::string& text, PictureOptions& options);
};

}  // namespace mirel
