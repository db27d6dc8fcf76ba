#pragma once

#include <string>

namespace mirel {

class FindingList;
class LiteModel;
class PkgGRepBuilder;

/// Compares a model folder with the model that was saved into it.
class SavedFolderCheck {
 public:
  /// Finds every item, body and graphics record of the folder that is not what was saved. `model` is the model as the
  /// save has left it (which changes types that are used once), `greps` the graphics that the save has made, `readBack`
  /// the folder read again; `folder` ends with a separator.
  ///
  /// Items are compared in all that they have, numbers to the last bit. Bodies are written as text once more and compared
  /// byte for byte, and so are graphics records.
  static void Compare(const LiteModel& model, const PkgGRepBuilder& greps, const std::string& folder,
                      const LiteModel& readBack, FindingList& findings);
};

}  // namespace mirel
