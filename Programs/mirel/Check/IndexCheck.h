#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace mirel {

class FindingList;

/// What the index of a model folder says, as its reader takes it; and all that is wrong with it.
struct IndexCheck {
  /// A place where an item refers to a body.
  struct Use {
    ObjectId body;
    std::string item;                  ///< for messages: kind, id and name
    std::vector<std::uint32_t> faces;  ///< those that have a colour of their own
  };

  /// Checks the inflated content of the index, named `file` in findings.
  void Run(std::string&& content, const std::string& file, FindingList& findings);

  bool opens = false;  ///< whether a reader accepts it; when not, all else is what was read until then
  std::uint32_t shapePackages = 0;
  std::uint32_t grepPackages = 0;
  std::uint64_t items = 0;  ///< stored ones, types and what is in them included
  std::uint64_t types = 0;
  std::vector<Use> uses;  ///< one for each shape item
  /// The body of each item that has an id, those inside types and types themselves included; 0 when it has none.
  std::unordered_map<ObjectId, ObjectId, SecretIdHash> bodyOf;
};

}  // namespace mirel
