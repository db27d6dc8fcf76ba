#include <Viewer/Draw/GL/PlacementStore.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Draw/GL/GLError.h>
#include <Viewer/Draw/GL/GLRenderer.h>
#include <Viewer/Draw/Selection.h>
#include <Viewer/Draw/SmoothJoints.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/geometric.hpp>
#include <glm/gtc/packing.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <unordered_map>

namespace mirel {

namespace {

// Bits of a placement's state, as in the shaders.
constexpr std::uint32_t kLookBits = 3, kSelected = 4, kHovered = 8, kFaceSelected = 16, kFaceHovered = 32;

// A colour of its own has this bit, so that black is one.
constexpr std::uint32_t kOwnColor = 0xFF000000u;

constexpr std::uint32_t kMasksOfGroup = 3 * PlacementStore::kGroup / 32;

// Bodies whose places the card gets in one go.
constexpr std::size_t kPlacementsAtOnce = 16384;

// Where the body's grid begins, split into two floats, since one has too few digits far from the origin.
struct GLPlacement {
  glm::vec3 high;
  std::uint32_t batch;
  glm::vec3 low;
  std::uint32_t turn;
};
static_assert(sizeof(GLPlacement) == 32, "as the shaders have it");

GLPlacement Convert(const DrawBatch& source, std::size_t i, const glm::dvec3& anchor, std::uint32_t batch) {
  const glm::dvec3 origin =
      source.placements[i] * glm::dvec4(source.grep->GetMesh().gridOrigin, 1.0) - anchor;
  const glm::vec3 high(origin);
  return {high, batch, glm::vec3(origin - glm::dvec3(high)), source.placements.GetTurnNumber(i)};
}

std::uint32_t Pack(const glm::vec3& color) {
  return glm::packUnorm4x8(glm::vec4(color, 1.0f));
}

// The colour of the body, and those of its faces where they differ from it.
std::vector<std::uint32_t> Pack(const DrawPalette& palette, std::size_t faceCount) {
  std::vector<std::uint32_t> colors = {Pack(palette.GetColor(FaceMap::kCut))};
  for (std::uint32_t face = 0; face < faceCount; ++face)
    colors.push_back(Pack(palette.GetColor(face)));
  if (std::all_of(colors.begin(), colors.end(), [&](std::uint32_t c) { return c == colors[0]; }))
    colors.resize(1);
  return colors;
}

std::uint32_t ToState(NodeVisibility::Look look) {
  return static_cast<std::uint32_t>(look);
}

}  // namespace

void PlacementStore::Range::Add(std::size_t i) {
  first = first == behind ? i : std::min(first, i);
  behind = std::max(behind, i + 1);
}

void PlacementStore::SetScene(std::shared_ptr<const DrawScene> scene,
                              std::vector<std::uint32_t> meshOfBatch) {
  scene_ = std::move(scene);
  meshOfBatch_ = std::move(meshOfBatch);
  anchor_ = glm::dvec3(0.0);
  if (scene_ && scene_->GetBox().IsFinite())
    anchor_ = (scene_->GetBox().GetMin() + scene_->GetBox().GetMax()) * 0.5;
  stateOf_.assign(scene_ ? scene_->GetPlacementCount() : 0, 0);
  colorOf_ = {};
  SetOffsets({});
  selected_ = hovered_ = Marked();
  batches_.clear();
  ResetLooks();
  uploaded_ = uploadedTurns_ = 0;
  batchesSent_ = palettesSent_ = facesSent_ = offsetsSent_ = false;
}

AABoxT<double> PlacementStore::GetBox(float offsetFactor) const {
  if (!scene_ || !scene_->GetBox().IsFinite()) return {};
  const glm::dvec3 reach(std::abs(static_cast<double>(offsetFactor * longestOffset_)));
  return {scene_->GetBox().GetMin() - reach, scene_->GetBox().GetMax() + reach};
}

void PlacementStore::ResetLooks() {
  ghosts_ = 0;
  if (!scene_) return;
  for (const DrawBatch& batch : scene_->GetBatches()) {
    const std::uint32_t look =
        ToState(batch.ghost ? NodeVisibility::Look::kGhost : NodeVisibility::Look::kSolid);
    if (batch.ghost) ghosts_ += batch.placements.size();
    for (std::size_t i = batch.first; i < batch.first + batch.placements.size(); ++i)
      ChangeState(i, kLookBits, look);
  }
}

void PlacementStore::ChangeState(std::size_t placement, std::uint32_t mask, std::uint32_t bits) {
  if (placement >= stateOf_.size() || (stateOf_[placement] & mask) == bits) return;
  stateOf_[placement] = (stateOf_[placement] & ~mask) | bits;
  changedStates_.Add(placement);
}

void PlacementStore::SetLook(const std::vector<std::uint32_t>& placements, NodeVisibility::Look look) {
  const std::uint32_t ghost = ToState(NodeVisibility::Look::kGhost);
  for (const std::uint32_t placement : placements) {
    if (placement >= stateOf_.size()) continue;
    if ((stateOf_[placement] & kLookBits) == ghost) --ghosts_;
    if (look == NodeVisibility::Look::kGhost) ++ghosts_;
    ChangeState(placement, kLookBits, ToState(look));
  }
}

void PlacementStore::SetColor(const std::vector<std::uint32_t>& placements,
                              const std::optional<glm::vec3>& color) {
  if (colorOf_.empty() && !stateOf_.empty()) {
    colorOf_.assign(stateOf_.size(), 0);
    changedColors_ = {0, colorOf_.size()};
  }
  const std::uint32_t packed = color ? Pack(*color) | kOwnColor : 0;
  for (const std::uint32_t placement : placements) {
    if (placement >= colorOf_.size()) continue;
    colorOf_[placement] = packed;
    changedColors_.Add(placement);
  }
}

void PlacementStore::Mark(const Selection& selection, std::uint32_t bodyBit, std::uint32_t faceBit,
                          Marked& marked) {
  for (const std::uint32_t placement : marked.placements)
    ChangeState(placement, bodyBit | faceBit, 0);
  marked = Marked();
  for (const auto& [placement, face] : selection.GetParts()) {
    if (placement >= stateOf_.size()) continue;
    const std::uint32_t state = stateOf_[placement] & (bodyBit | faceBit);
    if (face == Selection::kWholeBody) {
      ChangeState(placement, bodyBit | faceBit, state | bodyBit);
    } else if (marked.faces.size() < GLRenderer::kMaxFaces) {
      marked.faces.push_back({placement, face});
      ChangeState(placement, bodyBit | faceBit, state | faceBit);
    }
    marked.placements.push_back(placement);
  }
  facesSent_ = false;
}

void PlacementStore::SetSelection(const Selection& selection) {
  Mark(selection, kSelected, kFaceSelected, selected_);
}

void PlacementStore::SetHover(const Selection& hover) {
  Mark(hover, kHovered, kFaceHovered, hovered_);
}

void PlacementStore::SetOffsets(std::vector<glm::vec3> offsets) {
  offsets_ = std::move(offsets);
  if (!offsets_.empty()) offsets_.resize(stateOf_.size(), glm::vec3(0.0f));
  longestOffset_ = 0.0f;
  for (const glm::vec3& offset : offsets_)
    longestOffset_ = std::max(longestOffset_, glm::length(offset));
  offsetsSent_ = false;
}

void PlacementStore::Upload(const MeshStore& meshes, std::size_t& budget) {
  if (!scene_) return;
  if (!batchesSent_ || !palettesSent_) SendAll(meshes);
  SendTurns(budget);
  SendPlacements(budget);
  SendChanges();
}

void PlacementStore::MakeBatches(const MeshStore& meshes) {
  const std::vector<DrawBatch>& batches = scene_->GetBatches();
  batches_.resize(batches.size());
  fineBatches_ = static_cast<std::uint32_t>(std::count_if(
      meshOfBatch_.begin(), meshOfBatch_.end(), [&](std::uint32_t mesh) { return meshes.Get(mesh).isFine; }));
  std::uint32_t ordinary = 0, fine = GetBatchCount() - fineBatches_;
  for (std::size_t i = 0; i < batches.size(); ++i) {
    batches_[i].command = meshes.Get(meshOfBatch_[i]).isFine ? fine++ : ordinary++;
    FillBatch(meshes, i);
  }
}

void PlacementStore::FillBatch(const MeshStore& meshes, std::size_t number) {
  const DrawBatch& source = scene_->GetBatches()[number];
  const MeshStore::Mesh& mesh = meshes.Get(meshOfBatch_[number]);
  const GRepMesh& grep = source.grep->GetMesh();
  Batch& batch = batches_[number];
  const glm::dvec3 middle = (grep.box.GetMin() + grep.box.GetMax()) * 0.5;
  batch.gridStep = static_cast<float>(grep.gridStep);
  batch.isClosed = mesh.isClosed.value_or(false) ? 1 : 0;
  batch.sphere = glm::vec4((middle - grep.gridOrigin) / grep.gridStep,
                           glm::length(grep.box.GetMax() - middle) / grep.gridStep + 1.0);
  batch.indexCount = mesh.isReady ? mesh.indexCount : 0;
  batch.firstIndex = mesh.firstIndex;
  batch.firstVertex = mesh.firstVertex;
  batch.firstPlacement = source.first;
}

void PlacementStore::SendPalettes() {
  std::vector<std::uint32_t> all;
  for (std::size_t i = 0; i < batches_.size(); ++i) {
    const DrawBatch& batch = scene_->GetBatches()[i];
    const std::vector<std::uint32_t> colors = Pack(*batch.palette, batch.grep->GetMesh().faces.size());
    batches_[i].palette = static_cast<std::uint32_t>(all.size());
    batches_[i].paletteSize = static_cast<std::uint32_t>(colors.size());
    all.insert(all.end(), colors.begin(), colors.end());
  }
  palettes_.Store(all);
}

void PlacementStore::SendJoints() {
  SmoothJoints::Joints all;
  std::unordered_map<std::uint32_t, std::size_t> known;  // the first batch of each mesh
  for (std::size_t i = 0; i < batches_.size(); ++i) {
    const auto [first, isNew] = known.try_emplace(meshOfBatch_[i], i);
    if (isNew) {
      const SmoothJoints::Joints own = SmoothJoints::Find(scene_->GetBatches()[i].grep->GetMesh());
      batches_[i].joints = static_cast<std::uint32_t>(all.size());
      batches_[i].jointCount = static_cast<std::uint32_t>(own.size());
      all.insert(all.end(), own.begin(), own.end());
    } else {
      batches_[i].joints = batches_[first->second].joints;
      batches_[i].jointCount = batches_[first->second].jointCount;
    }
  }
  joints_.Store(all);
}

void PlacementStore::SendAll(const MeshStore& meshes) {
  MakeBatches(meshes);
  if (!palettesSent_) {
    SendPalettes();
    SendJoints();
  }
  batchBuffer_.Store(batches_);
  const std::size_t groups = (stateOf_.size() + kGroup - 1) / kGroup + 1;
  GLint largest = 0;
  glGetIntegerv(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &largest);
  if (stateOf_.size() > static_cast<std::size_t>(largest) / sizeof(GLPlacement))
    throw GLError(std::to_string(stateOf_.size()) + " placed bodies are more than the " +
                  std::to_string(static_cast<std::size_t>(largest) / sizeof(GLPlacement)) +
                  " that this OpenGL driver has room for");
  placementBuffer_.Reserve(stateOf_.size() * sizeof(GLPlacement));
  turns_.Reserve(scene_->GetTurns().GetCount() * sizeof(glm::mat3));
  states_.Store(stateOf_);
  if (!colorOf_.empty()) colors_.Store(colorOf_);
  changedStates_ = changedColors_ = Range();
  seen_.Reserve(stateOf_.size() * sizeof(std::uint32_t));
  masks_.Reserve(groups * kMasksOfGroup * sizeof(std::uint32_t));
  groups_.Reserve(groups * sizeof(glm::uvec4));
  commands_.Reserve((2 * batches_.size() + 1) * kCommandSize);
  batchesSent_ = palettesSent_ = true;
}

void PlacementStore::SendTurns(std::size_t& budget) {
  const PlacementTurns& all = scene_->GetTurns();
  std::vector<glm::mat3> piece;
  while (uploadedTurns_ < all.GetCount() && budget > 0) {
    piece.clear();
    while (piece.size() < kPlacementsAtOnce && uploadedTurns_ + piece.size() < all.GetCount())
      piece.emplace_back(all.Get(static_cast<std::uint32_t>(uploadedTurns_ + piece.size())));
    turns_.Write(uploadedTurns_ * sizeof(glm::mat3), piece.data(), piece.size() * sizeof(glm::mat3));
    uploadedTurns_ += piece.size();
    budget -= std::min(budget, piece.size() * sizeof(glm::mat3));
  }
}

void PlacementStore::SendPlacements(std::size_t& budget) {
  std::vector<GLPlacement> piece;
  while (!IsUploaded() && budget > 0) {
    piece.clear();
    const DrawBatch* batch = &scene_->GetBatch(uploaded_);
    std::size_t end = std::min<std::size_t>(stateOf_.size(), uploaded_ + kPlacementsAtOnce);
    for (std::uint32_t i = uploaded_; i < end; ++i) {
      if (i >= batch->first + batch->placements.size()) ++batch;
      piece.push_back(Convert(*batch, i - batch->first, anchor_,
                              static_cast<std::uint32_t>(batch - scene_->GetBatches().data())));
    }
    placementBuffer_.Write(uploaded_ * sizeof(GLPlacement), piece.data(), piece.size() * sizeof(GLPlacement));
    uploaded_ += static_cast<std::uint32_t>(piece.size());
    budget -= std::min(budget, piece.size() * sizeof(GLPlacement));
  }
}

void PlacementStore::SendChanges() {
  const auto send = [](const std::vector<std::uint32_t>& values, Range& range, GLBuffer& buffer) {
    if (range.first == range.behind) return;
    buffer.Reserve(values.size() * sizeof(std::uint32_t));
    buffer.Write(range.first * sizeof(std::uint32_t), &values[range.first],
                 (range.behind - range.first) * sizeof(std::uint32_t));
    range = Range();
  };
  send(stateOf_, changedStates_, states_);
  send(colorOf_, changedColors_, colors_);
  if (!offsetsSent_ && !offsets_.empty()) {
    std::vector<glm::vec4> wide;
    wide.reserve(offsets_.size());
    for (const glm::vec3& offset : offsets_)
      wide.emplace_back(offset, 0.0f);
    offsetBuffer_.Store(wide);
    offsetsSent_ = true;
  }
  if (!facesSent_) {
    std::vector<Face> faces = selected_.faces;
    faces.insert(faces.end(), hovered_.faces.begin(), hovered_.faces.end());
    faces_.Store(faces);
    facesSent_ = true;
  }
}

void PlacementStore::ShowMeshes(const MeshStore& meshes, const std::vector<std::uint32_t>& ready) {
  if (ready.empty()) return;
  std::vector<bool> isReady(*std::max_element(ready.begin(), ready.end()) + std::size_t{1});
  for (const std::uint32_t mesh : ready)
    isReady[mesh] = true;
  for (std::size_t i = 0; i < batches_.size(); ++i) {
    if (meshOfBatch_[i] >= isReady.size() || !isReady[meshOfBatch_[i]]) continue;
    FillBatch(meshes, i);
    batchBuffer_.Write(i * sizeof(Batch), &batches_[i], sizeof(Batch));
  }
}

void PlacementStore::Bind() const {
  placementBuffer_.BindStorage(0);
  states_.BindStorage(1);
  batchBuffer_.BindStorage(2);
  palettes_.BindStorage(3);
  // What is not there is not looked at, but not every driver stands an empty place.
  (colors_.GetName() != 0 ? colors_ : states_).BindStorage(4);
  (offsetBuffer_.GetName() != 0 ? offsetBuffer_ : states_).BindStorage(5);
  (faces_.GetName() != 0 ? faces_ : states_).BindStorage(6);
  (joints_.GetName() != 0 ? joints_ : states_).BindStorage(7);
  turns_.BindStorage(11);
}

void PlacementStore::BindForCulling() const {
  Bind();
  seen_.BindStorage(7);
  masks_.BindStorage(8);
  groups_.BindStorage(9);
  commands_.BindStorage(10);
}

void PlacementStore::Release() {
  for (GLBuffer* buffer : GetBuffers())
    buffer->Release();
  Forget();
}

void PlacementStore::Forget() {
  for (GLBuffer* buffer : GetBuffers())
    buffer->Forget();
  uploaded_ = uploadedTurns_ = 0;
  batchesSent_ = palettesSent_ = facesSent_ = offsetsSent_ = false;
}

std::vector<GLBuffer*> PlacementStore::GetBuffers() {
  return {&placementBuffer_, &turns_, &states_, &batchBuffer_, &palettes_, &joints_,  &colors_,
          &offsetBuffer_,    &faces_, &seen_,   &masks_,       &groups_,   &commands_};
}

}  // namespace mirel
