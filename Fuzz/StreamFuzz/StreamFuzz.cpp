// A model that comes in pieces: any pieces in any order, then the end, with a viewer that shows what has come. An input
// is a sequence of pieces.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/ModelPieces.h>
#include <Fuzz/Support/ModelText.h>
#include <Viewer/Kernel/App/LiteBBoxVisitor.h>
#include <Viewer/Kernel/App/LiteModelLoader.h>
#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/Application/BaseApplication.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Viewer.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <string>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

/// Models that unfold into more are not drawn, for want of time.
constexpr std::size_t kMaxUnfolded = 10000;
constexpr std::size_t kMaxDepth = 5000;

constexpr const char* kKindNames[Piece::kKinds] = {"Scene", "Shape", "GRep", "Other"};

/// Hands a piece to the loader, and to a model of our own.
void Load(LiteModelLoader& loader, LiteModel& model, const Piece& piece) {
  const std::string name = kKindNames[piece.kind];
  const auto size = static_cast<unsigned int>(piece.bytes.size());
  bool loaded = false;
  bool expected = false;
  {
    const QuietLog log;
    loaded = piece.kind == Piece::kScene ? loader.LoadString(name, piece.bytes)
                                         : loader.LoadData(name, piece.bytes.data(), size);
  }
  const QuietLog log;
  if (piece.kind == Piece::kScene) expected = LiteModelReader(model).Load(piece.bytes);
  if (piece.kind == Piece::kShape) expected = PkgShapeReader(model).Load(piece.bytes.data(), size);
  if (piece.kind == Piece::kGRep) expected = PkgGRepReader(model).Load(piece.bytes.data(), size);
  MIREL_FUZZ_CHECK(loaded == expected, "The loader says something else than the reader");
}

bool IsProper(const AABoxT<double>& box) {
  if (!box.IsFinite()) return true;
  for (int axis = 0; axis < 3; ++axis) {
    if (!(box.GetMin()[axis] <= box.GetMax()[axis])) return false;
  }
  return true;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  return MutatePieces(data, size, maxSize, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  BaseApplication application;
  const auto viewer = std::make_shared<Viewer>();
  application.SetActiveViewer(viewer);

  LiteModel model;
  LiteModelLoader loader;
  loader.Begin();
  for (const Piece& piece : ParsePieces(data, size))
    Load(loader, model, piece);
  if (!CollectLeaves(model, kMaxUnfolded, kMaxDepth)) return 0;

  const QuietLog log;
  MIREL_FUZZ_CHECK(loader.End() && loader.End(), "The model is not shown");
  const auto& shown = viewer->GetContext()->GetScene()->GetNodes();
  MIREL_FUZZ_CHECK(shown.size() == 2, "Two ends do not give two nodes");
  const auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visualVisitor(model, nullptr, root);
  model.Apply(&visualVisitor);
  const std::string expected = DescribeNodes(*root);
  for (const auto& node : shown)
    MIREL_FUZZ_CHECK(DescribeNodes(*node) == expected, "The loader shows something else than the visitor");

  LiteBBoxVisitor boxVisitor(model);
  model.Apply(&boxVisitor);
  MIREL_FUZZ_CHECK(IsProper(boxVisitor.GetBox()), "The box is inverted or not of numbers");
  return 0;
}
