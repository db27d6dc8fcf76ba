#pragma once

#include <Viewer/Kernel/Host/GeometryView/RecordBytes.h>

#include <cstddef>
#include <cstdint>

namespace mirel {

struct GRepMesh;

/// Writes the triangles of faces as walks from triangle to neighbour, for records of drawings: they take less than strips where
/// triangles lie at random, and repeat where faces do. The layout is described in docs/format.md.
class WalkWriter {
 public:
  /// Adds the triangles of one face, `count` corners, whose vertices begin at `firstVertex`. False when a triangle has two
  /// equal corners: walks cannot hold it.
  bool Face(const std::uint32_t* corners, std::size_t count, std::uint32_t firstVertex);

  void AppendTo(ByteWriter& out) const;

 private:
  void AddFar(std::uint32_t corner, std::uint32_t& last);

  ByteWriter farCorners_, steps_;
  std::uint32_t farCount_ = 0;
};

/// Reads the triangles of all faces, whose counts are in the mesh already. Null on success, else the reason.
const char* ReadWalks(ByteReader& reader, GRepMesh& mesh);

}  // namespace mirel
