#pragma once

#include <Programs/mirel/Export/Step/StepProducts.h>
#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Save/LossReport.h>

#include <STEPConstruct_ValidationProps.hxx>
#include <TopTools_IndexedMapOfShape.hxx>

#include <map>
#include <string>
#include <vector>

namespace mirel {

class ExtrasIndex;

/// Writes what is said of products and of parts of their bodies beside their looks: names, layers, materials, validation
/// properties.
class StepProperties {
 public:
  StepProperties(StepProducts& products, const ExtrasIndex& extras) : products_(products), extras_(extras) {}

  /// Adds everything to the model; `layers` are those that the extras list. Call once.
  void Add(const std::vector<Extras::Layer>& layers);

  /// What could not be added.
  const std::vector<LossReport::Loss>& GetLosses() const { return losses_; }

 private:
  using Items = StepProducts::Items;

  void AddProduct(std::size_t product, const Extras::Item& said);
  void AddParts(std::size_t product, const Extras::Item& said);
  void AddLayers(const std::vector<Extras::Layer>& layers);
  void AddMaterial(std::size_t product, const Extras::Material& material);
  void AddValidation(STEPConstruct_ValidationProps& tool, const TopoDS_Shape& shape,
                     const Extras::Properties& properties);
  void AddProperty(std::size_t product, const char* name, const Handle(StepRepr_RepresentationItem) & value);

  StepProducts& products_;
  const ExtrasIndex& extras_;
  std::map<std::string, Items> layers_;
  std::uint64_t lostLayers_ = 0, lostMaterials_ = 0, lostProperties_ = 0, lostNames_ = 0;
  std::vector<LossReport::Loss> losses_;
};

}  // namespace mirel
