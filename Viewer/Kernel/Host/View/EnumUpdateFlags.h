#pragma once

namespace mirel {

/// What a view does anew for the next picture; a set of bits. Values are part of the interface: never renumber.
enum EnumUpdateFlags : unsigned int {
  UpdateNone = 0,
  UpdateScene = 1,  ///< nodes were added, removed or changed
  UpdateView = 2,   ///< draw the picture again
  UpdateAll = 3,
};

}  // namespace mirel
