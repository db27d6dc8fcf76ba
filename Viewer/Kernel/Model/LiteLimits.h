#pragma once

namespace mirel {

// What the module accepts at most. Each limit keeps a hostile or mistaken model from exhausting the stack, time or
// memory, and lies far above what real models need.

/// Levels of groups and instances below each other, the top-level item being level 1. Recursion goes no deeper, so a
/// thread with a stack of 1 MiB is enough. Deepest real assembly seen: 11.
constexpr int kMaxNesting = 500;

/// Levels of objects and arrays in the text of an index: two for each level of items, one for the root, and three for
/// the face colours of the innermost item.
constexpr int kMaxIndexDepth = 2 * kMaxNesting + 4;

/// Items that one walk of one visitor visits, instances unfolded: a few nested types can stand for billions. So many
/// scene nodes take 2.3 GB.
constexpr unsigned int kMaxWalkItems = 10000000;

/// Missing packages of one kind after which a reader looks for no further ones: the count comes from the file.
constexpr unsigned int kMaxMissingPackages = 100;

/// Bytes of item data after which a package is closed.
constexpr int kPkgSizeLimit = 4194304;

}  // namespace mirel
