#pragma once

#include <string>
#include <string_view>

namespace mirel {

struct PageTemplate;

/// The HTML around a model. The same content gives the same bytes.
class PageText {
 public:
  /// A name that may be of any length as one that fits a title.
  static std::string CutTitle(const std::string& whole);

  /// Any text as text of an HTML page, wherever it stands: what HTML gives a meaning is escaped, and what could turn the text
  /// around it is left out.
  static std::string Escape(std::string_view text);

  /// The models that a page can hold: the one that it shows, and the older version that this is compared with.
  static constexpr const char* kModel = "model";
  static constexpr const char* kOlder = "older";

  /// A file of a model as it lies in a page.
  static std::string MakeFile(const char* model, const std::string& name, std::string_view content);

  /// A page that has all in itself, `files` as `MakeFile` makes them, and may fetch nothing. `isComparison` when there is an older version.
  static std::string MakeWholePage(const PageTemplate& form, const std::string& title,
                                   const std::string& files, bool isComparison);

  /// The page of a site: it fetches the script and the files of the model from the folder that it lies in, and may fetch from nowhere
  /// else.
  static std::string MakeSitePage(const PageTemplate& form, const std::string& title);
};

}  // namespace mirel
