#pragma once

#include <memory>
#include <string>

namespace mirel {

class TopoShape;

/// BRep files, as programs built on OpenCASCADE write them into files of their own.
class BRepFile {
 public:
  /// Makes a body of the content of a file: text of format versions 1 to 3, with line ends of any system, or binary of
  /// versions 1 to 4. Lines before the header and what stands behind the shape are passed over, the latter with a notice.
  /// Null when it cannot be read, with a failure in the log.
  ///
  /// OpenCASCADE sees nothing of text that is not sound. Binary is converted into text by a process of its own (not on
  /// Windows), with a minute and a second for each megabyte, and 256 MiB and 64 bytes for each byte of the file.
  static std::shared_ptr<TopoShape> Read(std::string content);
};

}  // namespace mirel
