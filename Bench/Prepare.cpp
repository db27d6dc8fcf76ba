#include <Bench/Prepare.h>

#include <Bench/WorkFolder.h>
#include <Bench/XcafDocument.h>

#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Save/TypeUseCounter.h>

#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Message_ProgressRange.hxx>
#include <RWGltf_CafWriter.hxx>
#include <TColStd_IndexedDataMapOfStringString.hxx>

#include <filesystem>
#include <stdexcept>

namespace mirel::bench {

namespace {

void WriteGlb(const Handle(TDocStd_Document) & document, const std::string& path, bool mergesFaces) {
  RWGltf_CafWriter writer(path.c_str(), true);
  writer.SetMergeFaces(mergesFaces);
  if (!writer.Perform(document, TColStd_IndexedDataMapOfStringString(), Message_ProgressRange()))
    throw std::runtime_error("cannot write " + path);
}

}  // namespace

void Prepare(const std::string& source, const std::string& work) {
  std::filesystem::create_directories(work);
  Figures ignored;
  const Handle(TDocStd_Document) document = ReadStep(source, ignored);
  LiteModel model;
  AssemblyImporter(document, 1, model).Import();
  TypeUseCounter::Count(model);
  std::filesystem::remove_all(ModelFolder(work));
  LiteModelWriter(model).Save(ModelFolder(work));

  SaveDocument(document, ExactDocument(work), false);
  TessellateBodies(GetBodies(document));
  SaveDocument(document, TriangleDocument(work), true);

  WriteGlb(document, GlbFile(work), false);
  WriteGlb(document, MergedGlbFile(work), true);
}

}  // namespace mirel::bench
