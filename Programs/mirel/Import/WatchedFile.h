#pragma once

#include <cstdint>
#include <fstream>
#include <istream>
#include <streambuf>
#include <string>
#include <vector>

namespace mirel {

class StageProgress;

/// A file as a stream that tells how much of it has been read, for a reader that does not tell how far it is. The stream
/// goes forward only.
class WatchedFile {
 public:
  /// Opens the file at a narrow path (UTF-8). The present stage of `progress` gets the part of `size` bytes that has been
  /// read; when all are, the stage `next` begins.
  WatchedFile(const std::string& path, std::uint64_t size, StageProgress& progress, std::string next);

  /// Fails from the start when the file cannot be opened.
  std::istream& GetStream() { return stream_; }

 private:
  class Buffer : public std::streambuf {
   public:
    Buffer(const std::string& path, std::uint64_t size, StageProgress& progress, std::string next);
    bool IsOpen() const { return file_.is_open(); }

   protected:
    int_type underflow() override;

   private:
    std::ifstream file_;
    const std::uint64_t size_;
    StageProgress& progress_;
    const std::string next_;
    std::vector<char> block_;
    std::uint64_t read_ = 0;
  };

  Buffer buffer_;
  std::istream stream_;
};

}  // namespace mirel
