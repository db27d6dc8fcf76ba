#pragma once

#include <Programs/mirel/Verb.h>
#include <Programs/mirel/View/ModuleOption.h>

#include <cstdint>
#include <string>

namespace mirel {

/// `mirel tree FOLDER`: the scene nodes that a viewer gets from a model folder.
class TreeVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  std::string folder_;
  ModuleOption module_;
  std::uint64_t depth_ = UINT64_MAX;
  bool json_ = false;
};

}  // namespace mirel
