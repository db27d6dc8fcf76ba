#pragma once

#include <Programs/mirel/ExitCode.h>
#include <Programs/mirel/Picture/PictureRequest.h>

#include <memory>
#include <string>

namespace mirel {

class Console;
class SceneNode;

/// The way from a verb to the library that draws: loads it and says how it went.
class PictureCall {
 public:
  /// Loads the library; false after a message that tells what to install when it is not there.
  static bool IsPossible(Console& console);

  /// Draws nodes of the model that a user calls `input`, after `IsPossible`. Prints messages, but for those of
  /// the log. Lets go of `root` early.
  static ExitCode Draw(Console& console, const std::string& input, std::shared_ptr<const SceneNode> root,
                       const PictureRequest& request, PictureReply& reply);
};

}  // namespace mirel
