#include <Programs/mirel/Export/Exact/ExactShapes.h>

#include <Programs/mirel/StageProgress.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>

#include <BRepBuilderAPI_Copy.hxx>
#include <BRepBuilderAPI_GTransform.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRep_Builder.hxx>
#include <Standard_Failure.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_GTrsf.hxx>
#include <gp_Trsf.hxx>

#include <limits>
#include <set>

namespace mirel {

namespace {

TopoDS_Compound MakeCompound() {
  TopoDS_Compound compound;
  BRep_Builder().MakeCompound(compound);
  return compound;
}

// The body as a placement without translation makes it; null when that fails.
TopoDS_Shape Reshape(const TopoDS_Shape& body, const glm::dmat4& shaping) {
  const double scale = shaping[0][0];
  if (shaping == glm::dmat4(glm::dmat3(scale))) {
    gp_Trsf similarity;
    similarity.SetScale(gp_Pnt(), scale);
    return BRepBuilderAPI_Transform(body, similarity, true).Shape();
  }
  gp_GTrsf affinity;
  for (int column = 0; column < 3; ++column) {
    for (int row = 0; row < 3; ++row) {
      affinity.SetValue(row + 1, column + 1, shaping[column][row]);
    }
  }
  return BRepBuilderAPI_GTransform(body, affinity, true).Shape();
}

TopLoc_Location ToLocation(const glm::dmat4& placement) {
  if (placement == glm::dmat4(1.0)) {
    return TopLoc_Location();
  }
  const glm::dmat4& m = placement;
  gp_Trsf move;
  move.SetValues(m[0][0], m[1][0], m[2][0], m[3][0], m[0][1], m[1][1], m[2][1], m[3][1], m[0][2], m[1][2],
                 m[2][2], m[3][2]);
  return TopLoc_Location(move);
}

}  // namespace

ExactShapes::ExactShapes(const ExactStructure& structure, const LiteModel& model, StageProgress& progress)
    : structure_(structure) {
  progress.Begin("decoding");
  std::vector<std::shared_ptr<TopoShape>> bodies;
  for (const ExactStructure::Product& product : structure.products) {
    ObjectId id;
    id.SetInteger(product.body);
    bodies.push_back(product.isAssembly ? nullptr : model.FindShape(id));
  }
  ShareOut(bodies.size(), std::numeric_limits<std::size_t>::max(), [&](std::size_t i) {
    if (bodies[i]) {
      bodies[i]->GetImpl();
    }
  });
  std::set<ExactStructure::Id> used;
  for (std::size_t i = 0; i < structure.products.size(); ++i) {
    const ExactStructure::Product& product = structure.products[i];
    if (product.isAssembly) {
      AddAssembly(product);
    } else {
      AddPart(product, bodies[i] ? bodies[i]->GetImpl() : TopoDS_Shape(), !used.insert(product.body).second);
    }
  }
}

void ExactShapes::AddPart(const ExactStructure::Product& product, TopoDS_Shape body, bool isUsed) {
  if (!body.IsNull() && product.shaping != glm::dmat4(1.0)) {
    try {
      body = Reshape(body, product.shaping);
    } catch (const Standard_Failure&) {
      body.Nullify();
    }
  } else if (!body.IsNull() && isUsed) {
    // The curves and surfaces may be the same, but what has a name in a file of its own must not be.
    body = BRepBuilderAPI_Copy(body, false, true).Shape();
  }
  if (body.IsNull()) {
    missing_.push_back("\"" + Utf8::Printable(product.name) + "\", body " + std::to_string(product.body));
    body = MakeCompound();
  }
  shapes_.push_back(body);
}

void ExactShapes::AddAssembly(const ExactStructure::Product& product) {
  TopoDS_Compound compound = MakeCompound();
  for (const ExactStructure::Component& component : product.components) {
    BRep_Builder().Add(compound, shapes_[component.product].Moved(ToLocation(component.placement)));
  }
  shapes_.push_back(compound);
}

TopoDS_Shape ExactShapes::GetWhole() const {
  if (structure_.roots.size() == 1) {
    return shapes_[structure_.roots.front()];
  }
  TopoDS_Compound whole = MakeCompound();
  for (const std::size_t root : structure_.roots) {
    BRep_Builder().Add(whole, shapes_[root]);
  }
  return whole;
}

}  // namespace mirel
