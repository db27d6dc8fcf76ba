#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>
#include <Bench/XcafDocument.h>

#include <Message_ProgressRange.hxx>
#include <RWGltf_CafReader.hxx>

#include <stdexcept>

namespace mirel::bench {

namespace {

/// The binary document with triangles: what is exact and what is drawn, as in a model folder.
Figures BinXcaf(const TaskInput& input) {
  Figures figures;
  const std::string path = TriangleDocument(input.work);
  const Meter meter;
  const Handle(TDocStd_Document) document = OpenDocument(path);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(path)));
  CountDocument(document, figures);
  return figures;
}

/// STEP through XCAF and the mesher: what a viewer does that keeps nothing of its last visit.
Figures Step(const TaskInput& input) {
  Figures figures;
  const Meter meter;
  const Handle(TDocStd_Document) document = ReadStep(input.source, figures);
  const double before = meter.Elapsed();
  TessellateBodies(GetBodies(document));
  figures.Set("tessellate", meter.Elapsed() - before);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(input.source)));
  CountDocument(document, figures);
  return figures;
}

/// GLB: triangles only.
Figures ReadGlb(const std::string& path) {
  Figures figures;
  const Handle(TDocStd_Document) document = NewDocument();
  const Meter meter;
  RWGltf_CafReader reader;
  reader.SetDocument(document);
  reader.SetParallel(true);
  const bool read = reader.Perform(path.c_str(), Message_ProgressRange());
  meter.Stop(figures);
  if (!read) throw std::runtime_error("cannot read " + path);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(path)));
  CountDocument(document, figures);
  return figures;
}

Figures Glb(const TaskInput& input) {
  return ReadGlb(GlbFile(input.work));
}

Figures MergedGlb(const TaskInput& input) {
  return ReadGlb(MergedGlbFile(input.work));
}

}  // namespace

std::vector<Task> PeerTasks() {
  return {{"binxcaf", "open the binary XCAF document with triangles", BinXcaf},
          {"step", "read --source through XCAF and tessellate its bodies", Step},
          {"glb", "read the GLB file back", Glb},
          {"glb-merged", "read the GLB file back whose faces are merged", MergedGlb}};
}

}  // namespace mirel::bench
