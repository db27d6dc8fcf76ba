#pragma once

#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

struct PageTemplate;
class ComparedVersions;
class WebModel;

/// `mirel page FOLDER OUT.html`: makes one HTML file that shows a model, or two versions of it, and needs nothing else.
class PageVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  /// `comparison`: what else the page is to show; may be null.
  ExitCode WritePage(Console& console, const std::string& folder, const ComparedVersions* comparison,
                     const PageTemplate& form) const;
  /// Adds the files of a model as they stand in the page; `kDone`, or the exit code after a message.
  ExitCode AddFiles(Console& console, const WebModel& model, const char* name, std::string& files) const;

  std::string input_;
  std::string older_;
  std::string output_;
  bool withBodies_ = false;
  bool strict_ = false;
};

}  // namespace mirel
