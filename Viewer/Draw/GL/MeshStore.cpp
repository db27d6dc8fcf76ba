#include <Viewer/Draw/GL/MeshStore.h>

#include <Viewer/Draw/ClosedMesh.h>
#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/GL/GLError.h>
#include <Viewer/Draw/ParallelLoop.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <algorithm>
#include <limits>
#include <unordered_set>

namespace mirel {

namespace {

struct Vertex {
  std::uint16_t x, y, z;
  std::int8_t nx, ny;
  std::uint32_t face;
};
struct FineVertex {
  float x, y, z;
  std::int8_t nx, ny;
  std::uint16_t unused;
  std::uint32_t face;
};
static_assert(sizeof(Vertex) == 12 && sizeof(FineVertex) == 20, "as the vertex arrays say");

Vertex Convert(const GRepVertex& v, std::uint32_t face) {
  return {v.x, v.y, v.z, v.nx, v.ny, face};
}
FineVertex Convert(const GRepFineVertex& v, std::uint32_t face) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z), v.nx, v.ny, 0, face};
}

// At least one, so that every call goes on.
std::size_t CountAffordable(std::size_t budget, std::size_t size, std::size_t left) {
  return std::min(left, std::max<std::size_t>(1, budget / size));
}

void Spend(std::size_t& budget, std::size_t bytes) {
  budget -= std::min(budget, bytes);
}

template <typename Target, typename Source>
std::size_t SendConverted(const std::vector<Source>& vertices, const std::vector<std::uint32_t>& faces,
                          std::size_t first, std::size_t base, std::size_t& budget, GLBuffer& buffer) {
  const std::size_t count = CountAffordable(budget, sizeof(Target), vertices.size() - first);
  std::vector<Target> converted;
  converted.reserve(count);
  for (std::size_t i = first; i < first + count; ++i)
    converted.push_back(Convert(vertices[i], faces[i]));
  buffer.Write((base + first) * sizeof(Target), converted.data(), count * sizeof(Target));
  Spend(budget, count * sizeof(Target));
  return count;
}

std::uint32_t AddCount(std::uint32_t& total, std::size_t count) {
  const std::uint32_t first = total;
  // Vertices are counted from a signed number on.
  if (count > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - total)
    throw GLError("the bodies have more vertices than OpenGL can number");
  total += static_cast<std::uint32_t>(count);
  return first;
}

}  // namespace

std::vector<std::uint32_t> MeshStore::Want(const std::vector<DrawBatch>& batches) {
  std::unordered_set<const GRepShape*> wanted;
  std::size_t kept = 0;
  for (const DrawBatch& batch : batches) {
    if (wanted.insert(batch.grep.get()).second && known_.count(batch.grep.get()) > 0)
      kept += batch.grep->GetMesh().triangles.size();
  }
  if (kept < indexCount_ / 2) Clear();  // mostly what nobody wants any more
  std::vector<std::uint32_t> positions;
  positions.reserve(batches.size());
  for (const DrawBatch& batch : batches) {
    if (known_.count(batch.grep.get()) == 0) Add(batch.grep);
    positions.push_back(known_[batch.grep.get()]);
  }
  return positions;
}

void MeshStore::Add(const std::shared_ptr<const GRepShape>& grep) {
  const GRepMesh& source = grep->GetMesh();
  Mesh mesh;
  mesh.grep = grep;
  mesh.isFine = source.vertices.empty();
  mesh.indexCount = static_cast<std::uint32_t>(source.triangles.size());
  mesh.firstIndex = AddCount(indexCount_, source.triangles.size());
  mesh.vertexCount = static_cast<std::uint32_t>(source.GetVertexCount());
  mesh.firstVertex = AddCount(mesh.isFine ? fineVertexCount_ : vertexCount_, source.GetVertexCount());
  known_[grep.get()] = static_cast<std::uint32_t>(meshes_.size());
  meshes_.push_back(std::move(mesh));
}

void MeshStore::Clear() {
  meshes_.clear();
  known_.clear();
  waiting_ = 0;
  piece_ = Piece();
  vertexCount_ = fineVertexCount_ = indexCount_ = 0;
}

void MeshStore::Reserve() {
  vertices_.Reserve(vertexCount_ * sizeof(Vertex));
  fineVertices_.Reserve(fineVertexCount_ * sizeof(FineVertex));
  indices_.Reserve(indexCount_ * sizeof(std::uint32_t));
}

void MeshStore::Upload(std::size_t& budget, std::vector<std::uint32_t>& ready) {
  if (IsUploaded()) return;
  Reserve();
  while (!IsUploaded() && budget > 0) {
    Mesh& mesh = meshes_[waiting_];
    if (piece_.vertices < mesh.vertexCount) {
      SendVertices(mesh, budget);
    } else if (piece_.indices < mesh.indexCount) {
      SendIndices(mesh, budget);
    } else {
      mesh.isReady = true;
      ready.push_back(static_cast<std::uint32_t>(waiting_));
      piece_ = Piece();
      ++waiting_;
    }
  }
}

void MeshStore::SendVertices(const Mesh& mesh, std::size_t& budget) {
  const GRepMesh& source = mesh.grep->GetMesh();
  if (piece_.faceOfVertex.empty()) piece_.faceOfVertex = source.MakeFaceOfVertex();
  piece_.vertices += mesh.isFine
                         ? SendConverted<FineVertex>(source.fineVertices, piece_.faceOfVertex,
                                                     piece_.vertices, mesh.firstVertex, budget, fineVertices_)
                         : SendConverted<Vertex>(source.vertices, piece_.faceOfVertex, piece_.vertices,
                                                 mesh.firstVertex, budget, vertices_);
}

void MeshStore::SendIndices(const Mesh& mesh, std::size_t& budget) {
  constexpr std::size_t kSize = sizeof(std::uint32_t);
  const std::size_t count = CountAffordable(budget, kSize, mesh.indexCount - piece_.indices);
  indices_.Write((mesh.firstIndex + piece_.indices) * kSize, &mesh.grep->GetMesh().triangles[piece_.indices],
                 count * kSize);
  piece_.indices += count;
  Spend(budget, count * kSize);
}

void MeshStore::FindClosed() {
  std::vector<Mesh*> unknown;
  for (Mesh& mesh : meshes_) {
    if (!mesh.isClosed) unknown.push_back(&mesh);
  }
  ParallelLoop(unknown.size(), 0,
               [&](std::size_t i) { unknown[i]->isClosed = IsClosedMesh(unknown[i]->grep->GetMesh()); });
}

void MeshStore::BindVertices(bool isFine) const {
  const auto at = [](std::size_t offset) { return reinterpret_cast<const void*>(offset); };
  const GLsizei stride = isFine ? sizeof(FineVertex) : sizeof(Vertex);
  const std::size_t normal = isFine ? offsetof(FineVertex, nx) : offsetof(Vertex, nx);
  const std::size_t face = isFine ? offsetof(FineVertex, face) : offsetof(Vertex, face);
  glBindBuffer(GL_ARRAY_BUFFER, (isFine ? fineVertices_ : vertices_).GetName());
  for (GLuint attribute = 0; attribute < 3; ++attribute)
    glEnableVertexAttribArray(attribute);
  glVertexAttribPointer(0, 3, isFine ? GL_FLOAT : GL_UNSIGNED_SHORT, GL_FALSE, stride, at(0));
  glVertexAttribPointer(1, 2, GL_BYTE, GL_FALSE, stride, at(normal));
  glVertexAttribIPointer(2, 1, GL_UNSIGNED_INT, stride, at(face));
  glBindBuffer(GL_ARRAY_BUFFER, 0);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices_.GetName());
}

void MeshStore::Release() {
  vertices_.Release();
  fineVertices_.Release();
  indices_.Release();
  Forget();
}

void MeshStore::Forget() {
  vertices_.Forget();
  fineVertices_.Forget();
  indices_.Forget();
  waiting_ = 0;
  piece_ = Piece();
  for (Mesh& mesh : meshes_)
    mesh.isReady = false;
}

}  // namespace mirel
