#pragma once

#include <Programs/mirel/Verb.h>
#include <Programs/mirel/View/ModuleOption.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

class PieceSource;
class StreamModelLoader;

/// `mirel stream FOLDER`: hands the files of a model folder over to the registered stream model loader, as a
/// program does that gets them from elsewhere, and prints the nodes that it puts into the viewer.
class StreamVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  /// The file of a model folder and the name under which a loader takes its content.
  struct Piece {
    std::string file;
    const char* kind;
  };

  ExitCode Load(Console& console, const std::string& subject, const PieceSource& source) const;
  /// False, after messages, when the viewer got nothing.
  bool Deliver(const PieceSource& source, StreamModelLoader& loader) const;
  /// All that the index names, in the order in which it is handed over.
  std::vector<Piece> ListPieces(const PieceSource& source, const char* index) const;
  void Shuffle(std::vector<Piece>& pieces) const;

  std::string folder_;
  ModuleOption module_;
  std::optional<std::uint64_t> seed_;
  std::uint64_t depth_ = UINT64_MAX;
  bool json_ = false;
};

}  // namespace mirel
