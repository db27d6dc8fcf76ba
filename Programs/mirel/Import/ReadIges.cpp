#include <Programs/mirel/Import/IgesReader.h>
#include <Programs/mirel/Import/ModelImport.h>
#include <Programs/mirel/Import/ReadAssembly.h>

namespace mirel {

extern "C" void MirelReadAssembly(const SourceFile& file, StageProgress& progress, LiteModel& model,
                                  ImportResult& result) {
  IgesReader reader(progress);
  ModelImport::Run(reader, file, model, result);
}

}  // namespace mirel
