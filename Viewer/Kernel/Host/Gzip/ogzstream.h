#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <memory>
#include <ostream>
#include <string>

namespace mirel {

/// An output stream whose content becomes a gzip file.
///
/// The stream collects what is written. When it is destroyed it compresses the content once and puts the file in place
/// by writing aside, flushing and renaming, so that the name never shows half a file; a file already there is replaced.
/// A failure is logged at level 3 with the path and the reason, and leaves what was there before. The same content
/// gives the same bytes: the gzip header holds no time and no name.
///
/// Used by one thread at a time.
class MIREL_HOST_API ogzstream : public std::ostream {
 public:
  /// `name` is a narrow path (UTF-8). `mode` must be `std::ios_base::out`; with any other the stream is bad from the
  /// start and no file is written.
  ogzstream(const char* name, int mode);
  ~ogzstream() override;

  /// Writes the bytes of the text and nothing else.
  void write_str(const std::string& text);

 private:
  class Buffer;

  std::unique_ptr<Buffer> buffer_;
  std::string name_;
};

}  // namespace mirel
