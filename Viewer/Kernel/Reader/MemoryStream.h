#pragma once

#include <cstddef>
#include <istream>
#include <streambuf>

namespace mirel {

/// An input stream over bytes that stay where they are and must outlive it.
class MemoryStream : public std::istream {
 public:
  MemoryStream(const char* data, std::size_t size) : std::istream(nullptr), buffer_(data, size) {
    rdbuf(&buffer_);
  }

 private:
  class Buffer : public std::streambuf {
   public:
    Buffer(const char* data, std::size_t size) {
      char* const begin = const_cast<char*>(data);  // a get area is never written to
      setg(begin, begin, begin + size);
    }

   private:
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override {
      const off_type size = egptr() - eback();
      off_type position = offset;
      if (from == std::ios_base::cur) position += gptr() - eback();
      if (from == std::ios_base::end) position += size;
      if (!(which & std::ios_base::in) || position < 0 || position > size) return pos_type(off_type(-1));
      setg(eback(), eback() + position, egptr());
      return pos_type(position);
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
      return seekoff(off_type(position), std::ios_base::beg, which);
    }
  };

  Buffer buffer_;
};

}  // namespace mirel
