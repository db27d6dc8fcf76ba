#include <Bench/Meter.h>
#include <Bench/RunProgram.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>
#include <Bench/XcafDocument.h>

#include <Interface_Static.hxx>
#include <Message_ProgressRange.hxx>
#include <RWGltf_CafWriter.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TColStd_IndexedDataMapOfStringString.hxx>

#include <stdexcept>

namespace mirel::bench {

namespace {

/// `mirel export` of the folder as a process.
Figures Export(const std::string& work, const std::string& out, const std::vector<std::string>& options) {
  std::vector<std::string> command = {MIREL_PROGRAM, "export", "-q", ModelFolder(work), out};
  command.insert(command.end(), options.begin(), options.end());
  Figures figures = RunProgram(command);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(out)));
  return figures;
}

Figures ExportGlb(const TaskInput& input) {
  return Export(input.work, ExportedGlbFile(input.work), {});
}

Figures ExportMeshopt(const TaskInput& input) {
  return Export(input.work, CompressedGlbFile(input.work), {"--meshopt"});
}

Figures ExportStep(const TaskInput& input) {
  return Export(input.work, input.work + "exported.step", {});
}

/// GLB as OpenCASCADE makes it of STEP, in one process: read, mesh, write.
Figures GlbOfStep(const TaskInput& input) {
  Figures figures;
  const std::string path = input.work + "of-step.glb";
  const Meter meter;
  const Handle(TDocStd_Document) document = ReadStep(input.source, figures);
  TessellateBodies(GetBodies(document));
  if (!RWGltf_CafWriter(path.c_str(), true)
           .Perform(document, TColStd_IndexedDataMapOfStringString(), Message_ProgressRange()))
    throw std::runtime_error("cannot write " + path);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(path)));
  return figures;
}

/// OpenCASCADE's STEP writer alone: the document of exact bodies is there.
Figures StepOfDocument(const TaskInput& input) {
  Figures figures;
  const std::string path = input.work + "of-document.step";
  const Handle(TDocStd_Document) document = OpenDocument(ExactDocument(input.work));
  const Meter meter;
  STEPCAFControl_Writer writer;
  Interface_Static::SetCVal("write.step.schema", "AP242DIS");
  if (!writer.Perform(document, path.c_str())) throw std::runtime_error("cannot write " + path);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(path)));
  return figures;
}

}  // namespace

std::vector<Task> ExportTasks() {
  return {
      {"export-glb", "mirel export of the folder as GLB, as a process", ExportGlb},
      {"export-meshopt", "the same with --meshopt", ExportMeshopt},
      {"export-step", "mirel export of the folder as STEP, as a process", ExportStep},
      {"glb-of-step", "GLB by OpenCASCADE of --source: read, mesh, write", GlbOfStep},
      {"step-of-document", "STEP by OpenCASCADE's writer of the document of exact bodies", StepOfDocument}};
}

}  // namespace mirel::bench
