#pragma once

#include <Viewer/Draw/GL/GLBuffer.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace mirel {

class GRepShape;
struct DrawBatch;

/// The bodies' triangles on the graphics card, each body once. Bodies go there one after the other, in pieces.
class MeshStore {
 public:
  struct Mesh {
    std::shared_ptr<const GRepShape> grep;
    bool isFine = false;  ///< has 32-bit coordinates
    bool isReady = false;
    std::uint32_t indexCount = 0, firstIndex = 0;
    std::uint32_t vertexCount = 0, firstVertex = 0;
    std::optional<bool> isClosed;
  };

  /// The bodies that are wanted from now on. Gives for each batch the position of its mesh. Those that are there stay
  /// where they are.
  std::vector<std::uint32_t> Want(const std::vector<DrawBatch>& batches);

  /// Sends up to so many bytes, and adds the positions of the meshes that became ready.
  void Upload(std::size_t& budget, std::vector<std::uint32_t>& ready);
  bool IsUploaded() const { return waiting_ == meshes_.size(); }

  /// Finds out of all bodies whether their meshes enclose a space.
  void FindClosed();

  const Mesh& Get(std::uint32_t position) const { return meshes_[position]; }
  /// A vertex array object reads the vertices of the ordinary or the fine bodies: attribute 0 is the position on the
  /// body's grid, 1 the octahedral normal, 2 the face.
  void BindVertices(bool isFine) const;
  const GLBuffer& GetIndices() const { return indices_; }

  void Release();
  /// Nothing is on the card any more.
  void Forget();

 private:
  // How far the mesh has come that is being sent.
  struct Piece {
    std::vector<std::uint32_t> faceOfVertex;
    std::size_t vertices = 0, indices = 0;
  };

  void Clear();
  void Add(const std::shared_ptr<const GRepShape>& grep);
  void Reserve();
  void SendVertices(const Mesh& mesh, std::size_t& budget);
  void SendIndices(const Mesh& mesh, std::size_t& budget);

  std::vector<Mesh> meshes_;
  std::unordered_map<const GRepShape*, std::uint32_t> known_;
  std::size_t waiting_ = 0;  // the first mesh that is not ready
  Piece piece_;
  std::uint32_t vertexCount_ = 0, fineVertexCount_ = 0, indexCount_ = 0;
  GLBuffer vertices_, fineVertices_, indices_;
};

}  // namespace mirel
