#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

class PieceSource;
class StreamModelLoader;

/// Hands the files of a model folder over to a stream model loader, as a program does that gets them from elsewhere.
class PieceDelivery {
 public:
  /// The name under which the loader of model folders is registered.
  static constexpr const char* kLoader = "Lite";

  /// Keeps a reference. With a seed the pieces are shuffled; the same number gives the same order.
  explicit PieceDelivery(const PieceSource& source, std::optional<std::uint64_t> seed = std::nullopt)
      : source_(source), seed_(seed) {}

  /// Begins, and hands all pieces over; what is missing or refused is in the log as a failure. False when there is nothing
  /// to be shown. Ending the loader, which shows the model, is left to the caller.
  bool HandOver(StreamModelLoader& loader) const;

 private:
  /// The file of a model folder and the name under which a loader takes its content.
  struct Piece {
    std::string file;
    const char* kind;
  };

  /// All that the index names, in the order in which it is handed over.
  std::vector<Piece> ListPieces(const char* index) const;
  void Shuffle(std::vector<Piece>& pieces) const;

  const PieceSource& source_;
  const std::optional<std::uint64_t> seed_;
};

}  // namespace mirel
