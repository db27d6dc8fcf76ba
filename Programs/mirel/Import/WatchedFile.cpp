#include <Programs/mirel/Import/WatchedFile.h>

#include <Programs/mirel/StageProgress.h>

#include <filesystem>
#include <utility>

namespace mirel {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 16;

}  // namespace

WatchedFile::Buffer::Buffer(const std::string& path, std::uint64_t size, StageProgress& progress,
                            std::string next)
    : file_(std::filesystem::u8path(path), std::ios::binary),
      size_(size),
      progress_(progress),
      next_(std::move(next)),
      block_(kBlock) {}

WatchedFile::Buffer::int_type WatchedFile::Buffer::underflow() {
  // Whoever asks for another block has done with the one before.
  if (read_ < size_) {
    progress_.SetFraction(static_cast<double>(read_) / static_cast<double>(size_));
  }
  file_.read(block_.data(), static_cast<std::streamsize>(block_.size()));
  const std::streamsize count = file_.gcount();
  read_ += static_cast<std::uint64_t>(count);
  setg(block_.data(), block_.data(), block_.data() + count);
  if (count > 0) {
    return traits_type::to_int_type(block_.front());
  }
  progress_.Begin(next_);
  return traits_type::eof();
}

WatchedFile::WatchedFile(const std::string& path, std::uint64_t size, StageProgress& progress,
                         std::string next)
    : buffer_(path, size, progress, std::move(next)), stream_(&buffer_) {
  if (!buffer_.IsOpen()) {
    stream_.setstate(std::ios::failbit);
  }
}

}  // namespace mirel
