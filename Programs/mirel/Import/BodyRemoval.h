#pragma once

#include <Interface_Graph.hxx>
#include <Standard_Transient.hxx>
#include <StepRepr_Representation.hxx>

#include <set>
#include <string>
#include <vector>

class StepShape_ConnectedFaceSet;
class StepShape_Face;

namespace mirel {

/// Takes bodies, or some of their faces, out of the entities of a STEP file, so that they are not translated; all else stays.
class BodyRemoval {
 public:
  /// The graph of the entities must outlive this. With `takesFaces` a body loses a face, unless it is its last one, and stays.
  explicit BodyRemoval(const Interface_Graph& graph, bool takesFaces = false)
      : graph_(graph), takesFaces_(takesFaces) {}

  /// Takes out what the entity is a part of.
  void TakeOutUsers(const Handle(Standard_Transient) & entity);

  /// The names of the products that the bodies belonged to, one for each body.
  const std::vector<std::string>& GetProducts() const { return products_; }

  /// The faces that were taken out of bodies that stay.
  const std::vector<Handle(Standard_Transient)>& GetFaces() const { return faces_; }

 private:
  // False for the last face, which stays.
  bool TakeOutFace(const Handle(StepShape_Face) & face, const Handle(StepShape_ConnectedFaceSet) & shell);
  void TakeOutItem(const Handle(Standard_Transient) & body,
                   const Handle(StepRepr_Representation) & representation);
  std::string FindProduct(const Handle(StepRepr_Representation) & representation, bool looksFarther) const;

  const Interface_Graph& graph_;
  const bool takesFaces_;
  std::set<const Standard_Transient*> seen_;
  std::vector<std::string> products_;
  std::vector<Handle(Standard_Transient)> faces_;
};

}  // namespace mirel
