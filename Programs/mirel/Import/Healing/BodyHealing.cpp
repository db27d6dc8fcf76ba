#include <Programs/mirel/Import/Healing/BodyHealing.h>

#include <Programs/mirel/Import/Healing/SparingReShape.h>

#include <BRepTools_ReShape.hxx>
#include <Resource_Manager.hxx>
#include <ShapeAlgo.hxx>
#include <ShapeAlgo_AlgoContainer.hxx>
#include <ShapeAlgo_ToolContainer.hxx>
#include <ShapeFix_Face.hxx>
#include <ShapeFix_Shape.hxx>
#include <ShapeFix_Solid.hxx>
#include <ShapeFix_Wire.hxx>
#include <Standard_Failure.hxx>
#include <TCollection_AsciiString.hxx>
#include <TopExp_Explorer.hxx>

namespace mirel {

BodyHealing::BodyHealing(const TopoDS_Shape& body, double precision, double maxTolerance,
                         const char* resource)
    : body_(body),
      precision_(precision),
      maxTolerance_(maxTolerance),
      context_(new ShapeProcess_ShapeContext(body, resource)) {
  context_->SetDetalisation(TopAbs_EDGE);
  for (TopExp_Explorer face(body, TopAbs_FACE); face.More(); face.Next()) {
    ++weight_;
  }
}

bool BodyHealing::HasOtherRecipe(const char* recipe) const {
  return context_->ResourceManager()->Find((TCollection_AsciiString(recipe) + ".exec.op").ToCString());
}

void BodyHealing::AddPart(const Handle(TransferBRep_ShapeBinder) & entity) {
  parts_.push_back({entity, entity->Result(), std::nullopt});
}

void BodyHealing::Run(const Message_ProgressRange& progress) {
  try {
    Heal(progress);
    for (Part& part : parts_) {
      part.replacement = FindReplacement(part.shape);
    }
  } catch (...) {
    failure_ = std::current_exception();
  }
}

void BodyHealing::Heal(const Message_ProgressRange& progress) {
  try {
    const Handle(ShapeFix_Shape) fix = ShapeAlgo::AlgoContainer()->ToolContainer()->FixShape();
    const Handle(SparingReShape) replaced = new SparingReShape;
    replaced->ModeConsiderLocation() = Standard_True;
    fix->SetContext(replaced);
    fix->Init(body_);
    fix->SetPrecision(precision_);
    fix->SetMaxTolerance(maxTolerance_);
    fix->FixFaceTool()->FixWireTool()->FixSameParameterMode() = Standard_False;
    fix->FixSolidTool()->CreateOpenSolidMode() = Standard_False;
    fix->Perform(progress);
    const TopoDS_Shape healed = fix->Shape();
    if (!healed.IsNull() && healed != body_) {
      context_->RecordModification(fix->Context());
      context_->SetResult(healed);
    }
  } catch (const Standard_Failure&) {  // the body stays what it was until then
  }
}

std::optional<TopoDS_Shape> BodyHealing::FindReplacement(const TopoDS_Shape& part) const {
  const TopTools_DataMapOfShapeShape& replaced = context_->Map();
  const TopoDS_Shape* found = replaced.Seek(part);
  if (found != nullptr) {
    return *found;
  }
  if (!part.Location().IsIdentity()) {
    found = replaced.Seek(part.Located(TopLoc_Location()));
    return found != nullptr ? std::optional<TopoDS_Shape>(*found) : std::nullopt;
  }
  // The part itself is as it was, but some of its edges may not be.
  BRepTools_ReShape edges;
  bool isConcerned = false;
  for (TopExp_Explorer edge(part, TopAbs_EDGE); edge.More(); edge.Next()) {
    found = replaced.Seek(edge.Current());
    if (found != nullptr) {
      edges.Replace(edge.Current(), *found);
      isConcerned = true;
    }
  }
  return isConcerned ? std::optional<TopoDS_Shape>(edges.Apply(part)) : std::nullopt;
}

void BodyHealing::Finish() const {
  if (failure_) {
    std::rethrow_exception(failure_);
  }
  for (const Part& part : parts_) {
    if (part.replacement) {
      part.entity->SetResult(*part.replacement);
    }
  }
}

}  // namespace mirel
