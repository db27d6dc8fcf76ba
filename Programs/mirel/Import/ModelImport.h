#pragma once

#include <Programs/mirel/Import/ImportResult.h>

namespace mirel {

class DocumentReader;
class LiteModel;
class SourceFile;

/// The way from a file through an XCAF document to a model.
class ModelImport {
 public:
  /// Does what `MirelReadAssembly` promises, with the reader of the file's format.
  static void Run(DocumentReader& reader, const SourceFile& file, LiteModel& model, ImportResult& result);
};

}  // namespace mirel
