#pragma once

#include <Programs/mirel/Check/FolderCheck.h>
#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

/// `mirel check FOLDER`: whether a model folder is sound, and what of it is not.
class CheckVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  std::string folder_;
  FolderCheck::Level level_ = FolderCheck::Level::kAgreement;
  bool strict_ = false;
  bool json_ = false;
};

}  // namespace mirel
