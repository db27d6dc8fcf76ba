#pragma once

#include <Viewer/Draw/GL/GLBuffer.h>
#include <Viewer/Draw/GL/MeshStore.h>
#include <Viewer/Draw/NodeVisibility.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace mirel {

class DrawScene;
class Selection;

/// What the shaders know of a scene beside the triangles: batches, palettes, placements, and how each placement is
/// drawn. Nothing of it is kept twice but four bytes for each placement, and what was set on purpose.
class PlacementStore {
 public:
  /// How many placements a group of the shaders has that find what is in view.
  static constexpr std::uint32_t kGroup = 256;

  void SetScene(std::shared_ptr<const DrawScene> scene, std::vector<std::uint32_t> meshOfBatch);
  const std::shared_ptr<const DrawScene>& GetScene() const { return scene_; }
  /// What the scene's coordinates are counted from on the card.
  const glm::dvec3& GetAnchor() const { return anchor_; }
  /// What encloses all placements that are moved by a part of their offsets.
  AABoxT<double> GetBox(float offsetFactor) const;

  void SetLook(const std::vector<std::uint32_t>& placements, NodeVisibility::Look look);
  void ResetLooks();
  void SetColor(const std::vector<std::uint32_t>& placements, const std::optional<glm::vec3>& color);
  void SetSelection(const Selection& selection);
  void SetHover(const Selection& hover);
  void SetOffsets(std::vector<glm::vec3> offsets);

  /// Sends what is missing, up to so many bytes of placements.
  void Upload(const MeshStore& meshes, std::size_t& budget);
  bool IsUploaded() const { return uploaded_ == stateOf_.size(); }
  /// These meshes can be drawn now.
  void ShowMeshes(const MeshStore& meshes, const std::vector<std::uint32_t>& ready);
  /// Whether meshes are closed is known now.
  void RenewBatches() { batchesSent_ = false; }

  std::uint32_t GetUploadedCount() const { return uploaded_; }
  std::uint32_t GetGroupCount() const { return (uploaded_ + kGroup - 1) / kGroup; }
  std::uint32_t GetBatchCount() const { return static_cast<std::uint32_t>(batches_.size()); }
  /// Draw commands begin with those of ordinary bodies; those with fine coordinates follow.
  std::uint32_t GetFineBatchCount() const { return fineBatches_; }
  bool HasGhosts() const { return ghosts_ > 0; }
  bool HasColors() const { return !colorOf_.empty(); }
  bool HasOffsets() const { return !offsets_.empty(); }
  std::size_t GetSelectedFaceCount() const { return selected_.faces.size(); }
  std::size_t GetHoveredFaceCount() const { return hovered_.faces.size(); }

  /// Where the shaders look for it all; beside, what those need that find what is in view.
  void Bind() const;
  void BindForCulling() const;
  /// The numbers of the placements that are in view.
  const GLBuffer& GetSeen() const { return seen_; }
  const GLBuffer& GetCommands() const { return commands_; }
  /// Where the command begins that draws what is too small for triangles.
  std::size_t GetPointCommand() const { return 2 * batches_.size() * kCommandSize; }
  static constexpr std::size_t kCommandSize = 5 * sizeof(std::uint32_t);

  void Release();
  void Forget();

 private:
  // As the shaders have it.
  struct Batch {
    std::uint32_t palette, paletteSize, isClosed, command;
    glm::vec4 sphere;  // on the body's grid
    std::uint32_t indexCount, firstIndex, firstVertex, firstPlacement;
    std::uint32_t joints, jointCount;  // faces that go on smoothly in each other
    float gridStep;
    std::uint32_t unused;
  };
  struct Face {
    std::uint32_t placement, face;
  };
  // What is selected, or lit up.
  struct Marked {
    std::vector<std::uint32_t> placements;
    std::vector<Face> faces;
  };
  // What has changed and was not sent yet.
  struct Range {
    std::size_t first = 0, behind = 0;
    void Add(std::size_t i);
  };

  std::vector<GLBuffer*> GetBuffers();
  void MakeBatches(const MeshStore& meshes);
  void FillBatch(const MeshStore& meshes, std::size_t number);
  void SendAll(const MeshStore& meshes);
  void SendPalettes();
  void SendJoints();
  void SendTurns(std::size_t& budget);
  void SendPlacements(std::size_t& budget);
  void SendChanges();
  void ChangeState(std::size_t placement, std::uint32_t mask, std::uint32_t bits);
  void Mark(const Selection& selection, std::uint32_t bodyBit, std::uint32_t faceBit, Marked& marked);

  std::shared_ptr<const DrawScene> scene_;
  std::vector<std::uint32_t> meshOfBatch_;
  glm::dvec3 anchor_{0.0};

  std::vector<std::uint32_t> stateOf_;  // by placement
  std::vector<std::uint32_t> colorOf_;  // by placement; empty when no colours are set
  std::vector<glm::vec3> offsets_;
  float longestOffset_ = 0.0f;
  Marked selected_, hovered_;
  std::size_t ghosts_ = 0;
  std::uint32_t fineBatches_ = 0;

  std::vector<Batch> batches_;

  std::uint32_t uploaded_ = 0;
  std::size_t uploadedTurns_ = 0;
  bool batchesSent_ = false, palettesSent_ = false, facesSent_ = false, offsetsSent_ = false;
  Range changedStates_, changedColors_;
  GLBuffer placementBuffer_, turns_, states_, batchBuffer_, palettes_, joints_, colors_, offsetBuffer_,
      faces_;
  GLBuffer seen_, masks_, groups_, commands_;
};

}  // namespace mirel
