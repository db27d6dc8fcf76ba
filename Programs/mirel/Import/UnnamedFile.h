#pragma once

#include <cstddef>
#include <string>

namespace mirel {

/// Content in a file that lies in no folder, for readers that take nothing but a path. It goes with this object and with
/// the process, however that ends, and no other user can open it.
///
/// On Linux. Elsewhere it has a name in the folder for temporary files, may be read by its owner only, and stays when the
/// process is killed.
class UnnamedFile {
 public:
  UnnamedFile(const char* data, std::size_t size);
  ~UnnamedFile();

  UnnamedFile(const UnnamedFile&) = delete;
  UnnamedFile& operator=(const UnnamedFile&) = delete;

  /// Why the content is not there; empty when it is.
  const std::string& GetError() const { return error_; }

  /// What to open in this process, while this object lives.
  const std::string& GetPath() const { return path_; }

 private:
  int file_ = -1;
  std::string path_;
  std::string error_;
};

}  // namespace mirel
