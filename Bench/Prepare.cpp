#include <Bench/Prepare.h>

#include <Bench/WorkFolder.h>
#include <Bench/XcafDocument.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Import/DocumentReader.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/ProgressBar.h>
#include <Programs/mirel/Save/TypeUseCounter.h>

#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Message_ProgressRange.hxx>
#include <RWGltf_CafWriter.hxx>
#include <TColStd_IndexedDataMapOfStringString.hxx>

#include <filesystem>
#include <stdexcept>

namespace mirel::bench {

void Prepare(const std::string& source, const std::string& work) {
  std::filesystem::create_directories(work);
  const SourceFile file(source);
  if (!file.GetError().empty()) throw std::runtime_error(source + ": " + file.GetError());
  Console console({true, false});
  ProgressBar noBar(false);
  DocumentReader reader(console, noBar);
  const Handle(TDocStd_Document) document = reader.Read(file);
  if (document.IsNull()) throw std::runtime_error(source + ": " + reader.GetError());

  LiteModel model;
  AssemblyImporter(document, file.GetFingerprint(), model).Import();
  TypeUseCounter::Count(model);
  std::filesystem::remove_all(ModelFolder(work));
  LiteModelWriter(model).Save(ModelFolder(work));

  SaveDocument(document, ExactDocument(work), false);
  TessellateBodies(GetBodies(document));
  SaveDocument(document, TriangleDocument(work), true);

  RWGltf_CafWriter glb(GlbFile(work).c_str(), true);
  if (!glb.Perform(document, TColStd_IndexedDataMapOfStringString(), Message_ProgressRange())) {
    throw std::runtime_error("cannot write " + GlbFile(work));
  }
}

}  // namespace mirel::bench
