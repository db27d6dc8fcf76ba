#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <memory>
#include <string>

namespace mirel {

class LiteModel;
class LiteModelVisitor;

/// A node of the product structure. The concrete kinds are `ShapeItem`, `GroupItem` and `InstanceItem`.
///
/// Items live on the heap, each held by exactly one owner: the model (top-level items and types) or a group (its
/// children). Destroying an item destroys its subtree.
///
/// Thread safety: none; one thread uses an item at a time. Writing can change the model's type items.
class MIREL_VIEWER_KERNEL_API LiteModelItem {
 public:
  using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

  /// A fresh id, no name, the identity transform, no colour, tag 0. The concrete kinds set the type.
  LiteModelItem();
  virtual ~LiteModelItem();

  LiteModelItem(const LiteModelItem&) = delete;
  LiteModelItem& operator=(const LiteModelItem&) = delete;

  /// The kind name: "Shape", "Group" or "Instance". Setting it changes what is written, not the item's class.
  const std::string& GetType() const { return type_; }
  void SetType(const std::string& type) { type_ = type; }

  /// Identity of the item; for a type item, the key under which the model holds it.
  const ObjectId& GetId() const { return id_; }
  void SetId(const ObjectId& id) { id_ = id; }

  /// Free text, UTF-8. What follows a NUL character is not written.
  const std::string& GetName() const { return name_; }
  void SetName(const std::string& name) { name_ = name; }

  /// Placement relative to the parent (of a top-level item: to the model), lengths in mm. Column-major: element [i][j]
  /// is column i, row j, and the translation is column 3.
  const glm::dmat4& GetTransform() const { return transform_; }
  void SetTransform(const glm::dmat4& transform) { transform_ = transform; }

  /// Colour of the whole item: red, green, blue, each 0 to 1. A negative red component, as in the default (-1, -1, -1),
  /// says that the item has no colour of its own.
  const glm::vec3& GetColor() const { return color_; }
  void SetColor(const glm::vec3& color) { color_ = color; }

  /// A number for the item's users, never stored in files. On a type item: by how many instances the type is used, set
  /// by the program that builds the model before it saves it. The visual visitor stores the node's uuid here.
  const std::uint32_t& GetTag() const { return tag_; }
  void SetTag(const std::uint32_t& tag) { tag_ = tag; }

  /// A new item of the kind with this name, exactly "Shape", "Group" or "Instance". For any other name: an empty
  /// pointer, and "Invalid type <name>" at level 1.
  static std::unique_ptr<LiteModelItem> CreateItem(const std::string& type);

  /// A new item, with its children, read from a JSON object. An empty pointer when the value is no object or has no
  /// string "Type" (both logged at level 3), names an unknown kind (logged at level 1), or is a group without an array
  /// "Children" or nested deeper than `kMaxNesting` levels (logged at level 3).
  static std::unique_ptr<LiteModelItem> CreateItem(rapidjson::Value& value);

  /// Calls the visitor's `Visit` of the item's kind with the item, and nothing else.
  virtual void Apply(LiteModelVisitor* v) = 0;

  /// Writes the item's members into a JSON object that the caller has opened and closes afterwards. This base writes
  /// what all kinds have in common: "Type", "Id", "Name", "Color" when the item has a colour, "Transform" when it is not
  /// the identity. JSON has no form for NaN and infinities: a colour or transform that holds one is left out, with a
  /// message at level 3 that names the item, so that what is written can always be read.
  virtual void Write(JsonWriter& writer, const LiteModel& model) const;

  /// Takes over the members that a JSON object holds; what is absent keeps its value. A member of the wrong JSON type
  /// counts as absent, and so does a number that is not one of a list: a "Color" sets the components (at most three)
  /// that are numbers a float can hold, a "Transform" needs sixteen numbers and is ignored without them.
  /// Returns true; only a group without "Children" returns false.
  virtual bool Read(rapidjson::Value& value);

 private:
  std::string type_;
  ObjectId id_;
  std::string name_;
  glm::dmat4 transform_{1.0};
  glm::vec3 color_{-1.0F};
  std::uint32_t tag_ = 0;
};

}  // namespace mirel
