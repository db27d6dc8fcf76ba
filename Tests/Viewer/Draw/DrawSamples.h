#pragma once

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/NodeVisibility.h>
#include <Viewer/Draw/Picture.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <glm/mat4x4.hpp>

#include <memory>

class TopoDS_Shape;

namespace mirel {

/// Scenes of boxes for the tests of what draws.

/// A body that is a box from (0, 0, 0), always the same one for the same size.
std::shared_ptr<GRepShape> BoxGRep(double x, double y, double z);

/// Any body.
std::shared_ptr<GRepShape> MeshOf(const TopoDS_Shape& shape);

/// A cube of 30 mm, (-15, 0, -30) to (15, 30, 0), whose upper front edge has a round of 0.4 mm.
std::shared_ptr<GRepShape> RoundedBoxGRep();

std::shared_ptr<BrepSceneNode> BodyNode(const std::shared_ptr<GRepShape>& grep, const glm::dmat4& placement);

std::shared_ptr<const RayCaster> MakeCaster(const SceneNode& root,
                                            const NodeVisibility& visibility = NodeVisibility());

/// A plate with a hole, a ring that lies on it, and a pin beside it, each in a colour of its own.
struct Parts {
  std::shared_ptr<GRepShape> plate, ring, pin;

  Parts();
  std::shared_ptr<GroupSceneNode> MakeRoot() const;
};

glm::dmat4 Mirror();
glm::dmat4 Shear();

/// The mean over all pixels of how far the most different component of a pixel is off, 0 to 255.
double CompareMean(const Picture& a, const Picture& b);
/// The part of the pixels, 0 to 1, of which a component is off by more than `tolerance`.
double ComparePixels(const Picture& a, const Picture& b, int tolerance);

}  // namespace mirel
