#pragma once

#include <Programs/mirel/Import/DocumentReader.h>
#include <Programs/mirel/Import/EntityFilter.h>

#include <Interface_HArray1OfHAsciiString.hxx>
#include <StepBasic_Product.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>

class STEPCAFControl_Reader;
class StepData_StepModel;

namespace mirel {

/// Reads a STEP file into an XCAF document.
class StepReader final : public DocumentReader {
 public:
  explicit StepReader(StageProgress& progress) : DocumentReader(progress) {}

 private:
  using DocumentReader::AddHeader;
  void AddHeader(const char* key, const Handle(Interface_HArray1OfHAsciiString) & texts);
  void ReadHeader(const Handle(StepData_StepModel) & entities);
  // Names the files that were not read, and counts what a document cannot hold.
  void LookAround(STEPCAFControl_Reader& reader, const SourceFile& file,
                  const Handle(TDocStd_Document) & document);

  bool ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) override;
  IFSelect_ReturnStatus ReadEntities(const SourceFile& file, XSControl_Reader& reader,
                                     StageProgress& progress) override;
  void Mend(const Handle(Standard_Transient) & entity) override;
  bool IsOmission(const Handle(Interface_ReportEntity) & report, const std::string& error) const override;
  bool IsOtherFile(const Handle(Standard_Transient) & entity) const override;

  EntityFilter<StepBasic_Product, StepRepr_NextAssemblyUsageOccurrence> named_;
};

}  // namespace mirel
