#include <Programs/mirel/Import/Part21/StepSession.h>

#include <Programs/mirel/Import/Part21/ReferenceGraph.h>
#include <Programs/mirel/Import/Part21/StepWorkLibrary.h>
#include <Programs/mirel/Import/SourceFile.h>

#include <STEPControl_Controller.hxx>
#include <Standard_Failure.hxx>

namespace mirel {

Handle(StepSession) StepSession::Make() {
  STEPControl_Controller::Init();
  const Handle(StepSession) session = new StepSession;
  session->SelectNorm("STEP");  // takes a handle for a while, so there must be one already
  return session;
}

IFSelect_ReturnStatus StepSession::Read(const SourceFile& file, StageProgress& progress) {
  const Handle(StepWorkLibrary) library = new StepWorkLibrary(file, progress);
  SetLibrary(library);
  IFSelect_ReturnStatus status = IFSelect_RetFail;
  const Handle(StepData_StepModel) model = new StepData_StepModel;
  SetModel(model);  // while it is empty, or OpenCASCADE would make the graph
  try {
    if (!library->ReadText(model, Handle(StepData_Protocol)::DownCast(Protocol()))) {
      status = ReadFile(file.GetPath().c_str());
    } else {
      if (model->NbEntities() > 0) {
        thegraph = MakeReferenceGraph(model);
      }
      SetLoadedFile(file.GetPath().c_str());
      status = IFSelect_RetDone;
    }
  } catch (const Standard_Failure&) {  // as ReadFile has it
  }
  InitTransferReader(4);
  return status;
}

}  // namespace mirel
