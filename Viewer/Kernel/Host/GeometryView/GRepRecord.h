#pragma once

#include <iosfwd>

namespace mirel {

struct GRepMesh;

enum class GRepRecordForm {
  kWhole,
  kDrawing  ///< without surfaces and sides, and arranged so that packers make less of it; triangles come in another order
};

/// Appends the record of a mesh to the stream; the layout is described in docs/format.md. False when the
/// stream failed or the mesh has more vertices, indices, faces or edges than a record may have.
bool WriteGRepRecord(const GRepMesh& mesh, std::ostream& stream,
                     GRepRecordForm form = GRepRecordForm::kWhole);

/// Reads one record from the stream, which need not be seekable and may end with it. Null on success; else
/// the reason, and `mesh` is in a valid but unspecified state.
const char* ReadGRepRecord(std::istream& stream, GRepMesh& mesh);

}  // namespace mirel
