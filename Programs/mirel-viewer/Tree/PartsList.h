#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

namespace mirel {

class SceneNode;

/// The different bodies of some models, and how often each is placed.
class PartsList {
 public:
  struct Part {
    QString name;
    unsigned long long id = 0;  ///< of the body's type
    std::uint64_t count = 0;
    const SceneNode* first = nullptr;  ///< one of the nodes that place it
  };

  /// Counts all bodies below `roots`, or those below `within` if there are any. Bodies are equal when they have an id and
  /// a name in common; without ids, when they are drawn from the same graphics. In the order of names.
  PartsList(const std::vector<std::shared_ptr<SceneNode>>& roots,
            const std::unordered_set<const SceneNode*>& within);

  const std::vector<Part>& GetParts() const { return parts_; }
  std::uint64_t GetCount() const { return count_; }

  /// All nodes that place what a node places.
  static std::unordered_set<const SceneNode*> FindEqual(const std::vector<std::shared_ptr<SceneNode>>& roots,
                                                        const SceneNode& node);

  /// A table with a head, cells apart by `separator`: quoted as RFC 4180 says for ",", plain for tabs.
  QString MakeTable(QChar separator) const;

 private:
  std::vector<Part> parts_;
  std::uint64_t count_ = 0;
};

}  // namespace mirel
