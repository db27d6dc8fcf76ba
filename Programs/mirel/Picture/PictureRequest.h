#pragma once

#include <Viewer/Draw/PictureOptions.h>

#include <glm/vec3.hpp>

#include <optional>
#include <string>
#include <vector>

namespace mirel {

/// What `mirel picture` is asked to draw. Parts of the model are named by their ids or their names.
struct PictureRequest {
  /// A plane that cuts the model.
  struct Section {
    glm::dvec3 normal{0.0};  ///< of any length; what lies where it points is taken away
    /// From the origin along the normal, in mm; through the middle of what is drawn when it is missing.
    std::optional<double> offset;
    bool towardsViewer = false;  ///< turn the plane so that what is nearer to the viewer is taken away
  };

  std::string output;  ///< PNG file, a narrow path (UTF-8)

  PictureOptions options;  ///< all but the sections

  std::string view = "iso";
  std::optional<glm::dvec3> from;  ///< in place of the view: where the viewer is, seen from the model
  glm::dvec3 up{0.0, 0.0, 1.0};    ///< with `from`
  bool parallel = false;
  std::vector<std::string> fit;  ///< these fill the picture; all that is drawn when there are none
  std::vector<std::string> only, hide, ghost;
  std::vector<Section> sections;

  int turntable = 0;  ///< draw so many pictures, from all around; 0: one
  /// The smallest sheet that has room for its text.
  static constexpr int kMinSheetWidth = 320, kMinSheetHeight = 240;
  bool sheet = false;  ///< one picture with the standard views, dimensions and the model's name instead
  std::string title;   ///< of the sheet, where the model has no name of its own
  std::string
      facesOutput;  ///< if any: a PNG file that names the face seen at each pixel, with a legend beside it
};

/// What became of it.
struct PictureReply {
  enum class Result {
    kDone,
    kRefused,    ///< the request cannot be done; nothing was written
    kUnwritten,  ///< a file could not be written
  };
  Result result = Result::kDone;
  std::string file;                ///< that the error is about; may be empty
  std::string error;               ///< for the user; empty when all is done
  bool nothingSeen = false;        ///< the picture shows nothing
  unsigned leftOut = 0;            ///< bodies that could not be drawn where they stand
  std::string note;                ///< what else the user should know; may be empty
  std::vector<std::string> files;  ///< what was written
};

}  // namespace mirel
