#pragma once

#include <string>
#include <string_view>

namespace mirel {

/// The HTML around the viewer. The same content gives the same bytes.
class PageText {
 public:
  /// A name that may be of any length as one that fits a title.
  static std::string CutTitle(const std::string& whole);

  /// Any text as text of an HTML page, wherever it stands: what HTML gives a meaning is escaped, and what could turn the text
  /// around it is left out.
  static std::string Escape(std::string_view text);

  /// The page of a site: it fetches the script and the files of the model from the folder that it lies in, and may fetch from nowhere
  /// else.
  static std::string MakeSitePage(const std::string& title);

  /// A page that has all in itself and may fetch nothing: files of the model by their names, and the script.
  class SelfContained {
   public:
    SelfContained(const std::string& title, std::string script);
    void AddFile(const std::string& name, std::string_view content);
    std::string Finish();

   private:
    std::string text_;
    std::string script_;
  };
};

}  // namespace mirel
