#pragma once

#include <Viewer/Draw/PictureOptions.h>

namespace mirel {

/// How everything is drawn, whatever is seen.
struct DisplaySettings {
  enum class Coloring {
    kOwn,           ///< as the model says
    kByPart,        ///< equal bodies in one colour
    kByFile,        ///< each opened file in one colour
    kUniform,       ///< all in the default colour
    kByDifference,  ///< what two versions have in common, and what not; see `SceneLook`
  };

  Coloring coloring = Coloring::kOwn;
  PictureOptions::Edges edges = PictureOptions::Edges::kSharp;
};

}  // namespace mirel
