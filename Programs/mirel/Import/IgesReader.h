#pragma once

#include <Programs/mirel/Import/DocumentReader.h>

class IGESData_GlobalSection;

namespace mirel {

/// Reads an IGES file into an XCAF document.
class IgesReader final : public DocumentReader {
 public:
  explicit IgesReader(StageProgress& progress) : DocumentReader(progress) {}

 private:
  void ReadHeader(const IGESData_GlobalSection& header);
  bool ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) override;
};

}  // namespace mirel
