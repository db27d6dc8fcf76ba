#pragma once

#include <Programs/mirel/Diff/BodyFigures.h>
#include <Programs/mirel/Diff/ComparedModel.h>

#include <array>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace mirel {

/// Which bodies of two versions are the same. Those whose text is equal, byte for byte, are; of the others, which alone are
/// decoded, those whose figures are equal within a tolerance.
class BodyClasses {
 public:
  /// The older version and the newer one.
  enum Side : std::size_t { kOld, kNew };

  /// Keeps references.
  BodyClasses(const ComparedModel& older, const ComparedModel& newer);

  /// A number that all bodies of both versions share which are the same.
  std::uint32_t GetClass(Side side, std::uint32_t body) const { return classes_[side][body]; }

  /// How many bodies of the new version differ in their text from those that they are the same as.
  std::size_t CountRewritten() const { return rewritten_; }

  /// How little two bodies have in common, from 0 to 1: of faces, edges, area, volume, principal moments and extents, by what
  /// part the smaller one falls short of the larger one, on the average.
  double GetDissimilarity(std::uint32_t oldBody, std::uint32_t newBody) const;

  /// Sees to it that bodies are measured, with their boxes.
  void Measure(Side side, const std::vector<std::uint32_t>& bodies);
  /// Null for a body that was not measured, since it is the same in both.
  const BodyFigures* FindFigures(Side side, std::uint32_t body) const;

  /// The faces of the new body that are those of the old one, or `BodyFigures::kNone`. Both are measured, or of one text.
  const std::vector<std::uint32_t>& MatchFaces(std::uint32_t oldBody, std::uint32_t newBody);

 private:
  void ClassByText();
  void ClassByFigures();
  void Measure(Side side, const std::vector<std::uint32_t>& bodies, bool withBox);

  std::array<const ComparedModel*, 2> models_;
  std::array<std::vector<std::uint32_t>, 2> classes_;
  std::array<std::vector<BodyFigures>, 2> figures_;
  std::array<std::vector<std::uint32_t>, 2> changed_;  // bodies whose text the other version has not got
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<std::uint32_t>> faces_;
  std::size_t rewritten_ = 0;
};

}  // namespace mirel
