#include <Fuzz/Support/ModelPieces.h>

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/IndexText.h>
#include <Fuzz/Support/PackageBytes.h>

#include <algorithm>
#include <utility>

namespace mirel::fuzz {

namespace {

constexpr std::size_t kHeadSize = 5;

std::string FormatPieces(const std::vector<Piece>& pieces) {
  std::string input;
  for (const Piece& piece : pieces) {
    input += static_cast<char>(piece.kind);
    for (int i = 0; i < 4; ++i)
      input += static_cast<char>(piece.bytes.size() >> (8 * i));
    input += piece.bytes;
  }
  return input;
}

std::string MutatePiece(const Piece& piece, Random& random, std::size_t maxSize) {
  switch (piece.kind) {
  case Piece::kScene:
    return MutateIndex(piece.bytes, random, maxSize);
  case Piece::kShape:
    return MutatePackage(piece.bytes, random, maxSize, MutateBodyText);
  case Piece::kGRep:
    return MutatePackage(piece.bytes, random, maxSize, MutateGRepRecord);
  default:
    return MutateBytes(piece.bytes, maxSize);
  }
}

}  // namespace

std::vector<Piece> ParsePieces(const std::uint8_t* data, std::size_t length) {
  const std::string input(reinterpret_cast<const char*>(data), length);
  std::vector<Piece> pieces;
  for (std::size_t at = 0; at + kHeadSize <= input.size();) {
    std::size_t size = 0;
    for (std::size_t i = 4; i >= 1; --i)
      size = size << 8 | static_cast<unsigned char>(input[at + i]);
    const auto kind = static_cast<Piece::Kind>(static_cast<unsigned char>(input[at]) % Piece::kKinds);
    pieces.push_back({kind, input.substr(at + kHeadSize, size)});
    at += kHeadSize + pieces.back().bytes.size();
  }
  return pieces;
}

std::size_t MutatePieces(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned int seed) {
  Random random(seed);
  std::vector<Piece> pieces = ParsePieces(data, size);
  const std::size_t kind = Pick(random, 10);
  if (pieces.empty() || kind == 0) return LLVMFuzzerMutate(data, size, maxSize);
  Piece& piece = pieces[Pick(random, pieces.size())];
  switch (kind) {
  case 1:
    std::swap(piece, pieces[Pick(random, pieces.size())]);
    break;
  case 2:
    pieces.insert(pieces.end(), Piece(piece));
    break;
  case 3:
    pieces.erase(pieces.begin() + (&piece - pieces.data()));
    break;
  default:
    piece.bytes = MutatePiece(piece, random, maxSize - std::min(maxSize, size) + piece.bytes.size());
    break;
  }
  return ReturnInput(FormatPieces(pieces), data, size, maxSize);
}

}  // namespace mirel::fuzz
