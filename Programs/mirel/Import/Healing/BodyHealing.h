#pragma once

#include <Message_ProgressRange.hxx>
#include <ShapeProcess_ShapeContext.hxx>
#include <TopoDS_Shape.hxx>
#include <TransferBRep_ShapeBinder.hxx>

#include <cstddef>
#include <exception>
#include <optional>
#include <vector>

namespace mirel {

/// The healing of one body: made now, done at any time and on any thread, as long as nobody else touches the body. So bodies
/// that share nothing can be healed at once. It comes to what OpenCASCADE's `XSAlgo_AlgoContainer` comes to where no
/// resource file says how to heal.
class BodyHealing : public Standard_Transient {
 public:
  /// `resource` names the file that could.
  BodyHealing(const TopoDS_Shape& body, double precision, double maxTolerance, const char* resource);

  /// Whether there is one, and it has the recipe.
  bool HasOtherRecipe(const char* recipe) const;

  /// Adds an entity that has become a part of the body.
  void AddPart(const Handle(TransferBRep_ShapeBinder) & entity);

  /// Heals the body; throws nothing.
  void Run(const Message_ProgressRange& progress);

  /// After `Run`: ties each entity to what its part is in the healed body. Throws what made healing fail.
  void Finish() const;

  /// After `Run`: the healed body.
  const TopoDS_Shape& GetResult() const { return context_->Result(); }

  /// How much there is to do, in faces.
  std::size_t GetWeight() const { return weight_; }

 private:
  struct Part {
    Handle(TransferBRep_ShapeBinder) entity;
    TopoDS_Shape shape;
    std::optional<TopoDS_Shape> replacement;
  };

  void Heal(const Message_ProgressRange& progress);
  // What a part has become, if it is another one; a null shape when it is gone.
  std::optional<TopoDS_Shape> FindReplacement(const TopoDS_Shape& part) const;

  TopoDS_Shape body_;
  double precision_;
  double maxTolerance_;
  std::size_t weight_ = 1;
  Handle(ShapeProcess_ShapeContext) context_;
  std::vector<Part> parts_;
  std::exception_ptr failure_;
};

}  // namespace mirel
