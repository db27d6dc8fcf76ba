#pragma once

#include <Interface_Protocol.hxx>
#include <StepData_StepModel.hxx>

#include <string>

namespace mirel {

class StageProgress;

/// The entities of a STEP model as the text of a file. OpenCASCADE's writer does that with 12 digits a number and the bytes
/// of texts as they are; here numbers have as few digits as they need, up to 16, and texts are in ASCII, whatever their
/// language. The work is shared among all cores.
class StepText {
 public:
  static std::string Of(const Handle(StepData_StepModel) & model, const Handle(Interface_Protocol) & protocol,
                        StageProgress& progress);

  /// Appends what the writer has made of entities, with its numbers and texts as they are to be.
  static void AppendPolished(const std::string& written, std::string& text);
};

}  // namespace mirel
