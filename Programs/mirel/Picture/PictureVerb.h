#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>
#include <Programs/mirel/Verb.h>

#include <string>
#include <vector>

namespace mirel {

/// `mirel picture FOLDER OUT.png`: draws a model.
class PictureVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  ExitCode DrawFolder(Console& console, const std::string& folder);

  std::string input_;
  PictureRequest request_;
  std::string size_ = "1600x1200";
  std::string from_, up_;
  std::vector<std::string> sections_;
  std::string edges_ = "sharp";
  std::string background_;
  bool strict_ = false;
};

}  // namespace mirel
