#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <glm/vec4.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// What an import made of each product and each component of its source, so that a saved folder can be
/// checked against it. An entry that became several items (in several colours) names them all.
struct ImportRecord {
  struct Entry {
    std::vector<ObjectId> ids;       ///< of the items that stand for it
    std::string name;                ///< in the source; empty when it has none
    std::optional<glm::vec4> color;  ///< with its opacity
    std::map<std::uint32_t, float>
        faceAlphas;  ///< of a product: opacities of face colours that are not opaque
  };

  std::vector<Entry> products;     ///< in the order in which they were met
  std::vector<Entry> components;   ///< the places of products in assemblies
  std::vector<Entry> occurrences;  ///< single occurrences of components that assemblies around them colour

  std::vector<std::pair<ObjectId, float>> alphas;  ///< items in colours that are not opaque

  std::size_t colorVariants = 0;  ///< types that exist only because their product is shown in a second colour
  std::size_t brokenComponents = 0;  ///< components without a product, or inside themselves
};

}  // namespace mirel
