#pragma once

#include <Programs/mirel/Import/IdSequence.h>
#include <Programs/mirel/Import/ImportRecord.h>

#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <TDF_LabelIntegerMap.hxx>
#include <TDocStd_Document.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace mirel {

class InstanceItem;

/// Turns the assembly in an XCAF document into a model.
///
/// - A root of the document becomes a top-level item: a group for an assembly, a shape for a single part.
/// - Any other product becomes a type: a shape, or a group of instances, one for each component, with the
///   component's name, placement and colour.
/// - A body is stored once, unplaced, however many products and components show it.
/// - The colour of a shape item is the one that is seen: the component's before the product's before that of the
///   assembly around it. A product that is seen in several colours becomes several types that share one body.
/// - An assembly may give a colour to a single occurrence of a component anywhere inside it (XCAF and STEP: specified
///   higher usage occurrence), which counts before the component's own, and that of an outer assembly before that of
///   an inner one. The assemblies on the way to it become types of their own. Occurrences beyond a million such items
///   are left in their other colour, which the record shows.
/// - The colour of a face is that of the face itself, or else of the innermost coloured part of the body around it.
/// - Of a type that is used once, the module writes the type in place of the instance, with the instance's name.
///   Where that would lose a name or a colour, the type is put into a group of its own which stands for the
///   instance: it has the instance's id, name and placement, and the product below it keeps its own.
///
/// Ids follow from the seed and the document. Tags are not set: count the uses afterwards (`TypeUseCounter`).
class AssemblyImporter {
 public:
  /// The model must be empty, and is not owned.
  AssemblyImporter(const Handle(TDocStd_Document) & document, std::uint64_t seed, LiteModel& model);
  ~AssemblyImporter();

  AssemblyImporter(const AssemblyImporter&) = delete;
  AssemblyImporter& operator=(const AssemblyImporter&) = delete;

  /// Fills the model; call once.
  void Import();

  const ImportRecord& GetRecord() const { return record_; }

  /// What became of a product or a component; null when the label is neither, or was not imported.
  const ImportRecord::Entry* FindProduct(const TDF_Label& label) const;
  const ImportRecord::Entry* FindComponent(const TDF_Label& label) const;

 private:
  using Color = std::optional<glm::vec4>;  // with its opacity
  using Rgba = std::array<float, 4>;       // a colour that has an order

  // The way from a product to a component inside it: positions in the components of product after product.
  using Way = std::vector<std::size_t>;
  // Colours of single occurrences inside a product.
  using OccurrenceColors = std::map<Way, Rgba>;

  struct Component {
    // A colour that the assembly of this component gives to an occurrence inside it.
    struct Occurrence {
      Way way;  // from the product of this component
      Rgba color;
      std::size_t recorded;  // in the record
    };

    std::string name;
    glm::dmat4 transform{1.0};
    Color color;
    std::size_t product = 0;
    std::vector<Occurrence> occurrences;
  };

  struct Product {
    std::string name;
    Color color;
    bool isAssembly = false;
    bool showsParentColor = false;  // something in it has no colour and takes that of what is around it
    std::vector<Component> components;
    std::size_t firstComponent = 0;  // of `components` in the record
    TopoDS_Shape shape;              // of a part
    std::unordered_map<std::uint32_t, glm::vec3> faceColors;
    std::map<std::uint32_t, float> faceAlphas;
  };

  struct Type {
    std::unique_ptr<LiteModelItem> item;
    struct Use {
      InstanceItem* instance;
      std::size_t component;  // in the record
    };
    std::vector<Use> uses;
  };

  // Product, its colour if it has one, and those of occurrences inside it.
  using TypeKey = std::tuple<std::size_t, std::optional<Rgba>, OccurrenceColors>;

  std::optional<std::size_t> ReadProduct(const TDF_Label& label);
  // Nothing for a component without a product, or inside itself; it is counted as broken.
  std::optional<Component> ReadComponent(const TDF_Label& place);
  void ReadOccurrences(const TDF_Label& place, Component& component);
  void ReadComponents(const TDF_Label& label, Product& product);
  void ReadFaceColors(const TDF_Label& label, Product& product);

  void AddRoot(const TDF_Label& label);
  // `inside` are the colours that assemblies around the product give to occurrences inside it.
  std::unique_ptr<LiteModelItem> BuildItem(std::size_t product, const Color& shown,
                                           const OccurrenceColors& inside);
  std::unique_ptr<InstanceItem> BuildInstance(const Component& component, std::size_t recorded,
                                              const Color& own, const Color& around, OccurrenceColors inside);
  std::size_t BuildType(std::size_t product, const Color& shown, const OccurrenceColors& inside);
  const InstanceItem* FindOccurrence(std::size_t type, const Way& way) const;
  ObjectId StoreBody(const TopoDS_Shape& shape);
  void AddTypes();
  static Rgba ToRgba(const glm::vec4& color) { return {color.r, color.g, color.b, color.a}; }
  void RecordAlpha(const ObjectId& id, const Color& color);
  // Says which item of the folder stands for a use of a type.
  void Record(const Type::Use& use, const ObjectId& id);

  Handle(XCAFDoc_ShapeTool) shapes_;
  Handle(XCAFDoc_ColorTool) colors_;
  IdSequence ids_;
  LiteModel& model_;
  ImportRecord record_;
  std::vector<Product> products_;
  TDF_LabelIntegerMap places_;  // label -> position in products_; kBeingRead while its components are read
  TDF_LabelIntegerMap rootPlaces_;       // of placements at the top -> place in the components of the record
  TDF_LabelIntegerMap componentPlaces_;  // label -> position in the components of its product
  std::vector<Type> types_;
  std::map<TypeKey, std::size_t> typeOf_;
  std::unordered_map<ObjectId, std::size_t, SecretIdHash> typeOfId_;
  std::unordered_multimap<const InstanceItem*, std::size_t> occurrencesOf_;  // in the record
  std::size_t occurrenceItems_ = 0;  // made only for occurrences in colours of their own
  std::map<std::pair<const void*, int>, ObjectId> bodies_;  // by TShape and orientation
};

}  // namespace mirel
