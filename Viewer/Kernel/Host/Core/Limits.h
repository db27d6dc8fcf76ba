#pragma once

#include <cstdint>

namespace mirel {

// What the host layer accepts at most. Each limit keeps a hostile file from taking time or memory out of proportion
// and lies far above what real models need.

/// Inflated content of one gzip file: sizes are handed on as unsigned 32-bit numbers.
constexpr std::uint64_t kMaxInflatedBytes = 0xFFFFFFFFu;

/// Coordinates of a mesh, in mm: a thousand kilometres times a thousand. Bodies that reach farther count as unbounded.
constexpr double kMaxMeshCoordinate = 1e12;

/// Vertices, triangle corners, faces, polyline points or edges of one mesh: ranges are unsigned 32-bit numbers.
constexpr std::uint64_t kMaxMeshElements = 0x7FFFFFFFu;

}  // namespace mirel
