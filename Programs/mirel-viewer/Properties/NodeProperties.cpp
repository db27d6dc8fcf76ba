#include <Programs/mirel-viewer/Properties/NodeProperties.h>

#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>
#include <Viewer/Measure/MeasureUnit.h>

#include <QColor>
#include <QCoreApplication>
#include <QStringList>

#include <array>
#include <cstddef>

namespace mirel {

namespace {

QString Translate(const char* text) {
  return QCoreApplication::translate("Properties", text);
}

QString NameColor(const glm::vec3& color) {
  return QColor::fromRgbF(color.r, color.g, color.b).name();
}

QString FormatPlace(const glm::dvec3& place) {
  return QString::fromStdString(MeasureUnit().FormatPlace(place.x, place.y, place.z));
}

// "12 planes, 3 cylinders": what the record says of the surfaces.
QString CountSurfaces(const GRepMesh& mesh) {
  static constexpr std::array<const char*, 6> kNames = {"other", "planes",  "cylinders",
                                                        "cones", "spheres", "tori"};
  std::array<std::size_t, kNames.size()> counts{};
  for (const GRepSurface& surface : mesh.surfaces) {
    ++counts.at(static_cast<std::size_t>(surface.kind));
  }
  QStringList parts;
  for (std::size_t kind = 1; kind <= kNames.size(); ++kind) {  // other ones come last
    const std::size_t at = kind % kNames.size();
    if (counts.at(at) > 0) {
      parts.append(QString::number(counts.at(at)) + " " + Translate(kNames.at(at)));
    }
  }
  return parts.join(", ");
}

void AddBody(const BrepSceneNode& node, NodeProperties::Rows& rows) {
  const glm::vec3& color = node.GetColor();
  rows.emplace_back(Translate("Color"), color.r < 0.0F ? Translate("none") : NameColor(color));
  if (!node.GetFaceColors().empty()) {
    QStringList colors;
    for (const auto& face : node.GetFaceColors()) {
      colors.append(NameColor(face.second));
    }
    colors.removeDuplicates();
    rows.emplace_back(Translate("Colors of faces"),
                      QString::number(node.GetFaceColors().size()) + ": " + colors.join(" "));
  }
  const std::shared_ptr<GRepShape>& grep = node.GetGRep();
  if (!grep) {
    rows.emplace_back(Translate("Body"), Translate("missing in the file"));
    return;
  }
  const GRepMesh& mesh = grep->GetMesh();
  rows.emplace_back(Translate("Id of the body"), QString::fromStdString(grep->GetBodyId().toString()));
  rows.emplace_back(Translate("Exact geometry"), grep->IsShapeExpected() ? Translate("being read")
                                                 : grep->GetShape()      ? Translate("there")
                                                                         : Translate("missing in the file"));
  rows.emplace_back(Translate("Faces"), QString::number(mesh.faces.size()));
  if (!mesh.surfaces.empty()) {
    rows.emplace_back(Translate("Kinds of faces"), CountSurfaces(mesh));
  }
  rows.emplace_back(Translate("Edges"), QString::number(mesh.edges.size()));
  rows.emplace_back(Translate("Triangles"), QString::number(mesh.GetTriangleCount()));
  if (const std::size_t undrawn = mesh.CountFacesWithoutTriangles()) {
    rows.emplace_back(Translate("Faces that are not drawn"), QString::number(undrawn));
  }
  rows.emplace_back(Translate("Accuracy of triangles"),
                    QString::fromStdString(MeasureUnit().FormatLength(mesh.linearDeflection)));
}

}  // namespace

NodeProperties::Rows NodeProperties::List(const SceneNode& node) {
  QStringList path;
  for (const SceneNode* above : node.GetPath()) {
    path.append(SceneTreeModel::GetTitle(*above));
  }
  const bool isBody = node.GetKind() == SceneNodeKind::kBrep;
  Rows rows = {{Translate("Name"), QString::fromStdString(node.GetName())},
               {Translate("Path"), path.join(" / ")},
               {Translate("Id"), QString::number(node.GetUserId())},
               {Translate("Kind"), isBody ? Translate("body") : Translate("group")}};
  if (isBody) {
    AddBody(static_cast<const BrepSceneNode&>(node), rows);
  } else {
    rows.emplace_back(Translate("Children"), QString::number(node.GetNodes().size()));
  }
  const AABoxT<double> box = GetNodeBox(node);
  if (box.IsFinite()) {
    rows.emplace_back(Translate("Size"), FormatPlace(box.GetMax() - box.GetMin()));
    rows.emplace_back(Translate("Box from"), FormatPlace(box.GetMin()));
    rows.emplace_back(Translate("Box to"), FormatPlace(box.GetMax()));
  }
  const glm::dmat4 placement = node.GetScenePlacement();
  rows.emplace_back(Translate("Origin"), FormatPlace(glm::dvec3(placement[3])));
  for (int axis = 0; axis < 3; ++axis) {
    const glm::dvec3 direction(placement[axis]);
    rows.emplace_back(QString("xyz").mid(axis, 1) + Translate(" axis"),
                      QString("%1, %2, %3").arg(direction.x).arg(direction.y).arg(direction.z));
  }
  return rows;
}

}  // namespace mirel
