#pragma once

#include <Programs/mirel/Verb.h>

#include <string>

namespace mirel {

struct PageTemplate;

/// `mirel site FOLDER OUT`: makes a folder for a web server, whose page shows a model.
class SiteVerb : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  // `isWritten`: whether the folder is in place, whatever is damaged in it.
  ExitCode MakeSite(Console& console, const PageTemplate& form, bool& isWritten) const;

  std::string input_;
  std::string output_;
  bool withBodies_ = false;
  bool force_ = false;
  bool strict_ = false;
  bool preview_ = false;
};

}  // namespace mirel
