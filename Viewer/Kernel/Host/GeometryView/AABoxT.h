#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <glm/glm.hpp>

#include <cmath>
#include <cstdint>

namespace mirel {

/// An axis-aligned box in the coordinates of whatever it measures; three states:
///
///     state         meaning                                 corners
///     0, empty      encloses nothing                        min (0.5, 0.5, 0.5), max (-0.5, -0.5, -0.5)
///     1, finite     encloses min <= p <= max on each axis   as set; min <= max, so flat boxes and points too
///     2, infinite   encloses everything                     without meaning
///
/// An empty box is not a box at the origin: merging it into another box changes nothing. The corners of a box
/// that is made finite are checked, on x, y and z in that order; corners that are inverted or not numbers are
/// refused with a notice (level 1), and the box is empty then.
///
/// Units are those of the points; the box is not enlarged by any tolerance. Plain data: no two threads may
/// use one box while one of them changes it.
template <typename T>
class AABoxT {
 public:
  using Vec3 = glm::tvec3<T>;

  enum State : std::int32_t { kEmpty = 0, kFinite = 1, kInfinite = 2 };

  /// An empty box.
  AABoxT() = default;

  /// The box from `min` to `max`; empty, with a notice, when `max` is below `min` on some axis.
  AABoxT(const Vec3& min, const Vec3& max) { SetCorners(min, max); }

  /// A copy; a finite box is copied through the corner check, which every box made by these operations
  /// passes.
  AABoxT(const AABoxT& other) { Assign(other); }
  AABoxT& operator=(const AABoxT& other) {
    if (this != &other) Assign(other);
    return *this;
  }

  /// Makes the box finite with these corners; refused corners leave the box empty and give a notice.
  void SetCorners(const Vec3& min, const Vec3& max) {
    if (max.x >= min.x && max.y >= min.y && max.z >= min.z) {
      min_ = min;
      max_ = max;
      state_ = kFinite;
      return;
    }
    SetEmpty();
    Logger::Instance().Message(1,
                               "The minimum corner of the box must be less than or equal to maximum corner");
  }

  void SetEmpty() {
    min_ = Vec3(T(0.5));
    max_ = Vec3(T(-0.5));
    state_ = kEmpty;
  }

  void SetInfinite() { state_ = kInfinite; }

  bool IsEmpty() const { return state_ == kEmpty; }
  bool IsFinite() const { return state_ == kFinite; }
  bool IsInfinite() const { return state_ == kInfinite; }
  State GetState() const { return static_cast<State>(state_); }

  /// The smallest coordinates; (0.5, 0.5, 0.5) when empty, without meaning when infinite.
  const Vec3& GetMin() const { return min_; }
  /// The largest coordinates; (-0.5, -0.5, -0.5) when empty, without meaning when infinite.
  const Vec3& GetMax() const { return max_; }

  /// Grows this box until it encloses `other` too. An empty `other` changes nothing, nor does anything change
  /// an infinite box.
  void Merge(const AABoxT& other) {
    if (other.IsEmpty() || IsInfinite()) return;
    if (other.IsInfinite())
      SetInfinite();
    else if (IsEmpty())
      SetCorners(other.min_, other.max_);
    else
      SetCorners(glm::min(min_, other.min_), glm::max(max_, other.max_));
  }

  /// Grows this box until it encloses `point`: an empty box becomes that point, an infinite one stays as it
  /// is.
  void Extend(const Vec3& point) {
    switch (state_) {
    case kEmpty:
      SetCorners(point, point);
      break;
    case kFinite:
      for (int axis = 0; axis < 3; ++axis) {
        if (point[axis] > max_[axis]) max_[axis] = point[axis];
        if (point[axis] < min_[axis]) min_[axis] = point[axis];
      }
      break;
    case kInfinite:
      break;
    default:
      MIREL_HOST_FAILURE("Never reached");
    }
  }

  /// Makes this the box of its own eight corners moved by `matrix`, so a rotation enlarges it. Empty and
  /// infinite boxes stay as they are.
  ///
  /// The matrix is single precision and stored column by column (`matrix[column][row]`, translation in column
  /// 3); the products are computed in `T` from its rounded elements. A corner is divided by its fourth
  /// coordinate w = row 3 . (x, y, z, 1), unless |w| <= 2^-52: it stays undivided then.
  void Transform(const glm::mat4& matrix) { TransformBy(glm::tmat4x4<T>(matrix)); }

  /// The same with a matrix that is not rounded first: a box of doubles keeps its place however far away it goes.
  void Transform(const glm::dmat4& matrix) { TransformBy(glm::tmat4x4<T>(matrix)); }

 private:
  void TransformBy(const glm::tmat4x4<T>& m) {
    if (!IsFinite()) return;
    const Vec3 corner[2] = {min_, max_};
    SetEmpty();
    // Each corner once, along the edges of the box.
    static constexpr int kOrder[8][3] = {{0, 0, 0}, {0, 0, 1}, {0, 1, 1}, {0, 1, 0},
                                         {1, 1, 0}, {1, 1, 1}, {1, 0, 1}, {1, 0, 0}};
    for (const auto& pick : kOrder) {
      const T x = corner[pick[0]].x, y = corner[pick[1]].y, z = corner[pick[2]].z;
      const T w = m[0][3] * x + m[1][3] * y + m[2][3] * z + m[3][3];
      const T s = std::abs(w) > T(2.220446049250313e-16) ? T(1) / w : T(1);
      Vec3 moved;
      for (int row = 0; row < 3; ++row)
        moved[row] = (m[0][row] * x + m[1][row] * y + m[2][row] * z + m[3][row]) * s;
      Extend(moved);
    }
  }

  void Assign(const AABoxT& other) {
    if (other.IsFinite())
      SetCorners(other.min_, other.max_);
    else if (other.IsInfinite())
      SetInfinite();
    else
      SetEmpty();
  }

  Vec3 min_ = Vec3(T(0.5));
  Vec3 max_ = Vec3(T(-0.5));
  std::int32_t state_ = kEmpty;
};

}  // namespace mirel
