#pragma once

#include <Programs/mirel/Picture/PictureRequest.h>
#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

class Changes;

/// `mirel diff OLD NEW`: what is different between two versions of a model.
class DiffVerb final : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode GetUsageCode() const override { return ExitCode::kInputUnread; }
  ExitCode Run(Console& console) override;

 private:
  ExitCode Tell(Console& console, const Changes& changes, bool isComplete);

  std::string old_, new_;
  bool json_ = false;
  PictureRequest picture_;  // none without an output
  std::string size_ = "1600x1200";
};

}  // namespace mirel
