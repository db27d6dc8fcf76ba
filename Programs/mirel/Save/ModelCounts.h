#pragma once

#include <cstdint>

namespace mirel {

/// The numbers by which a source and the folder made from it are compared.
struct ModelCounts {
  std::uint64_t products = 0;      ///< parts and assemblies, each once
  std::uint64_t instances = 0;     ///< places of products in assemblies, each once
  std::uint64_t placedShapes = 0;  ///< parts as they are seen: instances unfolded
  std::uint64_t shapes = 0;        ///< distinct bodies
  std::uint64_t faces = 0;         ///< of the distinct bodies
  std::uint64_t coloredItems = 0;  ///< products, instances and single occurrences with a colour of their own
  std::uint64_t coloredFaces =
      0;                    ///< faces of the distinct bodies with a colour other than through their product
  std::uint64_t names = 0;  ///< products and instances with a name
};

}  // namespace mirel
