#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>
#include <Bench/XcafDocument.h>

#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Save/TypeUseCounter.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>
#include <Viewer/Kernel/Writer/PkgGRepBuilder.h>
#include <Viewer/Kernel/Writer/PkgShapeWriter.h>

#include <BRepBuilderAPI_Copy.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace mirel::bench {

namespace {

/// The assembly in memory, from the document of exact bodies: what comes out is what an import of the STEP
/// file gives.
void Import(const TaskInput& input, LiteModel& model) {
  AssemblyImporter(OpenDocument(ExactDocument(input.work)), 1, model).Import();
  TypeUseCounter::Count(model);
}

/// `LiteModelWriter::Save`, flushed to the disk.
Figures Save(const TaskInput& input) {
  LiteModel model;
  Import(input, model);
  const std::string folder = ScratchFolder(input.work);
  std::filesystem::remove_all(folder);
  Figures figures;
  const Meter meter;
  LiteModelWriter(model).Save(folder);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(folder)));
  figures.Set("bodies", static_cast<double>(model.GetShape().size()));
  return figures;
}

/// The stages of saving through the exported classes: the bodies' text with gzip and file, the tessellation,
/// and the graphics' records with gzip and file.
Figures SaveStages(const TaskInput& input) {
  LiteModel model;
  Import(input, model);
  const std::string folder = ScratchFolder(input.work);
  std::filesystem::create_directories(folder);
  Figures figures;
  Meter meter;
  PkgShapeWriter bodies(1);
  for (const auto& [id, shape] : model.GetShape())
    bodies.AddItem(id, shape);
  meter.Lap().AddTo(figures, "bodyText");
  bodies.Write(folder);
  meter.Lap().AddTo(figures, "bodyFiles");
  PkgGRepBuilder builder;
  for (const auto& [id, shape] : model.GetShape())
    builder.AddItem(id, shape);
  builder.Build();
  meter.Lap().AddTo(figures, "tessellate");
  builder.Write(folder);
  meter.Lap().AddTo(figures, "graphicsFiles");
  meter.Stop(figures);
  return figures;
}

void MeshBody(const TopoDS_Shape& body, double deflection, IMeshTools_MeshAlgoType algorithm,
              bool facesInParallel) {
  IMeshTools_Parameters parameters;
  parameters.Deflection = deflection;
  parameters.Angle = kAngularDeflection;
  parameters.MeshAlgo = algorithm;
  parameters.InParallel = facesInParallel;
  BRepMesh_IncrementalMesh(body, parameters);
}

/// OpenCASCADE's mesher on private copies of the bodies. --variant names one of its two algorithms and what
/// runs in parallel: nothing ("serial"), the faces of one body after another ("faces"), bodies, the largest
/// first ("bodies"), or both ("both"): "watson-serial", "delabella-bodies", ...
Figures Mesher(const TaskInput& input) {
  const std::size_t dash = input.variant.find('-');
  const std::string mode = input.variant.substr(std::min(dash, input.variant.size() - 1) + 1);
  const bool delabella = input.variant.compare(0, dash, "delabella") == 0;
  const IMeshTools_MeshAlgoType algorithm =
      delabella ? IMeshTools_MeshAlgoType_Delabella : IMeshTools_MeshAlgoType_Watson;
  const bool bodiesInParallel = mode == "bodies" || mode == "both";
  const bool facesInParallel = mode == "faces" || mode == "both";

  struct Job {
    TopoDS_Shape body;
    double deflection;
    int faces;
  };
  std::vector<Job> jobs;
  for (const TopoDS_Shape& body : GetBodies(OpenDocument(ExactDocument(input.work)))) {
    Job job{BRepBuilderAPI_Copy(body, true, false).Shape(), ChooseDeflection(body), 0};
    for (TopExp_Explorer faces(body, TopAbs_FACE); faces.More(); faces.Next())
      ++job.faces;
    jobs.push_back(job);
  }
  std::sort(jobs.begin(), jobs.end(), [](const Job& a, const Job& b) { return a.faces > b.faces; });

  Figures figures;
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < jobs.size(); i = next++) {
      MeshBody(jobs[i].body, jobs[i].deflection, algorithm, facesInParallel);
    }
  };
  const Meter meter;
  std::vector<std::thread> others(bodiesInParallel ? std::max(1U, std::thread::hardware_concurrency()) - 1
                                                   : 0);
  for (std::thread& other : others)
    other = std::thread(work);
  work();
  for (std::thread& other : others)
    other.join();
  meter.Stop(figures);

  double triangles = 0.0;
  for (const Job& job : jobs) {
    for (TopExp_Explorer faces(job.body, TopAbs_FACE); faces.More(); faces.Next()) {
      TopLoc_Location location;
      const Handle(Poly_Triangulation)& mesh =
          BRep_Tool::Triangulation(TopoDS::Face(faces.Current()), location);
      if (!mesh.IsNull()) triangles += mesh->NbTriangles();
    }
  }
  figures.Set("triangles", triangles);
  figures.Set("bodies", static_cast<double>(jobs.size()));
  return figures;
}

}  // namespace

std::vector<Task> SaveTasks() {
  return {{"save", "save the assembly in memory as a model folder", Save},
          {"save-stages", "the same, stage by stage", SaveStages},
          {"mesher", "OpenCASCADE's mesher alone on the same bodies, as --variant says", Mesher}};
}

}  // namespace mirel::bench
