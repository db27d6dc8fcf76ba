#include <Python/Native/Arrays.h>

#include <Python/Native/PlacementWalk.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace mirel::python {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kPiece = 8192;  // rows that one core fills before it takes others
using Shape = std::vector<py::ssize_t>;

py::array Seal(py::array array) {
  py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return array;
}

// An array that `fill` has filled while other threads of Python run.
template <typename T, typename Fill>
py::array Make(Shape shape, const Fill& fill) {
  py::array_t<T> array(std::move(shape));
  T* const target = array.mutable_data();
  {
    const py::gil_scoped_release others;
    fill(target);
  }
  return Seal(std::move(array));
}

template <typename T>
py::array Copy(const std::vector<T>& values, Shape shape) {
  return Make<T>(std::move(shape), [&](T* target) { std::copy(values.begin(), values.end(), target); });
}

template <typename MakeNow>
py::array Keep(py::object& kept, const MakeNow& make) {
  if (!kept) kept = make();
  return py::reinterpret_borrow<py::array>(kept);
}

void PutMatrix(const glm::dmat4& matrix, double* target) {
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column)
      *target++ = matrix[column][row];
}

void PutBox(const AABoxT<double>& box, double* target) {
  for (int axis = 0; axis < 3; ++axis) {
    target[axis] = box.IsFinite() ? box.GetMin()[axis] : kNone;
    target[3 + axis] = box.IsFinite() ? box.GetMax()[axis] : kNone;
  }
}

AABoxT<double> FindBox(const SceneNode& node, PlacementWalk& walk) {
  if (node.GetKind() != SceneNodeKind::kBrep) return GetNodeBox(node);
  const auto& grep = static_cast<const BrepSceneNode&>(node).GetGRep();
  AABoxT<double> box = grep ? grep->GetBoundingBox() : AABoxT<double>();
  box.Transform(walk.At(node));
  return box;
}

template <typename T, typename Put>
py::array MakeRows(const Parts& parts, Shape shape, std::size_t width, const Put& put) {
  const NodeList& nodes = *parts.nodes;
  const std::size_t pieces = (nodes.size() + kPiece - 1) / kPiece;
  return Make<T>(std::move(shape), [&](T* target) {
    ShareOut(pieces, nodes.size() * width * sizeof(T), [&](std::size_t piece) {
      PlacementWalk walk;
      for (std::size_t i = piece * kPiece; i < std::min(nodes.size(), (piece + 1) * kPiece); ++i)
        put(*nodes[i], walk, target + i * width);
    });
  });
}

py::ssize_t Size(std::size_t size) {
  return static_cast<py::ssize_t>(size);
}

}  // namespace

py::array MakeMatrices(const Parts& parts) {
  return MakeRows<double>(
      parts, {Size(parts.GetSize()), 4, 4}, 16,
      [](const SceneNode& node, PlacementWalk& walk, double* target) { PutMatrix(walk.At(node), target); });
}

py::array MakePositions(const Parts& parts) {
  return MakeRows<double>(parts, {Size(parts.GetSize()), 3}, 3,
                          [](const SceneNode& node, PlacementWalk& walk, double* target) {
                            const glm::dvec4& origin = walk.At(node)[3];
                            std::copy_n(&origin[0], 3, target);
                          });
}

py::array MakeBoxes(const Parts& parts) {
  return MakeRows<double>(parts, {Size(parts.GetSize()), 2, 3}, 6,
                          [](const SceneNode& node, PlacementWalk& walk, double* target) {
                            PutBox(FindBox(node, walk), target);
                          });
}

py::array MakeColors(const Parts& parts) {
  return MakeRows<float>(parts, {Size(parts.GetSize()), 3}, 3,
                         [](const SceneNode& node, PlacementWalk&, float* target) {
                           std::fill_n(target, 3, std::numeric_limits<float>::quiet_NaN());
                           if (node.GetKind() != SceneNodeKind::kBrep) return;
                           const glm::vec3& color = static_cast<const BrepSceneNode&>(node).GetColor();
                           if (color.r >= 0.0F) std::copy_n(&color[0], 3, target);
                         });
}

py::array MakeIds(const Parts& parts) {
  return MakeRows<std::uint64_t>(
      parts, {Size(parts.GetSize())}, 1,
      [](const SceneNode& node, PlacementWalk&, std::uint64_t* target) { *target = node.GetUserId(); });
}

py::array MakeMatrix(const Part& part) {
  return Make<double>({4, 4}, [&](double* target) { PutMatrix(PlacementWalk().At(*part.node), target); });
}

py::object MakeBox(const AABoxT<double>& box) {
  if (!box.IsFinite()) return py::none();
  return Make<double>({2, 3}, [&](double* target) { PutBox(box, target); });
}

py::array MakeFaceColors(const Part& part) {
  const BrepSceneNode* const shape = part.GetShape();
  const std::size_t count = shape && shape->GetGRep() ? shape->GetGRep()->GetMesh().faces.size() : 0;
  return Make<float>({Size(count), 3}, [&](float* target) {
    for (std::size_t face = 0; face < count; ++face)
      std::copy_n(&shape->GetDrawnColor(static_cast<unsigned int>(face))[0], 3, target + 3 * face);
  });
}

py::array Mesh::GetPositions() {
  return Keep(positions_, [this] {
    const GRepMesh& mesh = grep_->GetMesh();
    const std::size_t count = mesh.GetVertexCount();
    return Make<double>({Size(count), 3}, [&](double* target) {
      for (std::size_t i = 0; i < count; ++i) {
        const glm::dvec3 position = mesh.GetPosition(i);
        std::copy_n(&position[0], 3, target + 3 * i);
      }
    });
  });
}

py::array Mesh::GetNormals() {
  return Keep(normals_, [this] {
    const GRepMesh& mesh = grep_->GetMesh();
    return Make<float>({Size(mesh.GetVertexCount()), 3}, [&](float* target) { mesh.CopyNormals(target); });
  });
}

py::array Mesh::GetTriangles() {
  const GRepMesh& mesh = grep_->GetMesh();
  auto owner = std::make_unique<std::shared_ptr<const GRepShape>>(grep_);
  const py::capsule keeper(owner.get(),
                           [](void* kept) { delete static_cast<std::shared_ptr<const GRepShape>*>(kept); });
  (void)owner.release();
  return Seal(
      py::array_t<std::uint32_t>(Shape{Size(mesh.GetTriangleCount()), 3}, mesh.triangles.data(), keeper));
}

py::array Mesh::GetFaceOfTriangle() {
  return Keep(faceOfTriangle_, [this] {
    const std::vector<std::uint32_t> faces = grep_->GetMesh().MakeFaceOfTriangle();
    return Copy(faces, {Size(faces.size())});
  });
}

py::array Mesh::GetEdges() {
  return Keep(edges_, [this] {
    const std::vector<std::uint32_t> segments = grep_->GetMesh().MakeSegments();
    return Copy(segments, {Size(segments.size() / 2), 2});
  });
}

py::array Mesh::GetEdgeOfSegment() {
  return Keep(edgeOfSegment_, [this] {
    std::vector<std::uint32_t> edges;
    const GRepMesh& mesh = grep_->GetMesh();
    for (std::size_t i = 0; i < mesh.edges.size(); ++i)
      if (const std::uint32_t points = mesh.edges[i].indexCount)
        edges.insert(edges.end(), points - 1, static_cast<std::uint32_t>(i));
    return Copy(edges, {Size(edges.size())});
  });
}

}  // namespace mirel::python
