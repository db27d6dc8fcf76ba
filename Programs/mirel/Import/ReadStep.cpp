#include <Programs/mirel/Import/ModelImport.h>
#include <Programs/mirel/Import/ReadAssembly.h>
#include <Programs/mirel/Import/StepReader.h>

namespace mirel {

extern "C" void MirelReadAssembly(const SourceFile& file, StageProgress& progress, LiteModel& model,
                                  ImportResult& result) {
  StepReader reader(progress);
  ModelImport::Run(reader, file, model, result);
}

}  // namespace mirel
