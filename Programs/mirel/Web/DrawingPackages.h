#pragma once

#include <string>
#include <vector>

namespace mirel {

class ModelFolder;

/// What pages fetch in the place of packages of graphics until somebody measures: the same bodies with what a picture needs.
class DrawingPackages {
 public:
  /// The lzip file for each package of graphics, in the order of their numbers. Empty for one that is not there, or of which not
  /// all could be read: what is wrong with it is for those to say who fetch it.
  static std::vector<std::string> Make(const ModelFolder& folder);
};

}  // namespace mirel
