#pragma once

#include <Programs/mirel/Verb.h>

#include <optional>
#include <string>

namespace mirel {

/// `mirel box FOLDER`: the bounding box of a model, or of one item with all below it.
class BoxVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  std::string folder_;
  std::optional<std::string> id_;
  bool json_ = false;
};

}  // namespace mirel
