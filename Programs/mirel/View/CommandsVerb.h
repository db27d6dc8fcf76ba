#pragma once

#include <Programs/mirel/Verb.h>
#include <Programs/mirel/View/ModuleOption.h>

namespace mirel {

/// `mirel commands`: what modules have registered with the host.
class CommandsVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  ModuleOption module_;
  bool json_ = false;
};

}  // namespace mirel
