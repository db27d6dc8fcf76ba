#pragma once

#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

struct PageTemplate;

/// `mirel page FOLDER OUT.html`: makes one HTML file that shows a model and needs nothing else.
class PageVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  ExitCode WritePage(Console& console, const std::string& folder, const PageTemplate& form) const;

  std::string input_;
  std::string output_;
  bool withBodies_ = false;
  bool strict_ = false;
};

}  // namespace mirel
