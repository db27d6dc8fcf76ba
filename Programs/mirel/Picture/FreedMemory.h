#pragma once

namespace mirel {

/// Memory that has been freed and is kept for what comes next.
class FreedMemory {
 public:
  /// Gives it back to the system, for what takes its memory there and not from the allocator, as Embree does.
  static void GiveBack();
};

}  // namespace mirel
