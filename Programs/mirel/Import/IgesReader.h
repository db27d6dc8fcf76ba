#pragma once

#include <Programs/mirel/Import/DocumentReader.h>

namespace mirel {

/// Reads an IGES file into an XCAF document.
class IgesReader final : public DocumentReader {
 public:
  explicit IgesReader(StageProgress& progress) : DocumentReader(progress) {}

 private:
  bool ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) override;
};

}  // namespace mirel
