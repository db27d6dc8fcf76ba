#pragma once

#include <cstddef>

namespace mirel {

// What the module accepts at most. Each limit keeps a hostile or mistaken model from exhausting the stack, time or
// memory, and lies far above what real models need.

/// Levels of groups and instances below each other, the top-level item being level 1. Recursion goes no deeper, so a
/// thread with a stack of 1 MiB is enough. Deepest real assembly seen: 11.
constexpr int kMaxNesting = 500;

/// Levels of objects and arrays that are read from the text of an index: two for each level of items, one for the root, and three for
/// the face colours of the innermost item.
constexpr int kMaxIndexDepth = 2 * kMaxNesting + 4;

/// Items that one walk of one visitor visits, instances unfolded: a few nested types can stand for billions. So many
/// scene nodes take 1.2 GB, and 3.5 GB when each is of another item.
constexpr unsigned int kMaxWalkItems = 10000000;

/// As how many items one counts: long names and many face colours are gone through again for each use of a type.
constexpr std::size_t CountAsWalkItems(std::size_t nameBytes, std::size_t faceColors) {
  return 1 + nameBytes / 1024 + faceColors / 32;
}

/// Missing packages of one kind that are reported one by one: the count comes from the file.
constexpr unsigned int kMaxMissingPackages = 100;

/// Ids of a table in one bucket before the table changes to a secret hash. With ids that nobody chose, 20 in a bucket
/// are less likely than a hit by a meteorite.
constexpr std::size_t kMaxIdsPerBucket = 64;

/// Face colours of one item in one bucket. Their hash map is a standard one, whose hash is the number itself: it gets more
/// buckets, up to some for each colour, from the first number on, and what exceeds the second one even then is left out.
/// Faces in a pattern may reach the first; the second takes 16 million faces.
constexpr std::size_t kCrowdedFaceColors = 64;
constexpr std::size_t kMaxFaceColorsPerBucket = 1024;
constexpr std::size_t kMaxBucketsPerFaceColor = 16;

/// Bytes of item data after which a package is closed.
constexpr int kPkgSizeLimit = 4194304;

}  // namespace mirel
