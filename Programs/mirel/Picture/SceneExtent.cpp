#include <Programs/mirel/Picture/SceneExtent.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace mirel {

namespace {

constexpr double kParallel = 1e-9;  // sine of an angle below which directions are one

// How far the triangles of a face reach in a direction.
double FindReach(const GRepMesh& mesh, const GRepFace& face, const glm::dvec3& direction) {
  double reach = std::numeric_limits<double>::lowest();
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    reach = std::max(reach, glm::dot(direction, mesh.GetPosition(face.firstVertex + i)));
  }
  return reach;
}

// How far a surface reaches in a direction, if it ends there at all and bulges.
std::optional<double> FindBulge(const GRepSurface& surface, const glm::dvec3& direction) {
  const double length = glm::length(direction);
  const double along = glm::dot(direction, surface.axis);
  const double center = glm::dot(direction, surface.origin);
  switch (surface.kind) {
  case GRepSurfaceKind::kSphere:
    return center + surface.radius * length;
  case GRepSurfaceKind::kCylinder:
    return std::abs(along) < kParallel * length ? std::optional(center + surface.radius * length)
                                                : std::nullopt;
  case GRepSurfaceKind::kTorus:
    return center + surface.radius * glm::length(direction - along * surface.axis) + surface.second * length;
  default:
    return std::nullopt;
  }
}

// How far the triangles of a body reach in a direction, which may be that of an axis, where the body's own box tells; `error`
// is by how much that may be too far, since vertices lie on a grid.
double FindReach(const GRepMesh& mesh, const glm::dvec3& direction, double& error) {
  const glm::dvec3 size = glm::abs(direction);
  const glm::dvec3 middle = (mesh.box.GetMin() + mesh.box.GetMax()) * 0.5,
                   half = (mesh.box.GetMax() - mesh.box.GetMin()) * 0.5;
  const double boxReach = glm::dot(direction, middle) + glm::dot(size, half);
  error = 0.0;
  if (size.x + size.y + size.z <= (1.0 + kParallel) * std::max({size.x, size.y, size.z})) {
    return boxReach;
  }
  error = mesh.gridStep * (size.x + size.y + size.z);
  double reach = std::numeric_limits<double>::lowest();
  for (std::size_t i = 0; i < mesh.GetVertexCount(); ++i) {
    reach = std::max(reach, glm::dot(direction, mesh.GetPosition(i)));
  }
  return std::min(reach, boxReach);
}

// How far a body reaches in a direction of its own coordinates: where a round face comes so near to its own end that only
// its triangles stop short of it, to that end.
double FindExactReach(const GRepMesh& mesh, const glm::dvec3& direction) {
  double error = 0.0;
  const double drawn = FindReach(mesh, direction, error);
  const double slack = mesh.linearDeflection * glm::length(direction);
  double reach = drawn, least = drawn - error;
  for (std::size_t i = 0; i < mesh.surfaces.size(); ++i) {
    const std::optional<double> bulge = FindBulge(mesh.surfaces[i], direction);
    if (bulge && *bulge > least && *bulge <= drawn + slack &&
        FindReach(mesh, mesh.faces[i], direction) >= *bulge - slack) {
      reach = least = *bulge;
    }
  }
  return reach;
}

// The box of a placed body.
AABoxT<double> FindExtent(const GRepMesh& mesh, const glm::dmat4x3& placement) {
  glm::dvec3 low, high;
  for (int axis = 0; axis < 3; ++axis) {
    const glm::dvec3 direction(placement[0][axis], placement[1][axis], placement[2][axis]);
    high[axis] = placement[3][axis] + FindExactReach(mesh, direction);
    low[axis] = std::min(placement[3][axis] - FindExactReach(mesh, -direction), high[axis]);
  }
  return AABoxT<double>(low, high);
}

bool Encloses(const AABoxT<double>& outer, const AABoxT<double>& inner, double margin) {
  return outer.IsFinite() &&
         glm::all(glm::greaterThanEqual(inner.GetMin(), outer.GetMin() + glm::dvec3(margin))) &&
         glm::all(glm::lessThanEqual(inner.GetMax(), outer.GetMax() - glm::dvec3(margin)));
}

void AddExtent(const DrawBatch& batch, AABoxT<double>& extent) {
  const GRepMesh& mesh = batch.grep->GetMesh();
  for (const glm::dmat4x3 placement : batch.placements) {
    // Most bodies lie within the others' box, whichever way they are turned.
    AABoxT<double> box = mesh.box;
    box.Transform(glm::dmat4(placement));
    const double scale = glm::length(box.GetMax() - box.GetMin()) /
                         std::max(glm::length(mesh.box.GetMax() - mesh.box.GetMin()), 1e-30);
    if (!Encloses(extent, box, scale * mesh.linearDeflection)) {
      extent.Merge(FindExtent(mesh, placement));
    }
  }
}

}  // namespace

AABoxT<double> FindSceneExtent(const DrawScene& scene) {
  AABoxT<double> extent;
  for (const std::vector<DrawBatch>* const batches : {&scene.GetBatches(), &scene.GetWires()}) {
    for (const DrawBatch& batch : *batches) {
      AddExtent(batch, extent);
    }
  }
  return extent;
}

}  // namespace mirel
