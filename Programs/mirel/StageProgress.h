#pragma once

#include <string>

namespace mirel {

/// How far a long work is, told stage by stage by whoever does it to whoever shows it.
class StageProgress {
 public:
  virtual ~StageProgress() = default;

  /// Begins another stage, without a fraction until one is set.
  virtual void Begin(const std::string& stage) = 0;

  /// How far the present stage is, 0 to 1.
  virtual void SetFraction(double fraction) = 0;
};

}  // namespace mirel
