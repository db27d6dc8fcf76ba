#pragma once

#include <Programs/mirel/Export/Step/StepProducts.h>
#include <Programs/mirel/Save/LossReport.h>

#include <STEPConstruct_Styles.hxx>
#include <StepVisual_PresentationStyleAssignment.hxx>
#include <StepVisual_StyledItem.hxx>
#include <TopTools_IndexedMapOfShape.hxx>

#include <array>
#include <map>
#include <optional>
#include <vector>

namespace mirel {

class ExtrasIndex;

/// Gives products, their faces and edges, and places their colours, and hides what is hidden.
class StepStyles {
 public:
  StepStyles(StepProducts& products, const ExtrasIndex& extras);

  /// Adds everything to the model; call once.
  void Add();

  /// What could not be added.
  const std::vector<LossReport::Loss>& GetLosses() const { return losses_; }

 private:
  using Style = Handle(StepVisual_PresentationStyleAssignment);
  using StyledItem = Handle(StepVisual_StyledItem);
  using Color = ExactStructure::Color;

  // What one product, or one place, looks like beside its colour.
  struct Look {
    bool isHidden = false;
    std::optional<glm::vec3> curveColor;
    std::map<std::uint32_t, glm::vec3> edgeColors;
    std::map<std::uint32_t, bool> hiddenFaces, hiddenEdges;
  };

  void CollectLooks(const ExtrasIndex& extras);
  void StyleProduct(std::size_t product);
  void StylePlaces(std::size_t product);
  void StyleParts(std::size_t product, TopAbs_ShapeEnum kind,
                  const std::map<std::uint32_t, std::pair<Color, Color>>& colors,
                  const std::map<std::uint32_t, bool>& hidden);
  void AddPresentation(std::size_t product);
  void Hide(const std::vector<StyledItem>& items);

  // Has the colour of surfaces and that of curves, if they are given; otherwise it says nothing.
  Style FindStyle(const Color& surface, const Color& curve, bool isForPlace);
  // Whether a part can have a colour of its own that those of its places override: readers take that of a body of several
  // solids for theirs.
  bool CanBeColored(std::size_t product) const;
  std::vector<std::size_t> ListParts(std::size_t product) const;

  StepProducts& products_;
  const ExactStructure& structure_;
  std::map<std::size_t, Look> productLooks_;
  std::map<std::pair<std::size_t, std::size_t>, Look> placeLooks_;
  STEPConstruct_Styles tool_;
  std::map<std::array<float, 8>, Style> styles_;
  std::vector<std::vector<StyledItem>> styledItems_;  // of each product, the first being that of all of it
  std::vector<StyledItem> hidden_;
  std::vector<LossReport::Loss> losses_;
};

}  // namespace mirel
