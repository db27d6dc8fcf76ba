#pragma once

#include <Programs/mirel/Export/Exact/ExactStructure.h>

#include <Message_ProgressRange.hxx>
#include <STEPControl_Writer.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>
#include <StepRepr_RepresentationItem.hxx>
#include <StepShape_ContextDependentShapeRepresentation.hxx>
#include <StepShape_ShapeDefinitionRepresentation.hxx>
#include <StepShape_ShapeRepresentation.hxx>
#include <TopoDS_Shape.hxx>
#include <Transfer_FinderProcess.hxx>

#include <string>
#include <vector>

namespace mirel {

/// The entities that OpenCASCADE makes of products and their places, with their names.
///
/// OpenCASCADE looks places up by where they are, so that two of one product in the same position, be it in different
/// assemblies, have one name and one colour. Here they are taken from the entities, in the order in which they are made.
class StepProducts {
 public:
  using Shapes = std::vector<TopoDS_Shape>;
  using Items = std::vector<Handle(StepRepr_RepresentationItem)>;

  StepProducts(const ExactStructure& structure, const Shapes& shapes);

  /// Translates everything; false when nothing comes of it.
  bool Transfer(const Message_ProgressRange& range);

  const ExactStructure& GetStructure() const { return structure_; }
  const Shapes& GetShapes() const { return shapes_; }
  Handle(XSControl_WorkSession) GetSession() const { return writer_.WS(); }
  Handle(StepData_StepModel) GetModel();

  /// Null when nothing came of the product.
  Handle(StepBasic_ProductDefinition) GetDefinition(std::size_t product) const;
  Handle(StepShape_ShapeRepresentation) GetRepresentation(std::size_t product) const;

  /// Of the place of a component in an assembly; null when nothing came of it.
  const Handle(StepShape_ContextDependentShapeRepresentation) &
      GetPlace(std::size_t product, std::size_t component) const {
    return places_[product][component];
  }

  /// What the body of a part consists of, such as its solids.
  Items GetItems(std::size_t product) const;

  /// What has become of a shape inside a body: usually one item, or none.
  Items FindItems(const TopoDS_Shape& shape) const;

 private:
  void FindDefinitions();
  void FindPlaces();
  void SetNames();

  const ExactStructure& structure_;
  const Shapes& shapes_;
  STEPControl_Writer writer_;
  Handle(Transfer_FinderProcess) finder_;
  std::vector<Handle(StepShape_ShapeDefinitionRepresentation)> definitions_;
  std::vector<std::vector<Handle(StepShape_ContextDependentShapeRepresentation)>> places_;
};

}  // namespace mirel
