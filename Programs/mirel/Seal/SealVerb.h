#pragma once

#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

/// `mirel seal FOLDER`: writes the checksums of the folder's files anew, for who has changed it and means it so.
class SealVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  std::string folder_;
};

}  // namespace mirel
