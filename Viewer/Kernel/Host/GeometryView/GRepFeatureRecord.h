#pragma once

namespace mirel {

class ByteReader;
class ByteWriter;
struct GRepMesh;

/// The part of a record's payload that holds `surfaces` and `sides`, of which the mesh must have one for each face and
/// edge; the layout is described in docs/format.md.
void WriteFeatures(const GRepMesh& mesh, ByteWriter& out);

/// Reads that part for the faces and edges of the mesh. Null on success, also when the bytes ran out, of which the
/// reader knows; else the reason, and `surfaces` and `sides` are unspecified.
const char* ReadFeatures(ByteReader& in, GRepMesh& mesh);

}  // namespace mirel
