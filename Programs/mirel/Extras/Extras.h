#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <glm/vec3.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mirel {

/// What a source says of a model and the items and bodies of a model folder have no place for. It is kept in a file of the
/// folder, as docs/format.md describes it.
struct Extras {
  using Ids = std::vector<ObjectId>;

  struct Material {
    std::string name;
    std::string description;
    std::optional<double> density;
    std::string densityName;  ///< "density measure"
    std::string densityType;  ///< "POSITIVE_RATIO_MEASURE"
  };

  /// As the source states them, to prove that a body has come through whole. In mm, mm² and mm³.
  struct Properties {
    std::optional<double> volume;
    std::optional<double> area;
    std::optional<glm::dvec3> centroid;
  };

  /// What items and parts of bodies have alike.
  struct Common {
    std::vector<std::string> layers;
    std::optional<Material> material;
    Properties properties;
  };

  /// A solid, a face, an edge of an item's body.
  struct Part : Common {
    std::string kind;         ///< one of `kKinds`
    std::uint32_t index = 0;  ///< from 0, in the order of TopExp::MapShapes for the kind
    std::string name;
  };
  static constexpr const char* kKinds[] = {"Compound", "CompSolid", "Solid", "Shell",
                                           "Face",     "Wire",      "Edge",  "Vertex"};

  /// Something that is said of items.
  struct Item : Common {
    Ids ids;
    std::vector<Ids>
        within;  ///< only where the way to an item passes through one of each of these, in this order
    bool hidden = false;
    std::optional<float>
        alpha;  ///< of the colour of the item; faces with colours of their own have their own
    std::optional<glm::vec3> curveColor;        ///< of all edges that have no colour of their own
    std::map<std::uint32_t, float> faceAlphas;  ///< of face colours that are not opaque
    std::map<std::uint32_t, glm::vec3> edgeColors;
    std::set<std::uint32_t> hiddenFaces;
    std::set<std::uint32_t> hiddenEdges;
    std::vector<Part> parts;
  };

  struct Layer {
    std::string name;
    bool hidden = false;
  };

  std::map<std::string, std::vector<std::string>> header;  ///< what the source says of itself
  std::vector<Layer> layers;
  std::vector<Item> items;

  /// Has nothing be said of faces, edges and other parts of these items: their bodies are not there.
  void ForgetParts(const Ids& ids);

  bool IsEmpty() const { return header.empty() && layers.empty() && items.empty(); }
};

}  // namespace mirel
