#pragma once

#include <Programs/mirel/Verb.h>
#include <Programs/mirel/View/ModuleOption.h>

#include <cstdint>
#include <optional>
#include <string>

namespace mirel {

class PieceSource;

/// `mirel stream FOLDER`: hands the files of a model folder over to the registered stream model loader, as a
/// program does that gets them from elsewhere, and prints the nodes that it puts into the viewer.
class StreamVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  ExitCode Load(Console& console, const std::string& subject, const PieceSource& source) const;

  std::string folder_;
  ModuleOption module_;
  std::optional<std::uint64_t> seed_;
  std::uint64_t depth_ = UINT64_MAX;
  bool json_ = false;
};

}  // namespace mirel
