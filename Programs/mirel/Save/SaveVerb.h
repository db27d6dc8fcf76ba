#pragma once

#include <Programs/mirel/Save/Conversion.h>
#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

/// `mirel save INPUT FOLDER`: converts a file into a model folder.
class SaveVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  std::string input_;
  std::string folder_;
  Conversion::Options options_;
  bool strict_ = false;
  bool json_ = false;
};

}  // namespace mirel
