// A model that comes in pieces: any pieces in any order, then the end, with a viewer that shows what has come. An input
// is a sequence of pieces, each a byte for its kind (below), its size as four bytes, lowest first, and its bytes.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/IndexText.h>
#include <Fuzz/Support/ModelText.h>
#include <Fuzz/Support/PackageBytes.h>
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

#include <algorithm>
#include <vector>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

/// Models that unfold into more are not drawn, for want of time.
constexpr std::size_t kMaxUnfolded = 10000;
constexpr std::size_t kMaxDepth = 5000;

constexpr std::size_t kHeadSize = 5;

enum Kind { kScene, kShape, kGRep, kOther, kKinds };
constexpr const char* kKindNames[kKinds] = {"Scene", "Shape", "GRep", "Other"};

struct Piece {
  Kind kind;
  std::string bytes;
};

std::vector<Piece> ParsePieces(const std::string& input) {
  std::vector<Piece> pieces;
  for (std::size_t at = 0; at + kHeadSize <= input.size();) {
    std::size_t size = 0;
    for (std::size_t i = 4; i >= 1; --i)
      size = size << 8 | static_cast<unsigned char>(input[at + i]);
    const auto kind = static_cast<Kind>(static_cast<unsigned char>(input[at]) % kKinds);
    pieces.push_back({kind, input.substr(at + kHeadSize, size)});
    at += kHeadSize + pieces.back().bytes.size();
  }
  return pieces;
}

std::string FormatPieces(const std::vector<Piece>& pieces) {
  std::string input;
  for (const Piece& piece : pieces) {
    input += static_cast<char>(piece.kind);
    for (int i = 0; i < 4; ++i)
      input += static_cast<char>(piece.bytes.size() >> (8 * i));
    input += piece.bytes;
  }
  return input;
}

std::string MutatePiece(const Piece& piece, Random& random, std::size_t maxSize) {
  switch (piece.kind) {
  case kScene:
    return MutateIndex(piece.bytes, random, maxSize);
  case kShape:
    return MutatePackage(piece.bytes, random, maxSize, MutateBodyText);
  case kGRep:
    return MutatePackage(piece.bytes, random, maxSize, MutateGRepRecord);
  default:
    return MutateBytes(piece.bytes, maxSize);
  }
}

/// Hands a piece to the loader, and to a model of our own.
void Load(LiteModelLoader& loader, LiteModel& model, const Piece& piece) {
  const std::string name = kKindNames[piece.kind];
  const auto size = static_cast<unsigned int>(piece.bytes.size());
  bool loaded = false;
  bool expected = false;
  {
    const QuietLog log;
    loaded = piece.kind == kScene ? loader.LoadString(name, piece.bytes)
                                  : loader.LoadData(name, piece.bytes.data(), size);
  }
  const QuietLog log;
  if (piece.kind == kScene) expected = LiteModelReader(model).Load(piece.bytes);
  if (piece.kind == kShape) expected = PkgShapeReader(model).Load(piece.bytes.data(), size);
  if (piece.kind == kGRep) expected = PkgGRepReader(model).Load(piece.bytes.data(), size);
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
  Random random(seed);
  std::vector<Piece> pieces = ParsePieces(std::string(reinterpret_cast<const char*>(data), size));
  const std::size_t kind = Pick(random, 10);
  if (pieces.empty() || kind == 0) return LLVMFuzzerMutate(data, size, maxSize);
  Piece& piece = pieces[Pick(random, pieces.size())];
  switch (kind) {
  case 1:
    std::swap(piece, pieces[Pick(random, pieces.size())]);
    break;
  case 2:
    pieces.insert(pieces.end(), Piece(piece));
    break;
  case 3:
    pieces.erase(pieces.begin() + (&piece - pieces.data()));
    break;
  default:
    piece.bytes = MutatePiece(piece, random, maxSize - std::min(maxSize, size) + piece.bytes.size());
    break;
  }
  return ReturnInput(FormatPieces(pieces), data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  BaseApplication application;
  const auto viewer = std::make_shared<Viewer>();
  application.SetActiveViewer(viewer);

  LiteModel model;
  LiteModelLoader loader;
  loader.Begin();
  for (const Piece& piece : ParsePieces(std::string(reinterpret_cast<const char*>(data), size)))
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
