#pragma once

#include <Programs/mirel/Batch/Batch.h>
#include <Programs/mirel/Verb.h>

#include <string>
#include <vector>

namespace mirel {

/// `mirel save INPUT FOLDER` converts a file into a model folder, `mirel save FILE... --into DIR` many.
class SaveVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  bool HandlesInterrupts() const override { return IsBatch(); }
  ExitCode Run(Console& console) override;

 private:
  bool IsBatch() const { return !options_.into.empty(); }
  void DeclareBatch(CLI::App& verb);
  // Throws when the paths do not fit what is asked for.
  void CheckPaths() const;
  ExitCode RunOne(Console& console);

  std::vector<std::string> paths_;
  Batch::Options options_;
};

}  // namespace mirel
