#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mirel {

class LiteModel;
struct Extras;

/// A model as CAD files have it: products, each once, and the places of products in assemblies. It undoes what the import
/// does for the sake of viewers: types that differ only in the colour that is seen are one product again, whose places have
/// the colours; a group that only gives a name to the one part in it is a place again.
///
/// Colours are sRGB with their opacity, placements move without turning inside out or stretching.
struct ExactStructure {
  using Color = std::optional<glm::vec4>;
  using Id = unsigned long long;  ///< the number of an `ObjectId`

  /// The place of a product in an assembly.
  struct Component {
    std::string name;
    glm::dmat4 placement{1.0};
    Color color;
    std::size_t product = 0;
    std::optional<Id> item;  ///< that stands for it, unless it is that of the product
  };

  struct Product {
    std::string name;
    bool isAssembly = false;
    std::vector<Component> components;  ///< of an assembly
    Id body = 0;                        ///< of a part
    glm::dmat4 shaping{
        1.0};  ///< what a placement does to the body beyond moving it; the identity if it does nothing
    Color color;
    std::map<std::uint32_t, glm::vec4> faceColors;
    std::vector<Id> items;  ///< that stand for it
  };

  std::vector<Product> products;   ///< what an assembly is made of stands before it
  std::vector<std::size_t> roots;  ///< products

  std::uint64_t leftOut = 0;  ///< places that are not finite, or flat
  std::uint64_t broken = 0;   ///< places of types that are not there, inside themselves or nested too deep
  std::uint64_t hiddenColors =
      0;                   ///< colours of places that are not seen in the model and would be seen here
  bool isWrapped = false;  ///< the root is an assembly that the model does not have: its items are placed
};

/// Makes an `ExactStructure` of a model. No state.
class ExactStructureMaker {
 public:
  /// `only` are ids of items to be kept with what is above and below them; empty for everything. `extras` may be null.
  static ExactStructure Make(const LiteModel& model, const Extras* extras,
                             const std::set<ExactStructure::Id>& only);

  /// How many products there are when all assemblies are unfolded; the largest number when there are more.
  static std::uint64_t CountPlaced(const ExactStructure& structure);
};

}  // namespace mirel
