#include <Viewer/Kernel/Host/Core/SecretHash.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cstddef>
#include <cstring>

namespace mirel {

namespace {

struct Key {
  std::uint64_t first = ObjectId::NewId().GetInteger();
  std::uint64_t second = ObjectId::NewId().GetInteger();
};

std::uint64_t Rotate(std::uint64_t value, int bits) {
  return value << bits | value >> (64 - bits);
}

struct State {
  std::uint64_t v0, v1, v2, v3;

  void Round() {
    v0 += v1;
    v1 = Rotate(v1, 13) ^ v0;
    v0 = Rotate(v0, 32);
    v2 += v3;
    v3 = Rotate(v3, 16) ^ v2;
    v0 += v3;
    v3 = Rotate(v3, 21) ^ v0;
    v2 += v1;
    v1 = Rotate(v1, 17) ^ v2;
    v2 = Rotate(v2, 32);
  }

  void Take(std::uint64_t word) {
    v3 ^= word;
    Round();
    v0 ^= word;
  }
};

/// Up to eight bytes as an integer, in the system's order: no hash leaves the process.
std::uint64_t Word(const char* bytes, std::size_t count) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, count);
  return word;
}

}  // namespace

std::uint64_t SecretHash(std::string_view bytes) {
  static const Key key;
  State state{key.first ^ 0x736f6d6570736575ULL, key.second ^ 0x646f72616e646f6dULL,
              key.first ^ 0x6c7967656e657261ULL, key.second ^ 0x7465646279746573ULL};
  const std::size_t whole = bytes.size() & ~std::size_t{7};
  for (std::size_t i = 0; i < whole; i += 8)
    state.Take(Word(bytes.data() + i, 8));
  state.Take(std::uint64_t{bytes.size()} << 56 ^ Word(bytes.data() + whole, bytes.size() - whole));
  state.v2 ^= 0xFF;
  for (int i = 0; i < 3; ++i)
    state.Round();
  return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace mirel
