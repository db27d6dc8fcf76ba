#pragma once

#include <Programs/mirel/Verb.h>
#include <Programs/mirel/View/ModuleOption.h>

#include <cstdint>
#include <string>

namespace mirel {

/// `mirel run COMMAND`: runs a registered command in a viewer without a window and prints what the scene holds
/// then.
class RunVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  std::string command_;
  std::string file_;
  ModuleOption module_;
  std::uint64_t depth_ = UINT64_MAX;
  bool json_ = false;
};

}  // namespace mirel
