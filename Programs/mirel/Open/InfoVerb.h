#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>
#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

/// `mirel info FOLDER`: what a model folder holds and what opening it costs.
class InfoVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  ExitCode PrintExtras(Console& console) const;

  std::string folder_;
  bool extras_ = false;
  bool json_ = false;
  PictureRequest picture_;  // none without an output
};

}  // namespace mirel
