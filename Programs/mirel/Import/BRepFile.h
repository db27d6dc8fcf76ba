#pragma once

#include <string>

namespace mirel {

/// The text of BRep files, as programs built on OpenCASCADE write them into files of their own.
class BRepFile {
 public:
  /// Makes of the content of a file the text that `TopoShape::Read` takes: format version 3, with line ends
  /// of one character, without the line that some programs put before it. Version 1, which OpenCASCADE wrote
  /// before 7.6, is rewritten: the two differ in the first line and in a flag of each triangulation. Text
  /// that it does not understand is left as it is, for the reader to refuse.
  ///
  /// False, with a reason, for version 2, which hardly any program has written.
  static bool MakeVersion3(std::string& text, std::string& reason);
};

}  // namespace mirel
