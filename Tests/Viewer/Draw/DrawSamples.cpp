#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Tests/Support/TestModel.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBndLib.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <Bnd_Box.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>

namespace mirel {

namespace {

int Difference(const Picture& a, const Picture& b, std::size_t pixel) {
  int largest = 0;
  for (std::size_t i = 4 * pixel; i < 4 * pixel + 4; ++i)
    largest = std::max(largest, std::abs(int{a.pixels[i]} - int{b.pixels[i]}));
  return largest;
}

}  // namespace

std::shared_ptr<GRepShape> BoxGRep(double x, double y, double z) {
  static std::map<std::array<double, 3>, std::shared_ptr<GRepShape>> known;
  std::shared_ptr<GRepShape>& grep = known[{x, y, z}];
  if (!grep) grep = MakeGRep(MakeBox(x, y, z));
  return grep;
}

std::shared_ptr<GRepShape> MeshOf(const TopoDS_Shape& shape) {
  return MakeGRep(std::make_shared<TopoShape>(shape));
}

std::shared_ptr<BrepSceneNode> BodyNode(const std::shared_ptr<GRepShape>& grep, const glm::dmat4& placement) {
  auto node = std::make_shared<BrepSceneNode>(grep);
  node->SetTransform(placement);
  return node;
}

std::shared_ptr<const RayCaster> MakeCaster(const SceneNode& root, const NodeVisibility& visibility) {
  return std::make_shared<RayCaster>(std::make_shared<DrawScene>(root, visibility));
}

std::shared_ptr<GRepShape> RoundedBoxGRep() {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(gp_Pnt(-15, 0, -30), 30, 30, 30).Shape();
  BRepFilletAPI_MakeFillet rounding(box);
  for (TopExp_Explorer edge(box, TopAbs_EDGE); edge.More(); edge.Next()) {
    Bnd_Box bounds;
    BRepBndLib::Add(edge.Current(), bounds);
    if (bounds.CornerMin().Z() > -1 && bounds.CornerMax().Y() < 1 && rounding.NbContours() == 0)
      rounding.Add(0.4, TopoDS::Edge(edge.Current()));
  }
  return MeshOf(rounding.Shape());
}

Parts::Parts()
    : plate(MeshOf(
          BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(60, 40, 8).Shape(), BRepPrimAPI_MakeCylinder(10, 20).Shape()))),
      ring(MeshOf(BRepPrimAPI_MakeTorus(12, 4).Shape())),
      pin(MeshOf(BRepPrimAPI_MakeCylinder(6, 25).Shape())) {}

std::shared_ptr<GroupSceneNode> Parts::MakeRoot() const {
  const auto root = std::make_shared<GroupSceneNode>();
  const auto add = [&](const std::shared_ptr<GRepShape>& grep, const glm::dmat4& placement,
                       const glm::vec3& color) {
    const auto node = BodyNode(grep, placement);
    node->SetColor(color);
    root->AddNode(node);
  };
  add(plate, glm::dmat4(1.0), {0.8f, 0.7f, 0.2f});
  add(ring, Move(40, 20, 12), {0.2f, 0.4f, 0.8f});
  add(pin, Move(70, 10, 0), {0.7f, 0.2f, 0.2f});
  return root;
}

glm::dmat4 Mirror() {
  glm::dmat4 matrix(1.0);
  matrix[0][0] = -1.0;
  return matrix;
}

glm::dmat4 Shear() {
  glm::dmat4 matrix(1.0);
  matrix[2][0] = 0.5;
  return matrix;
}

double CompareMean(const Picture& a, const Picture& b) {
  if (a.width != b.width || a.height != b.height) return 255.0;
  double sum = 0.0;
  const std::size_t count = a.pixels.size() / 4;
  for (std::size_t i = 0; i < count; ++i)
    sum += Difference(a, b, i);
  return sum / static_cast<double>(count);
}

double ComparePixels(const Picture& a, const Picture& b, int tolerance) {
  if (a.width != b.width || a.height != b.height) return 1.0;
  std::size_t off = 0;
  const std::size_t count = a.pixels.size() / 4;
  for (std::size_t i = 0; i < count; ++i)
    off += Difference(a, b, i) > tolerance ? 1 : 0;
  return static_cast<double>(off) / static_cast<double>(count);
}

}  // namespace mirel
