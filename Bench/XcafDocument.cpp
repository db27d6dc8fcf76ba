#include <Bench/XcafDocument.h>

#include <Programs/mirel/Stopwatch.h>

#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <BinXCAFDrivers.hxx>
#include <BinXCAFDrivers_DocumentStorageDriver.hxx>
#include <Bnd_Box.hxx>
#include <Poly_Triangulation.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_MapOfShape.hxx>
#include <TopoDS.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>

#include <cmath>
#include <set>
#include <stdexcept>

namespace mirel::bench {

namespace {

Handle(XCAFApp_Application) GetApplication() {
  static const Handle(XCAFApp_Application) application = [] {
    Handle(XCAFApp_Application) made = XCAFApp_Application::GetApplication();
    BinXCAFDrivers::DefineFormat(made);
    return made;
  }();
  return application;
}

/// Counts the occurrences of parts below a shape, assemblies being compounds of other labels' shapes.
void CountPlaced(const TDF_Label& label, double& placed) {
  TDF_Label referred = label;
  XCAFDoc_ShapeTool::GetReferredShape(label, referred);
  if (!XCAFDoc_ShapeTool::IsAssembly(referred)) {
    placed += 1.0;
    return;
  }
  TDF_LabelSequence components;
  XCAFDoc_ShapeTool::GetComponents(referred, components);
  for (const TDF_Label& component : components)
    CountPlaced(component, placed);
}

}  // namespace

Handle(TDocStd_Document) NewDocument() {
  Handle(TDocStd_Document) document;
  GetApplication()->NewDocument("BinXCAF", document);
  return document;
}

Handle(TDocStd_Document) ReadStep(const std::string& path, Figures& figures) {
  Handle(TDocStd_Document) document = NewDocument();
  // Without this, labels that have no name in the file would get one made up.
  XCAFDoc_ShapeTool::SetAutoNaming(false);
  STEPCAFControl_Reader reader;
  reader.SetNameMode(true);
  reader.SetColorMode(true);
  reader.SetLayerMode(true);
  Stopwatch watch;
  if (reader.ReadFile(path.c_str()) != IFSelect_RetDone) throw std::runtime_error("cannot read " + path);
  figures.Set("read", watch.Lap());
  if (!reader.Transfer(document)) throw std::runtime_error("cannot transfer " + path);
  figures.Set("transfer", watch.Lap());
  return document;
}

void SaveDocument(const Handle(TDocStd_Document) & document, const std::string& path, bool withTriangles) {
  const Handle(XCAFApp_Application) application = GetApplication();
  const auto driver =
      Handle(BinXCAFDrivers_DocumentStorageDriver)::DownCast(application->WriterFromFormat("BinXCAF"));
  if (driver.IsNull()) throw std::runtime_error("no driver writes binary XCAF documents");
  driver->SetWithTriangles(application->MessageDriver(), withTriangles);
  if (application->SaveAs(document, path.c_str()) != PCDM_SS_OK)
    throw std::runtime_error("cannot write " + path);
}

Handle(TDocStd_Document) OpenDocument(const std::string& path) {
  Handle(TDocStd_Document) document;
  if (GetApplication()->Open(path.c_str(), document) != PCDM_RS_OK)
    throw std::runtime_error("cannot open " + path);
  return document;
}

std::vector<TopoDS_Shape> GetBodies(const Handle(TDocStd_Document) & document) {
  TDF_LabelSequence labels;
  XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetShapes(labels);
  std::vector<TopoDS_Shape> bodies;
  TopTools_MapOfShape known;
  for (const TDF_Label& label : labels) {
    if (XCAFDoc_ShapeTool::IsAssembly(label) || !XCAFDoc_ShapeTool::IsSimpleShape(label)) continue;
    const TopoDS_Shape body = XCAFDoc_ShapeTool::GetShape(label).Located(TopLoc_Location());
    if (known.Add(body)) bodies.push_back(body);
  }
  return bodies;
}

double ChooseDeflection(const TopoDS_Shape& body) {
  Bnd_Box box;
  BRepBndLib::Add(body, box, false);
  return box.IsVoid() ? 0.0 : 0.001 * std::sqrt(box.SquareExtent());
}

void TessellateBodies(const std::vector<TopoDS_Shape>& bodies) {
  for (const TopoDS_Shape& body : bodies) {
    BRepMesh_IncrementalMesh(body, ChooseDeflection(body), false, kAngularDeflection, true);
  }
}

void CountDocument(const Handle(TDocStd_Document) & document, Figures& figures) {
  double triangles = 0.0, drawn = 0.0, placed = 0.0;
  std::set<const Poly_Triangulation*> known;
  TDF_LabelSequence roots;
  XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
  for (const TDF_Label& root : roots) {
    CountPlaced(root, placed);
    for (TopExp_Explorer faces(XCAFDoc_ShapeTool::GetShape(root), TopAbs_FACE); faces.More(); faces.Next()) {
      TopLoc_Location location;
      const Handle(Poly_Triangulation)& mesh =
          BRep_Tool::Triangulation(TopoDS::Face(faces.Current()), location);
      if (mesh.IsNull()) continue;
      const double count = mesh->NbTriangles();
      drawn += count;
      if (known.insert(mesh.get()).second) triangles += count;
    }
  }
  figures.Set("placedShapes", placed);
  figures.Set("bodies", static_cast<double>(GetBodies(document).size()));
  figures.Set("triangles", triangles);
  figures.Set("drawnTriangles", drawn);
}

}  // namespace mirel::bench
