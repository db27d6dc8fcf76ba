#pragma once

#include <Programs/mirel/Save/FolderReplacement.h>

#include <string>

namespace mirel {

class WebModel;
struct PageTemplate;

/// Writes the folder of a site: aside, and in place when it is whole.
class SiteWriter {
 public:
  /// `target` is a narrow path (UTF-8), `force` allows to replace a site that is there.
  SiteWriter(const std::string& target, bool force);

  /// Why the target may not be written; empty when it may. `input` is what the site is made of: a folder, a file in it, or
  /// any other file.
  std::string Check(const std::string& input) const;

  /// Makes the folder. False with the reason: then nothing has changed. `left` tells what of a folder that was replaced could
  /// not be removed, if anything.
  bool Write(const WebModel& model, const std::string& title, const PageTemplate& form, std::string& reason,
             std::string& left);

 private:
  bool WriteFiles(const WebModel& model, const std::string& title, const PageTemplate& form,
                  std::string& reason) const;

  const std::string target_;
  FolderReplacement replacement_;
};

}  // namespace mirel
