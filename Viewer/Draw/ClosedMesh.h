#pragma once

namespace mirel {

struct GRepMesh;

/// Whether the triangles of a mesh enclose a space, so that there is an inside: (nearly) every side of a triangle is a
/// side of another one, in the other direction. A few that are not, as where a face could not be meshed, do not count.
bool IsClosedMesh(const GRepMesh& mesh);

}  // namespace mirel
