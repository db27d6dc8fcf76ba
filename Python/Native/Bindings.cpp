// The module mirel._native: models as they are opened. All of it is in one source, as each that includes pybind11 takes long.
#include <Python/Native/Arrays.h>
#include <Python/Native/ExactBody.h>
#include <Python/Native/MessageQueue.h>
#include <Python/Native/Opening.h>

#include <Programs/mirel/View/ModuleLibrary.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <dlfcn.h>

#include <array>
#include <charconv>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace py = pybind11;
namespace fs = std::filesystem;

namespace mirel::python {

namespace {

// A text from a file, which need not be UTF-8.
py::str ToText(const std::string& text) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "backslashreplace"));
}

[[noreturn]] void Raise(const std::string& file, const std::string& item, const std::string& reason) {
  const py::object type = py::module_::import("mirel.errors").attr("Error");
  const py::object error =
      type(ToText(reason), py::arg("file") = ToText(file), py::arg("item") = ToText(item));
  PyErr_SetObject(type.ptr(), error.ptr());
  throw py::error_already_set();
}

const char* GetKind(const SceneNode& node) {
  return node.GetKind() == SceneNodeKind::kBrep ? "shape" : "group";
}

std::string Quote(const Part& part) {
  return std::string(GetKind(*part.node)) + " \"" + part.node->GetName() + "\" id " +
         std::to_string(part.node->GetUserId());
}

// The shape that a part is, which has graphics.
const BrepSceneNode& GetDrawnShape(const Part& part, const char* what) {
  const BrepSceneNode* const shape = part.GetShape();
  if (shape == nullptr)
    Raise(part.model->GetSource(), Quote(part), std::string("a group has no ") + what + "; its parts() have");
  if (!shape->GetGRep()) Raise(part.model->GetSource(), Quote(part), "its body is missing in the folder");
  return *shape;
}

std::shared_ptr<Mesh> GetMesh(const Part& part) {
  // Parts that place one body share what was made of its mesh, as long as anybody has it.
  static auto* const known = new std::unordered_map<const GRepShape*, std::weak_ptr<Mesh>>;
  const std::shared_ptr<GRepShape>& grep = GetDrawnShape(part, "mesh").GetGRep();
  std::weak_ptr<Mesh>& place = (*known)[grep.get()];
  std::shared_ptr<Mesh> mesh = place.lock();
  if (!mesh) {
    mesh = std::shared_ptr<Mesh>(new Mesh(grep), [key = grep.get()](const Mesh* gone) {
      known->erase(key);
      delete gone;
    });
    place = mesh;
  }
  return mesh;
}

Parts MakeParts(const std::shared_ptr<const Model>& model, NodeList nodes) {
  return {model, std::make_shared<const NodeList>(std::move(nodes))};
}

Parts GetChildren(const std::shared_ptr<const Model>& model, const SceneNode& node) {
  NodeList nodes;
  for (const auto& child : node.GetNodes())
    nodes.push_back(child.get());
  return MakeParts(model, std::move(nodes));
}

Parts GetShapesBelow(const Part& part) {
  NodeList nodes;
  VisitNodes(*part.node, [&](const SceneNode& node) {
    if (node.GetKind() == SceneNodeKind::kBrep) nodes.push_back(&node);
  });
  return MakeParts(part.model, std::move(nodes));
}

// The nodes from the top down to one, without the root.
NodeList GetWay(const Part& part) {
  NodeList way = part.node->GetPath();
  way.erase(way.begin());
  return way;
}

// The different names in a model.
py::list ListNames(const Model& model) {
  std::unordered_set<std::string> names;
  {
    const py::gil_scoped_release others;
    VisitNodes(model.GetRoot(), [&](const SceneNode& node) { names.insert(node.GetName()); });
  }
  py::list list;
  for (const std::string& name : names)
    list.append(py::make_tuple(py::bytes(name), ToText(name)));
  return list;
}

// The nodes that have one of some names, or the id; only those of a kind, if there is one.
Parts Select(const std::shared_ptr<const Model>& model, const std::unordered_set<std::string>& names,
             const std::optional<unsigned long long>& id, const std::optional<std::string>& kind) {
  NodeList nodes;
  {
    const py::gil_scoped_release others;
    VisitNodes(model->GetRoot(), [&](const SceneNode& node) {
      if (&node != &model->GetRoot() && (!kind || *kind == GetKind(node)) &&
          ((id && node.GetUserId() == *id) || (!names.empty() && names.count(node.GetName()) > 0)))
        nodes.push_back(&node);
    });
  }
  return MakeParts(model, std::move(nodes));
}

Part At(const Parts& parts, py::ssize_t i) {
  const auto size = static_cast<py::ssize_t>(parts.GetSize());
  i += i < 0 ? size : 0;
  if (i < 0 || i >= size) throw py::index_error("there are " + std::to_string(size) + " parts");
  return {parts.model, (*parts.nodes)[static_cast<std::size_t>(i)]};
}

Parts Slice(const Parts& parts, const py::slice& slice) {
  std::size_t start = 0, stop = 0, step = 0, count = 0;
  if (!slice.compute(parts.GetSize(), &start, &stop, &step, &count)) throw py::error_already_set();
  NodeList nodes;
  nodes.reserve(count);
  for (std::size_t i = 0; i < count; ++i, start += step)
    nodes.push_back((*parts.nodes)[start]);
  return MakeParts(parts.model, std::move(nodes));
}

template <typename Value>
auto Ask(const Part& part, const Value& value) {
  try {
    return value();
  } catch (const ExactFailure& failure) {
    Raise(part.model->GetSource(), Quote(part), failure.reason);
  }
}

/// An exact body, and the part that messages name.
struct Exact {
  Part part;
  ExactBody body;
};

// The shortest number that is this float: 0.6, not 0.6000000238.
double ToDouble(float number) {
  std::array<char, 32> digits{};
  double value = number;
  const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  std::from_chars(digits.data(), end.ptr, value);
  return value;
}

py::object MakeColor(const Part& part) {
  const BrepSceneNode* const shape = part.GetShape();
  if (shape == nullptr || !(shape->GetColor().r >= 0.0F)) return py::none();
  const glm::vec3& color = shape->GetColor();
  return py::make_tuple(ToDouble(color.r), ToDouble(color.g), ToDouble(color.b));
}

py::tuple ToTuple(const glm::dvec3& v) {
  return py::make_tuple(v.x, v.y, v.z);
}

void DeclareParts(py::module_& native) {
  py::class_<Part>(native, "Part")
      .def_property_readonly("name", [](const Part& part) { return ToText(part.node->GetName()); })
      .def_property_readonly("id", [](const Part& part) { return part.node->GetUserId(); })
      .def_property_readonly("kind", [](const Part& part) { return GetKind(*part.node); })
      .def_property_readonly("body_id",
                             [](const Part& part) -> py::object {
                               const BrepSceneNode* const shape = part.GetShape();
                               return shape ? py::object(py::int_(shape->GetBodyId().GetInteger()))
                                            : py::object(py::none());
                             })
      .def_property_readonly("path",
                             [](const Part& part) {
                               py::list names;
                               for (const SceneNode* const node : GetWay(part))
                                 names.append(ToText(node->GetName()));
                               return py::tuple(names);
                             })
      .def_property_readonly("color", MakeColor)
      .def_property_readonly("face_colors", MakeFaceColors)
      .def_property_readonly("matrix", MakeMatrix)
      .def_property_readonly("box", [](const Part& part) { return MakeBox(GetNodeBox(*part.node)); })
      .def_property_readonly("parent",
                             [](const Part& part) -> py::object {
                               const SceneNode* const parent = part.node->GetParent();
                               if (parent == nullptr || parent == &part.model->GetRoot()) return py::none();
                               return py::cast(Part{part.model, parent});
                             })
      .def_property_readonly("children", [](const Part& part) { return GetChildren(part.model, *part.node); })
      .def("parts", GetShapesBelow)
      .def_property_readonly("mesh", GetMesh)
      .def_property_readonly("exact",
                             [](const Part& part) {
                               GetDrawnShape(part, "exact body");
                               return Exact{part, ExactBody(part)};
                             })
      .def(
          "__eq__", [](const Part& a, const Part& b) { return a.node == b.node; }, py::is_operator())
      .def("__hash__", [](const Part& part) { return std::hash<const SceneNode*>()(part.node); })
      .def("__repr__", [](const Part& part) { return ToText("<mirel.Part " + Quote(part) + ">"); });

  py::class_<Parts>(native, "Parts")
      .def("__len__", &Parts::GetSize)
      .def("__getitem__", At)
      .def("__getitem__", Slice)
      .def_property_readonly("matrices", MakeMatrices)
      .def_property_readonly("positions", MakePositions)
      .def_property_readonly("boxes", MakeBoxes)
      .def_property_readonly("colors", MakeColors)
      .def_property_readonly("ids", MakeIds)
      .def_property_readonly("names",
                             [](const Parts& parts) {
                               py::list names;
                               for (const SceneNode* const node : *parts.nodes)
                                 names.append(ToText(node->GetName()));
                               return names;
                             })
      .def("__repr__",
           [](const Parts& parts) { return "<mirel.Parts: " + std::to_string(parts.GetSize()) + ">"; });
}

void DeclareGeometry(py::module_& native) {
  py::class_<Mesh, std::shared_ptr<Mesh>>(native, "Mesh")
      .def_property_readonly("positions", &Mesh::GetPositions)
      .def_property_readonly("normals", &Mesh::GetNormals)
      .def_property_readonly("triangles", &Mesh::GetTriangles)
      .def_property_readonly("face_of_triangle", &Mesh::GetFaceOfTriangle)
      .def_property_readonly("edges", &Mesh::GetEdges)
      .def_property_readonly("edge_of_segment", &Mesh::GetEdgeOfSegment)
      .def_property_readonly("face_count",
                             [](const Mesh& mesh) { return mesh.GetGRep().GetMesh().faces.size(); })
      .def_property_readonly("edge_count",
                             [](const Mesh& mesh) { return mesh.GetGRep().GetMesh().edges.size(); })
      .def_property_readonly("deflection",
                             [](const Mesh& mesh) { return mesh.GetGRep().GetMesh().linearDeflection; })
      .def("__repr__", [](const Mesh& mesh) {
        return "<mirel.Mesh: " + std::to_string(mesh.GetGRep().GetMesh().GetTriangleCount()) + " triangles>";
      });

  py::class_<Exact>(native, "Exact")
      .def_property_readonly(
          "volume",
          [](const Exact& exact) { return Ask(exact.part, [&] { return exact.body.Measure().volume; }); })
      .def_property_readonly(
          "area",
          [](const Exact& exact) { return Ask(exact.part, [&] { return exact.body.Measure().area; }); })
      .def_property_readonly("center",
                             [](const Exact& exact) {
                               return Ask(exact.part, [&] { return ToTuple(exact.body.Measure().centre); });
                             })
      .def_property_readonly(
          "brep", [](const Exact& exact) { return Ask(exact.part, [&] { return exact.body.MakeText(); }); })
      .def("__repr__",
           [](const Exact& exact) { return ToText("<mirel.Exact of " + Quote(exact.part) + ">"); });
}

void DeclareModel(py::module_& native) {
  py::class_<Model, std::shared_ptr<Model>>(native, "Scene")
      .def("shapes",
           [](const std::shared_ptr<Model>& model) {
             const py::gil_scoped_release others;
             return Parts{model, model->GetShapes()};
           })
      .def("children",
           [](const std::shared_ptr<Model>& model) { return GetChildren(model, model->GetRoot()); })
      .def("box", [](const Model& model) { return MakeBox(GetNodeBox(model.GetRoot())); })
      .def("names", ListNames)
      .def("select", Select);
}

// The module that opens models is loaded as any viewer loads it, from where it lies relative to this file.
void LoadModule() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&LoadModule), &info) == 0)
    throw py::import_error("mirel: where is this library?");
  std::string reason = "is missing";
  for (const char* const folder : {MIREL_PYTHON_LIBRARY_FOLDERS}) {
    const fs::path file = fs::path(info.dli_fname).parent_path() / folder / MIREL_MODULE_FILE;
    std::error_code ignored;
    if (!fs::exists(file, ignored)) continue;
    const ModuleLibrary library(file.u8string());
    if (library.GetError().empty()) return;
    reason = library.GetError();
  }
  throw py::import_error("mirel: " MIREL_MODULE_FILE ", which opens models, cannot be loaded: " + reason);
}

}  // namespace

PYBIND11_MODULE(_native, native) {
  MessageQueue::Instance();
  LoadModule();
  native.attr("__version__") = MIREL_VERSION;
  DeclareParts(native);
  DeclareGeometry(native);
  DeclareModel(native);
  native.def("open", [](const std::string& path, const std::string& source, const py::object& progress) {
    const Opened opened = OpenModel(path, source, progress);
    py::list failures;
    for (const FailureLog::Failure& failure : opened.failures)
      failures.append(py::make_tuple(ToText(failure.file), ToText(failure.item), ToText(failure.reason)));
    return py::make_tuple(opened.model, failures);
  });
  native.def("unpack", [](const std::string& path, const std::string& folder) {
    return ToText(UnpackArchive(path, folder));
  });
  native.def("take_messages", [] {
    py::list messages;
    for (const auto& [level, text] : MessageQueue::Instance().Take())
      messages.append(py::make_tuple(level, ToText(text)));
    return messages;
  });
}

}  // namespace mirel::python
