// Models that are drawn: whatever the readers make of an index and of packages of GReps, a small picture of it, cut by a
// plane, names bodies and faces that there are, and points of it can be picked. An input is a sequence of pieces.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/ModelPieces.h>
#include <Fuzz/Support/ModelText.h>
#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Picker.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>

#include <memory>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

/// As for the pieces that come in a stream.
constexpr std::size_t kMaxUnfolded = 10000, kMaxDepth = 5000;

constexpr int kSide = 32;

void Load(LiteModel& model, const Piece& piece) {
  if (piece.kind == Piece::kScene) LiteModelReader(model).Load(piece.bytes);
  if (piece.kind == Piece::kGRep)
    PkgGRepReader(model).Load(piece.bytes.data(), static_cast<unsigned int>(piece.bytes.size()));
}

void CheckFace(const DrawScene& scene, std::uint32_t placement, std::uint32_t face, std::size_t sections) {
  MIREL_FUZZ_CHECK(placement < scene.GetPlacementCount(), "A body is seen that is not there");
  MIREL_FUZZ_CHECK((face & FaceMap::kCut) != 0
                       ? (face & ~FaceMap::kCut) < sections
                       : face < scene.GetBatch(placement).grep->GetMesh().faces.size(),
                   "A face is seen that is not there");
}

void Draw(const std::shared_ptr<const RayCaster>& caster, Camera::Projection projection) {
  const DrawScene& scene = caster->GetScene();
  Camera camera;
  camera.SetProjection(projection);
  camera.Fit(scene, 1.0);
  PictureOptions options;
  options.width = options.height = kSide;
  options.samples = 4;
  options.edges = PictureOptions::Edges::kAll;
  options.threads = 1;
  const AABoxT<double>& box = scene.GetBox();
  if (box.IsFinite())
    options.sections.push_back(
        {{0.6, -0.8, 0.0},
         glm::dot(glm::dvec3(0.6, -0.8, 0.0), box.GetMin() + (box.GetMax() - box.GetMin()) * 0.5)});
  const PictureRenderer renderer(caster);
  const Picture picture = renderer.Draw(camera, options);
  MIREL_FUZZ_CHECK(picture.width == kSide, "There is no picture");
  for (const FaceMap::Entry& entry : renderer.DrawFaces(camera, options).entries) {
    if (entry.placement != FaceMap::kNothing)
      CheckFace(scene, entry.placement, entry.face, options.sections.size());
  }
  const Picker picker(caster, camera, {kSide, kSide}, options.sections);
  const PickResult pick = picker.Pick({kSide / 2 + 0.5, kSide / 2 + 0.5}, 5.0);
  if (pick.hit.IsHit()) CheckFace(scene, pick.hit.placement, pick.hit.face, options.sections.size());
  picker.PickRectangle({3, 3}, {kSide - 9, kSide - 3}, Picker::Reach::kTouching);
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  return MutatePieces(data, size, maxSize, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QuietLog log;
  LiteModel model;
  for (const Piece& piece : ParsePieces(data, size))
    Load(model, piece);
  if (!CollectLeaves(model, kMaxUnfolded, kMaxDepth)) return 0;
  const auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visitor(model, nullptr, root);
  model.Apply(&visitor);
  // Every second top-level item as if of glass.
  NodeVisibility visibility;
  for (std::size_t i = 1; i < root->GetNodes().size(); i += 2)
    visibility.Ghost(root->GetNodes()[i].get());
  const auto caster = std::make_shared<const RayCaster>(std::make_shared<const DrawScene>(*root, visibility));
  Draw(caster, Camera::Projection::kPerspective);
  Draw(caster, Camera::Projection::kParallel);
  return 0;
}
