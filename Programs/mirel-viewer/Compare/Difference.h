#pragma once

#include <Programs/mirel/Diff/ChangeKind.h>

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

namespace mirel {

class SceneNode;

/// One thing that is different between two versions, and where it shows.
struct Difference {
  /// Nodes of both; null where there is none.
  struct Place {
    const SceneNode* older = nullptr;
    const SceneNode* newer = nullptr;

    /// Where it is now, or was last.
    const SceneNode* Get() const { return newer != nullptr ? newer : older; }
  };

  ChangeKind kind = ChangeKind::kAdded;
  bool isPart = false;
  QString name;
  QString text;               ///< what else there is to tell, in lines
  std::vector<Place> places;  ///< at least one
};

/// All that `mirel diff` tells of two versions.
struct DifferenceReport {
  std::vector<Difference> differences;
  std::uint64_t oldParts = 0, newParts = 0, equalParts = 0;

  /// Reads its JSON, given the nodes of both versions; false when it is no such report, or tells of other nodes.
  bool Read(const QByteArray& json, const SceneNode& older, const SceneNode& newer);
};

}  // namespace mirel
