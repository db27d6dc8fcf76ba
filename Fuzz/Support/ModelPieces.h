#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mirel::fuzz {

/// A part of a model as an input has it: a byte for its kind, its size as four bytes, lowest first, and its bytes.
struct Piece {
  enum Kind { kScene, kShape, kGRep, kOther, kKinds };

  Kind kind;
  std::string bytes;
};

std::vector<Piece> ParsePieces(const std::uint8_t* data, std::size_t size);

/// A custom mutator of pieces: swaps, repeats and removes them, and changes one as fits its kind.
std::size_t MutatePieces(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned int seed);

}  // namespace mirel::fuzz
