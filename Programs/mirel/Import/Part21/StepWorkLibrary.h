#pragma once

#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepSelect_WorkLibrary.hxx>

namespace mirel {

class SourceFile;
class StageProgress;

/// Reads a STEP file for one of OpenCASCADE's sessions as OpenCASCADE's own library does, but scans the text in another way:
/// much faster, and on all cores. What that does not take is read by OpenCASCADE's own scanner from the start.
class StepWorkLibrary final : public StepSelect_WorkLibrary {
 public:
  /// The file and the progress must outlive this. When the text has been scanned, the stage "analysis" begins.
  StepWorkLibrary(const SourceFile& file, StageProgress& progress) : file_(file), progress_(progress) {}

  /// Reads the one file that it was made for, which has the name in messages.
  Standard_Integer ReadFile(const Standard_CString name, Handle(Interface_InterfaceModel) & model,
                            const Handle(Interface_Protocol) & protocol) const override;

  /// Reads the file into a new model by the scanner alone. False for what that does not take; the model is as it was then.
  bool ReadText(const Handle(StepData_StepModel) & model, const Handle(StepData_Protocol) & protocol) const;

 private:
  const SourceFile& file_;
  StageProgress& progress_;
};

}  // namespace mirel
