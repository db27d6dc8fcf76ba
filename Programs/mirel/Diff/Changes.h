#pragma once

#include <Programs/mirel/Diff/BodyClasses.h>
#include <Programs/mirel/Diff/ChangeKind.h>
#include <Programs/mirel/Diff/ComparedModel.h>
#include <Programs/mirel/Diff/NodeMatching.h>

#include <glm/vec3.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// One thing that somebody has changed, wherever it shows.
struct Change {
  using Kind = ChangeKind;

  /// Where it shows: nodes of both versions. `older` is `kNothing` for what was added, `newer` for what was removed.
  struct Place {
    std::uint32_t older;
    std::uint32_t newer;
  };

  Kind kind;
  std::vector<Place> places;  ///< at least one, in the order of the tree

  // Of what was moved: how far its middle has gone, in mm and within the assembly around it, and by what angle it was
  // turned, in radians. The vector is that of the first place, in the scene.
  double distance = 0.0;
  double angle = 0.0;
  glm::dvec3 vector{0.0};

  // Of what was recoloured.
  struct Recoloring {
    std::uint32_t oldFace;  ///< the first such face
    glm::vec3 from;
    glm::vec3 to;
    std::uint32_t faceCount;
  };
  std::vector<Recoloring> recolorings;  ///< one for each pair of colours
};

/// All that is different between two versions.
class Changes {
 public:
  /// Measures bodies that were changed, and keeps references.
  Changes(const ComparedModel& older, const ComparedModel& newer, BodyClasses& classes,
          const NodeMatching& nodes);

  /// By kind, and then in the order of the tree.
  const std::vector<Change>& GetAll() const { return changes_; }

  /// Placed parts of the new version of which there is nothing to tell, nor of an assembly around them but a name.
  std::uint64_t CountEqualParts() const { return equalParts_; }

  const ComparedModel& GetModel(BodyClasses::Side side) const { return *models_[side]; }
  BodyClasses& GetBodies() const { return classes_; }

 private:
  void Visit(std::uint32_t older, std::uint32_t newer);
  void FindLonely(BodyClasses::Side side);
  void FindMotion(std::uint32_t older, std::uint32_t newer, bool isReparented);
  void FindColors(std::uint32_t older, std::uint32_t newer);
  void CountEqual();
  /// The change of this kind that has the same key; a new one when there is none.
  Change& Note(Change::Kind kind, std::uint64_t key, std::uint32_t older, std::uint32_t newer);
  std::uint64_t GetId(BodyClasses::Side side, std::uint32_t node) const;

  const ComparedModel* models_[2];
  BodyClasses& classes_;
  const NodeMatching& nodes_;
  std::vector<Change> changes_;
  std::map<std::pair<Change::Kind, std::uint64_t>, std::size_t> byKey_;
  std::uint64_t equalParts_ = 0;
};

}  // namespace mirel
