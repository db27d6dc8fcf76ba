#pragma once

#include <string>

namespace mirel {

class Changes;

/// Tells what is different between two versions.
struct ChangeReport {
  /// For people, in lines: a line for each change, and one that counts.
  static std::string MakeText(const std::string& oldPath, const std::string& newPath, const Changes& changes);
  /// For programs.
  static std::string MakeJson(const std::string& oldPath, const std::string& newPath, const Changes& changes);
};

}  // namespace mirel
