#pragma once

#include <IFSelect_ReturnStatus.hxx>
#include <XSControl_WorkSession.hxx>

namespace mirel {

class SourceFile;
class StageProgress;

/// One of OpenCASCADE's sessions for STEP files, which reads one by `StepWorkLibrary` and makes the graph of its entities on all
/// cores. What OpenCASCADE would check of each entity then and nobody asks for (whether the ends of an edge fit, for
/// instance) it does not check.
class StepSession final : public XSControl_WorkSession {
 public:
  /// A session that can read.
  static Handle(StepSession) Make();

  /// Reads the file, once. The file and the progress must outlive this.
  IFSelect_ReturnStatus Read(const SourceFile& file, StageProgress& progress);

 private:
  StepSession() = default;
};

}  // namespace mirel
