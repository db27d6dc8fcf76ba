#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <cstdint>
#include <set>
#include <utility>

namespace mirel {

/// What is selected of a scene: placed bodies and single faces of them, by the scene's numbers. Thread safety: as a
/// standard container.
class MIREL_DRAW_API Selection {
 public:
  /// In place of a face: all of the body.
  static constexpr std::uint32_t kWholeBody = 0xFFFFFFFFu;

  void Add(std::uint32_t placement, std::uint32_t face = kWholeBody) { parts_.insert({placement, face}); }
  void Remove(std::uint32_t placement, std::uint32_t face = kWholeBody) { parts_.erase({placement, face}); }
  /// Adds what is not selected and removes what is; what a click with the control key does.
  void Toggle(std::uint32_t placement, std::uint32_t face = kWholeBody) {
    if (parts_.erase({placement, face}) == 0) Add(placement, face);
  }
  void Clear() { parts_.clear(); }
  bool IsEmpty() const { return parts_.empty(); }

  /// Whether a face is selected, by itself or with its body.
  bool Contains(std::uint32_t placement, std::uint32_t face) const {
    return parts_.count({placement, kWholeBody}) > 0 || parts_.count({placement, face}) > 0;
  }

  /// Placement and face of all that is selected, in ascending order.
  const std::set<std::pair<std::uint32_t, std::uint32_t>>& GetParts() const { return parts_; }

 private:
  std::set<std::pair<std::uint32_t, std::uint32_t>> parts_;
};

}  // namespace mirel
